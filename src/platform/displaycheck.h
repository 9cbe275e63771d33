#pragma once

#include <QString>

// The one line printed when there is no display to open a window on; empty when there is one, or when a
// platform plugin is named explicitly (QT_QPA_PLATFORM) and Qt is left to judge. An X display is
// tried before Qt is, since Qt aborts when it cannot reach one.
QString missingDisplayMessage();
