#include "ui/desktopservices.h"

#include "ui/desktopapplication.h"

DesktopServices::DesktopServices(QObject* parent) : QObject(parent) {}

DesktopServices::~DesktopServices() = default;

void DesktopServices::registerHotKeys(const Preferences&) {}

void DesktopServices::buildStatusMenus() {}

void DesktopServices::updateBadge(int) {}

void DesktopServices::resetBadge() {}
