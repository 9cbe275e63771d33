#include "ui/desktopservices.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "lists/listhost.h"
#include "platform/desktopnotifier.h"
#include "platform/launcherbadge.h"
#include "store/log.h"
#include "ui/desktopapplication.h"
#include "ui/trayicon.h"

#include <QSystemTrayIcon>

DesktopServices::DesktopServices(QObject* parent) : QObject(parent) {}

DesktopServices::~DesktopServices() = default;

void DesktopServices::attach(DesktopApplication& application)
{
    m_application = &application;
    m_badge = std::make_unique<LauncherBadge>();
    m_notifier = std::make_unique<DesktopNotifier>();
    connect(m_notifier.get(), &DesktopNotifier::clicked, this, [this](const QString& context) {
        if (m_application)
            m_application->notificationWasClicked(context);
    });
}

void DesktopServices::registerHotKeys(const Preferences&) {}

void DesktopServices::buildStatusMenus()
{
    if (!m_application)
        return;
    if (!m_application->preferences().boolForKey(PreferenceKey::showStatusBarItem)) {
        m_tray.reset();
        return;
    }
    if (m_tray)
        return;
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        if (!m_noTrayLogged)
            logLine(QStringLiteral("No system tray in this session: the status menu is not shown and the window minimises instead of hiding."));
        m_noTrayLogged = true;
        return;
    }
    m_tray = std::make_unique<TrayIcon>(*m_application);
    m_tray->setCount(m_count);
}

void DesktopServices::updateBadge(int inboxCount)
{
    const bool shown = m_application && m_application->preferences().boolForKey(PreferenceKey::showBadge);
    m_count = shown ? std::max(inboxCount, 0) : 0;
    if (m_badge)
        m_badge->setCount(m_count);
    if (m_tray)
        m_tray->setCount(m_count);
}

void DesktopServices::resetBadge()
{
    m_count = 0;
    if (m_badge)
        m_badge->clear();
    if (m_tray)
        m_tray->setCount(0);
}

bool DesktopServices::hidesIntoTray() const
{
    return m_tray && m_tray->isVisible();
}

void DesktopServices::postNotification(const DesktopNotification& notification)
{
    if (m_notifier)
        m_notifier->notify(notification.title, notification.description, notification.name, notification.clickContext,
                           notification.sticky);
}
