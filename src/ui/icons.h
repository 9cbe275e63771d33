#pragma once

#include <QIcon>
#include <QString>

// The program's images by the names the model and the menus use ("toolbar_inbox.png", "context_home.png",
// "status_waitfor.png" …). Each name maps to a freedesktop icon name taken from the desktop's icon theme;
// a theme without it gets the fallback shipped in the resources (":/icons/<name>.svg"). An unknown or
// empty name gives a null icon.
QIcon vyroIcon(const QString& imageName);

// The freedesktop name behind an image name; empty when the image has no theme counterpart.
QString themeIconName(const QString& imageName);

// Called once at start: a session without an icon theme of its own (a bare X server, the offscreen
// platform) gets the theme we test with when it is installed, so the window never shows blanks.
void chooseIconTheme();
