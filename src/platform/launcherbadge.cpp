#include "platform/launcherbadge.h"

#include <QDBusMessage>
#include <QVariantMap>

#include <algorithm>

LauncherBadge::LauncherBadge(QDBusConnection bus) : m_bus(std::move(bus)) {}

void LauncherBadge::setCount(int count)
{
    count = std::max(count, 0);
    if (count == m_last || !m_bus.isConnected())
        return;
    m_last = count;
    QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/com/quendar/Vyro/LauncherEntry"),
                                                     QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    const QVariantMap properties{
        {QStringLiteral("count"), QVariant::fromValue(qint64(count))},
        {QStringLiteral("count-visible"), count > 0},
    };
    signal << kAppUri << properties;
    m_bus.send(signal);
}
