#include "ui/desktopservices.h"

#include "app/preferences.h"
#include "app/virtualkeys.h"
#include "platform/globalhotkeys.h"
#include "ui/desktopapplication.h"

DesktopServices::DesktopServices(QObject* parent) : QObject(parent) {}

DesktopServices::~DesktopServices() = default;

QList<HotKey> DesktopServices::hotKeysFromPreferences(const Preferences& preferences)
{
    const std::pair<int, const char*> rows[] = {
        {1, "currentAppToVyroKeyboardShortcut"},
        {2, "quickAddKeyboardShortcut"},
        {3, "quickTypeInKeyboardShortcut"},
    };
    QList<HotKey> keys;
    for (const auto& [id, preference] : rows)
        if (const int key = qtKeyForVirtualKeyCode(preferences.integerForKey(preference)))
            keys.append({id, key});
    return keys;
}

void DesktopServices::registerHotKeys(const Preferences& preferences)
{
    if (!m_hotKeys) {
        m_hotKeys = createGlobalHotKeys();
        connect(m_hotKeys.get(), &GlobalHotKeys::activated, this, &DesktopServices::hotKeyPressed);
    }
    m_hotKeys->setHotKeys(hotKeysFromPreferences(preferences));
}

void DesktopServices::hotKeyPressed(int id)
{
    if (!m_application)
        return;
    switch (id) {
    case 1: m_application->addAppContentToVyro(); break;
    case 2: m_application->showQuickAddWindow(); break;
    case 3: m_application->showQuickTypeInWindow(); break;
    default: break;
    }
}

void DesktopServices::buildStatusMenus() {}

void DesktopServices::updateBadge(int) {}

void DesktopServices::resetBadge() {}
