#include "platform/desktopnotifier.h"

#include "store/log.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>

namespace {

const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");

bool serviceReachable(const QDBusConnection& bus)
{
    if (!bus.isConnected())
        return false;
    QDBusConnectionInterface* names = bus.interface();
    if (!names)
        return false;
    if (names->isServiceRegistered(DesktopNotifier::kService))
        return true;
    // Many daemons start on the first call: the bus lists them as activatable.
    const QDBusReply<QStringList> activatable = names->activatableServiceNames();
    return activatable.isValid() && activatable.value().contains(DesktopNotifier::kService);
}

} // namespace

DesktopNotifier::DesktopNotifier(QDBusConnection bus, QObject* parent) : QObject(parent), m_bus(std::move(bus))
{
    m_available = serviceReachable(m_bus);
    if (!m_available) {
        logLine(QStringLiteral("No notification service on the session bus: notices show in the window's status line only."));
        return;
    }
    m_bus.connect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), this, SLOT(onActionInvoked(uint, QString)));
    m_bus.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), this,
                  SLOT(onNotificationClosed(uint, uint)));
}

DesktopNotifier::~DesktopNotifier() = default;

void DesktopNotifier::notify(const QString& title, const QString& body, const QString& kind, const QString& clickContext,
                             bool sticky)
{
    if (!m_available)
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Notify"));
    const QVariantMap hints{
        {QStringLiteral("desktop-entry"), QStringLiteral("com.quendar.Vyro")},
        {QStringLiteral("x-vyro-kind"), kind},
    };
    call << QStringLiteral("Vyro") << uint(0) << QStringLiteral("com.quendar.Vyro") << title << body
         << QStringList{QStringLiteral("default"), QStringLiteral("Show")} << hints << int(sticky ? 0 : -1);
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, clickContext](QDBusPendingCallWatcher* w) { notifyAnswered(w, clickContext); });
}

void DesktopNotifier::notifyAnswered(QDBusPendingCallWatcher* watcher, const QString& clickContext)
{
    watcher->deleteLater();
    const QDBusPendingReply<uint> reply = *watcher;
    if (reply.isError()) {
        if (!m_failureLogged)
            logLine(QStringLiteral("The notification service refused a notice: %1").arg(reply.error().message()));
        m_failureLogged = true;
        return;
    }
    m_open.insert(reply.value(), clickContext);
    Q_EMIT posted(reply.value());
}

void DesktopNotifier::onActionInvoked(uint id, const QString& action)
{
    const auto found = m_open.constFind(id);
    if (found == m_open.constEnd() || action != QLatin1String("default"))
        return;
    const QString context = *found;
    if (!context.isEmpty())
        Q_EMIT clicked(context);
}

void DesktopNotifier::onNotificationClosed(uint id, uint)
{
    m_open.remove(id);
}
