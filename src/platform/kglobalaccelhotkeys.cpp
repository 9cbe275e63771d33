#include "platform/kglobalaccelhotkeys.h"

#include "store/log.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>

namespace {

const QString service = QStringLiteral("org.kde.kglobalaccel");
const QString path = QStringLiteral("/kglobalaccel");
const QString interface = QStringLiteral("org.kde.KGlobalAccel");
const QString component = QStringLiteral("com.quendar.Vyro");

// The service's "set this key, present now, do not take a stored one instead" flags.
constexpr uint setPresentNoAutoloading = 2 | 4;

QStringList actionId(const QString& action)
{
    return {component, action, QStringLiteral("Vyro"), action};
}

QDBusMessage call(const QString& method, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message);
}

} // namespace

bool KGlobalAccelHotKeys::isAvailable()
{
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    return bus && bus->isServiceRegistered(service);
}

KGlobalAccelHotKeys::KGlobalAccelHotKeys() = default;

void KGlobalAccelHotKeys::setHotKeys(const QList<HotKey>& keys)
{
    // Keys no longer wanted are set to nothing, so the service stops reporting them.
    for (auto it = m_actions.cbegin(); it != m_actions.cend(); ++it)
        call(QStringLiteral("setShortcut"),
             {QVariant::fromValue(actionId(it.key())), QVariant::fromValue(QList<int>()), QVariant::fromValue(setPresentNoAutoloading)});
    m_actions.clear();
    for (const HotKey& hotKey : keys) {
        const QString action = QStringLiteral("hot-key-%1").arg(hotKey.id);
        call(QStringLiteral("doRegister"), {QVariant::fromValue(actionId(action))});
        const QDBusMessage reply =
            call(QStringLiteral("setShortcut"), {QVariant::fromValue(actionId(action)), QVariant::fromValue(QList<int>{hotKey.key}),
                                                 QVariant::fromValue(setPresentNoAutoloading)});
        if (reply.type() == QDBusMessage::ErrorMessage) {
            logLine(QStringLiteral("Hot key %1 could not be set: %2").arg(hotKey.id).arg(reply.errorMessage()));
            continue;
        }
        const QList<int> given = qdbus_cast<QList<int>>(reply.arguments().value(0));
        if (!given.contains(hotKey.key))
            logLine(QStringLiteral("Hot key %1 is held by another program").arg(hotKey.id));
        m_actions.insert(action, hotKey.id);
    }
    connectComponent();
}

void KGlobalAccelHotKeys::connectComponent()
{
    if (m_connected || m_actions.isEmpty())
        return;
    // The component exists once an action of it is registered.
    QDBusReply<QDBusObjectPath> componentPath = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("getComponent")) << component);
    if (!componentPath.isValid()) {
        logLine(QStringLiteral("KDE global shortcuts: no component: ") + componentPath.error().message());
        return;
    }
    m_connected = QDBusConnection::sessionBus().connect(service, componentPath.value().path(),
                                                        QStringLiteral("org.kde.kglobalaccel.Component"),
                                                        QStringLiteral("globalShortcutPressed"), this,
                                                        SLOT(globalShortcutPressed(QString, QString, qlonglong)));
}

void KGlobalAccelHotKeys::globalShortcutPressed(const QString& componentName, const QString& action, qlonglong)
{
    if (componentName != component)
        return;
    if (auto it = m_actions.constFind(action); it != m_actions.cend())
        Q_EMIT activated(it.value());
}
