#include "ui/desktopservices.h"

#include "app/backups.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "app/virtualkeys.h"
#include "exchange/clouddisktransfer.h"
#include "lists/listhost.h"
#include "platform/desktopnotifier.h"
#include "platform/globalhotkeys.h"
#include "ui/calendarsyncrunner.h"
#include "platform/launcherbadge.h"
#include "store/log.h"
#include "ui/cloudtransferpanel.h"
#include "ui/desktopapplication.h"
#include "ui/trayicon.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QSystemTrayIcon>

DesktopServices::DesktopServices(QObject* parent) : QObject(parent) {}

DesktopServices::~DesktopServices() = default;

QList<HotKey> DesktopServices::hotKeysFromPreferences(const Preferences& preferences)
{
    const std::pair<int, QLatin1StringView> rows[] = {
        {1, PreferenceKey::currentAppToVyroKeyboardShortcut},
        {2, PreferenceKey::quickAddKeyboardShortcut},
        {3, PreferenceKey::quickTypeInKeyboardShortcut},
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

void DesktopServices::attach(DesktopApplication& application)
{
    m_application = &application;
    m_preferences = &application.preferences();
    m_badge = std::make_unique<LauncherBadge>();
    m_notifier = std::make_unique<DesktopNotifier>();
    connect(m_notifier.get(), &DesktopNotifier::clicked, this, [this](const QString& context) {
        if (m_application)
            m_application->notificationWasClicked(context);
    });
}

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

void DesktopServices::backupAtStartup(const QString& dataFilePath)
{
    backupAtStartupAction(dataFilePath);
}

void DesktopServices::transferWithCloudDisk(bool upload, const QString& dataFilePath)
{
    if (!m_preferences) {
        logLine(QStringLiteral("No preferences to read the cloud disk account from; the data file stays as it is."));
        return;
    }
    CloudDiskTransferCancel canceller;
    CloudTransferPanel panel(upload, canceller);
    const auto alert = [](const QString& title, const QString& message) {
        QMessageBox box(QMessageBox::Warning, title, message, QMessageBox::Ok);
        box.setObjectName(QStringLiteral("cloudDiskAlert"));
        box.setAccessibleName(title);
        box.button(QMessageBox::Ok)->setText(QString(CloudDiskText::button));
        box.exec();
    };
    const CloudDiskReport report = m_cloudDiskReport ? m_cloudDiskReport : CloudDiskReport(alert);
    panel.start();
    runCloudDiskTransfer(upload, dataFilePath, *m_preferences, cloudDiskAccountFrom(*m_preferences),
                         [&](const QString& title, const QString& message) {
                             // The alert replaces the panel rather than sitting over it.
                             panel.finish();
                             report(title, message);
                         },
                         &canceller);
    panel.finish();
}

void DesktopServices::downloadDataFromCloudDisk(const QString& dataFilePath)
{
    transferWithCloudDisk(false, dataFilePath);
}

void DesktopServices::uploadDataToCloudDisk(const QString& dataFilePath)
{
    transferWithCloudDisk(true, dataFilePath);
}

CalendarSyncRunner* DesktopServices::calendarSync()
{
    if (!m_sync && m_application)
        m_sync = new CalendarSyncRunner(*m_application, this);
    return m_sync;
}

void DesktopServices::doSync()
{
    if (CalendarSyncRunner* sync = calendarSync())
        sync->sync();
}

void DesktopServices::doiSync()
{
    if (CalendarSyncRunner* sync = calendarSync())
        sync->afterSync();
}

void DesktopServices::waitForSync()
{
    if (m_sync)
        m_sync->waitUntilIdle();
}

QString DesktopServices::forgetCalendarServer()
{
    CalendarSyncRunner* sync = calendarSync();
    return sync ? sync->forget() : QString();
}
