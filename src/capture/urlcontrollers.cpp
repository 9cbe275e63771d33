#include "capture/urlcontrollers.h"

bool AppURLController::handleURL(const QString&, bool)
{
    return false;
}

void handleGetURL(TabViewController&, const QString&) {}

void openVyroLinkAndSwitchToItem(TabViewController&, const QString&) {}
