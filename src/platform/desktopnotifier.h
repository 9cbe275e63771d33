#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QString>

class QDBusPendingCallWatcher;

// The session's notification service (org.freedesktop.Notifications) for the program's notices. Every
// notice carries the "default" action, the program's desktop entry and its kind as the hint
// "x-vyro-kind"; a click on one of ours that came with a click context is reported by `clicked`.
//
// The connection stays open for the run: the service sends its ActionInvoked and NotificationClosed
// signals to every listener, so only the ids it gave our own notices are answered.
class DesktopNotifier : public QObject {
    Q_OBJECT
public:
    static inline const QString kService = QStringLiteral("org.freedesktop.Notifications");

    explicit DesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
    ~DesktopNotifier() override;

    // Whether a service owns the name or can be started for it; checked once, when made.
    bool isAvailable() const { return m_available; }

    // Posts a notice; does nothing without a service. `sticky`: it stays until the user closes it.
    void notify(const QString& title, const QString& body, const QString& kind, const QString& clickContext,
                bool sticky = false);

    // The ids the service gave our notices that are still open, for tests.
    int openCount() const { return int(m_open.size()); }

Q_SIGNALS:
    void clicked(const QString& clickContext);
    // The service answered a Notify with this id (after the click context was remembered).
    void posted(uint id);

private Q_SLOTS:
    void onActionInvoked(uint id, const QString& action);
    void onNotificationClosed(uint id, uint reason);

private:
    void notifyAnswered(QDBusPendingCallWatcher* watcher, const QString& clickContext);

    QDBusConnection m_bus;
    bool m_available = false;
    bool m_failureLogged = false;
    QHash<uint, QString> m_open;
};
