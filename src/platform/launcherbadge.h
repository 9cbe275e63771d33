#pragma once

#include <QDBusConnection>
#include <QString>

// The count on the program's launcher icon in docks and task bars that follow the Unity launcher API
// (com.canonical.Unity.LauncherEntry): a broadcast signal, so it costs nothing where nobody listens.
class LauncherBadge {
public:
    static inline const QString kAppUri = QStringLiteral("application://com.quendar.Vyro.desktop");

    explicit LauncherBadge(QDBusConnection bus = QDBusConnection::sessionBus());

    // A count below 1 hides the badge.
    void setCount(int count);
    void clear() { setCount(0); }

private:
    QDBusConnection m_bus;
    int m_last = -1;
};
