#include "platform/displaycheck.h"

#include <xcb/xcb.h>

QString missingDisplayMessage()
{
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return {};
    const QByteArray display = qgetenv("DISPLAY");
    if (display.isEmpty())
        return QStringLiteral("vyro: no display to open the window on (DISPLAY and WAYLAND_DISPLAY are not set); "
                              "the commands work without one, see vyro --help");
    xcb_connection_t* connection = xcb_connect(display.constData(), nullptr);
    const bool reachable = connection && xcb_connection_has_error(connection) == 0;
    if (connection)
        xcb_disconnect(connection);
    if (reachable)
        return {};
    return QStringLiteral("vyro: cannot open the display \"%1\"; the commands work without one, see vyro --help")
        .arg(QString::fromLocal8Bit(display));
}
