#include "platform/globalhotkeys.h"

#include "platform/kglobalaccelhotkeys.h"
#include "platform/portalhotkeys.h"
#include "platform/xcbhotkeys.h"
#include "store/log.h"


namespace {

// The session offers no way: the keys are logged once and never fire.
class NoHotKeys : public GlobalHotKeys {
public:
    void setHotKeys(const QList<HotKey>&) override {}
    QString mechanism() const override { return QStringLiteral("none"); }
};

} // namespace

std::unique_ptr<GlobalHotKeys> createGlobalHotKeys()
{
    std::unique_ptr<GlobalHotKeys> keys;
    if (KGlobalAccelHotKeys::isAvailable())
        keys = std::make_unique<KGlobalAccelHotKeys>();
    else if (XcbHotKeys::isAvailable())
        keys = std::make_unique<XcbHotKeys>();
    else if (PortalHotKeys::isAvailable())
        keys = std::make_unique<PortalHotKeys>();
    if (keys) {
        logLine(QStringLiteral("Global hot keys: ") + keys->mechanism());
        return keys;
    }
    logLine(QStringLiteral("Global hot keys are not available in this session; bind \"vyro quick-add\", \"vyro quick-type-in\" "
                           "and \"vyro capture\" to keys in the desktop's keyboard settings"));
    return std::make_unique<NoHotKeys>();
}

QString portalTriggerForKey(int key)
{
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35)
        return QStringLiteral("F%1").arg(key - Qt::Key_F1 + 1);
    if ((key >= Qt::Key_A && key <= Qt::Key_Z) || (key >= Qt::Key_0 && key <= Qt::Key_9))
        return QString(QChar(key)).toLower();
    switch (key) {
    case Qt::Key_Return: return QStringLiteral("Return");
    case Qt::Key_Tab: return QStringLiteral("Tab");
    case Qt::Key_Space: return QStringLiteral("space");
    case Qt::Key_Backspace: return QStringLiteral("BackSpace");
    case Qt::Key_Escape: return QStringLiteral("Escape");
    case Qt::Key_Delete: return QStringLiteral("Delete");
    case Qt::Key_Home: return QStringLiteral("Home");
    case Qt::Key_End: return QStringLiteral("End");
    case Qt::Key_PageUp: return QStringLiteral("Page_Up");
    case Qt::Key_PageDown: return QStringLiteral("Page_Down");
    case Qt::Key_Left: return QStringLiteral("Left");
    case Qt::Key_Right: return QStringLiteral("Right");
    case Qt::Key_Up: return QStringLiteral("Up");
    case Qt::Key_Down: return QStringLiteral("Down");
    default: return QString();
    }
}

unsigned int keysymForKey(int key)
{
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35)
        return 0xffbe + unsigned(key - Qt::Key_F1);
    // Letters by their lower-case keysym, the one a plain press produces.
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return unsigned(key - Qt::Key_A) + 'a';
    if (key >= Qt::Key_0 && key <= Qt::Key_9)
        return unsigned(key);
    switch (key) {
    case Qt::Key_Return: return 0xff0d;
    case Qt::Key_Tab: return 0xff09;
    case Qt::Key_Space: return 0x20;
    case Qt::Key_Backspace: return 0xff08;
    case Qt::Key_Escape: return 0xff1b;
    case Qt::Key_Delete: return 0xffff;
    case Qt::Key_Home: return 0xff50;
    case Qt::Key_End: return 0xff57;
    case Qt::Key_PageUp: return 0xff55;
    case Qt::Key_PageDown: return 0xff56;
    case Qt::Key_Left: return 0xff51;
    case Qt::Key_Up: return 0xff52;
    case Qt::Key_Right: return 0xff53;
    case Qt::Key_Down: return 0xff54;
    default: return 0;
    }
}
