#include "platform/portalhotkeys.h"

#include "store/log.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");

} // namespace

// One entry of the portal's shortcut list: (s id, a{sv} properties).
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(PortalShortcut)

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

bool PortalHotKeys::isAvailable()
{
    QDBusMessage get = QDBusMessage::createMethodCall(service, path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                                      QStringLiteral("Get"));
    get << interface << QStringLiteral("version");
    return QDBusConnection::sessionBus().call(get, QDBus::Block, 2000).type() == QDBusMessage::ReplyMessage;
}

PortalHotKeys::PortalHotKeys()
{
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    QDBusConnection::sessionBus().connect(service, path, interface, QStringLiteral("Activated"), this,
                                          SLOT(shortcutActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
}

PortalHotKeys::~PortalHotKeys()
{
    closeSession();
}

QString PortalHotKeys::expectResponse(const QString& token, const char* slot)
{
    QString sender = QDBusConnection::sessionBus().baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    const QString requestPath = QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
    QDBusConnection::sessionBus().connect(service, requestPath, requestInterface, QStringLiteral("Response"), this, slot);
    return requestPath;
}

void PortalHotKeys::closeSession()
{
    if (m_session.isEmpty())
        return;
    QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(service, m_session, QStringLiteral("org.freedesktop.portal.Session"),
                                                                      QStringLiteral("Close")),
                                       QDBus::NoBlock);
    m_session.clear();
}

void PortalHotKeys::setHotKeys(const QList<HotKey>& keys)
{
    // A session's shortcuts are bound once; new keys take a new session.
    closeSession();
    m_keys = keys;
    if (keys.isEmpty())
        return;
    const QString token = QStringLiteral("vyro%1").arg(++m_requests);
    expectResponse(token, SLOT(sessionCreated(uint, QVariantMap)));
    QDBusMessage create = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("CreateSession"));
    create << QVariantMap{{QStringLiteral("handle_token"), token}, {QStringLiteral("session_handle_token"), token}};
    QDBusConnection::sessionBus().call(create, QDBus::NoBlock);
}

void PortalHotKeys::sessionCreated(uint response, const QVariantMap& results)
{
    if (response != 0) {
        logLine(QStringLiteral("The desktop portal refused a global shortcut session"));
        return;
    }
    m_session = results.value(QStringLiteral("session_handle")).toString();
    bindShortcuts();
}

void PortalHotKeys::bindShortcuts()
{
    QList<PortalShortcut> shortcuts;
    for (const HotKey& key : std::as_const(m_keys)) {
        const QString trigger = portalTriggerForKey(key.key);
        if (trigger.isEmpty())
            continue;
        shortcuts.append({QStringLiteral("hot-key-%1").arg(key.id),
                          {{QStringLiteral("description"), QStringLiteral("Vyro hot key %1").arg(key.id)},
                           {QStringLiteral("preferred_trigger"), trigger}}});
    }
    const QString token = QStringLiteral("vyro%1").arg(++m_requests);
    expectResponse(token, SLOT(shortcutsBound(uint, QVariantMap)));
    QDBusMessage bind = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("BindShortcuts"));
    bind << QVariant::fromValue(QDBusObjectPath(m_session)) << QVariant::fromValue(shortcuts) << QString()
         << QVariantMap{{QStringLiteral("handle_token"), token}};
    QDBusConnection::sessionBus().call(bind, QDBus::NoBlock);
}

void PortalHotKeys::shortcutsBound(uint response, const QVariantMap&)
{
    if (response != 0)
        logLine(QStringLiteral("The desktop portal did not bind the hot keys"));
}

void PortalHotKeys::shortcutActivated(const QDBusObjectPath& session, const QString& shortcut, qulonglong, const QVariantMap&)
{
    if (session.path() != m_session || !shortcut.startsWith(QLatin1String("hot-key-")))
        return;
    bool ok = false;
    const int id = shortcut.mid(8).toInt(&ok);
    if (ok)
        Q_EMIT activated(id);
}
