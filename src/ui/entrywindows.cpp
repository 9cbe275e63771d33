#include "ui/entrywindows.h"

#include <QWidget>
#include <QWindow>

void makeFloatingEntryWindow(QWidget& window)
{
    window.setWindowFlags(Qt::Tool | Qt::WindowStaysOnTopHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
}

void bringEntryWindowToFront(QWidget& window, QWidget* firstField)
{
    window.show();
    window.raise();
    window.activateWindow();
    // activateWindow alone is refused by some window managers while another program is active; the
    // window's own request goes through the platform's activation instead.
    if (QWindow* handle = window.windowHandle())
        handle->requestActivate();
    if (firstField)
        firstField->setFocus(Qt::ActiveWindowFocusReason);
}

void giveKeyboardBack(QWidget* mainWindow)
{
    if (!mainWindow || !mainWindow->isVisible() || mainWindow->isMinimized())
        return;
    mainWindow->activateWindow();
}
