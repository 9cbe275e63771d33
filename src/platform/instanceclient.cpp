#include "platform/instanceclient.h"

#include "platform/memfd.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QThread>

namespace {

// A running instance answers these from its event loop at once; one that takes longer is stuck, and the
// caller is better off reporting than waiting.
constexpr int kShortTimeoutMs = 5000;
// A command on a large store may take long; only a dead instance makes the caller wait this long.
constexpr int kCommandTimeoutMs = 10 * 60 * 1000;

QDBusConnection connectionNamed(const QString& name)
{
    return name.isEmpty() ? QDBusConnection::sessionBus() : QDBusConnection(name);
}

QDBusMessage methodCall(const QString& interface, const QString& method)
{
    return QDBusMessage::createMethodCall(QString(kApplicationBusName), QString(kApplicationBusPath), interface, method);
}

} // namespace

InstanceClient::InstanceClient(const QString& connectionName) : m_connectionName(connectionName)
{
}

bool InstanceClient::isRunning() const
{
    QDBusConnection connection = connectionNamed(m_connectionName);
    if (!connection.isConnected())
        return false;
    // Asked directly rather than through the bus interface object, which makes a round trip of its
    // own to introspect the bus first.
    QDBusMessage ask = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                                      QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"));
    ask << QString(kApplicationBusName);
    const QDBusMessage answer = connection.call(ask, QDBus::Block, kShortTimeoutMs);
    return answer.type() == QDBusMessage::ReplyMessage && answer.arguments().value(0).toBool();
}

bool InstanceClient::call(const QString& interface, const QString& method, const QVariantList& arguments)
{
    QDBusConnection connection = connectionNamed(m_connectionName);
    if (!connection.isConnected()) {
        m_error = QStringLiteral("no session bus");
        return false;
    }
    QDBusMessage message = methodCall(interface, method);
    message.setArguments(arguments);
    // No auto-start: a request for an instance must not start one behind the caller's back.
    message.setAutoStartService(false);
    const QDBusMessage answer = connection.call(message, QDBus::Block, kShortTimeoutMs);
    if (answer.type() == QDBusMessage::ReplyMessage)
        return true;
    m_error = answer.errorMessage();
    return false;
}

bool InstanceClient::activate()
{
    return call(QStringLiteral("org.freedesktop.Application"), QStringLiteral("Activate"), {QVariantMap()});
}

bool InstanceClient::open(const QStringList& uris)
{
    return call(QStringLiteral("org.freedesktop.Application"), QStringLiteral("Open"), {uris, QVariantMap()});
}

bool InstanceClient::activateAction(const QString& name)
{
    return call(QStringLiteral("org.freedesktop.Application"), QStringLiteral("ActivateAction"),
                {name, QVariant::fromValue(QVariantList()), QVariantMap()});
}

bool InstanceClient::waitUntilRunning(int timeoutMs)
{
    for (int waited = 0; waited < timeoutMs; waited += 50) {
        if (isRunning())
            return true;
        QThread::msleep(50);
    }
    return isRunning();
}

std::optional<HostedCommandOutput> InstanceClient::runCommand(const HostedCommandRequest& request)
{
    QDBusConnection connection = connectionNamed(m_connectionName);
    if (!connection.isConnected() || !connection.connectionCapabilities().testFlag(QDBusConnection::UnixFileDescriptorPassing)) {
        m_error = QStringLiteral("no session bus that passes file descriptors");
        return std::nullopt;
    }
    const MemoryFile input = MemoryFile::withContent("vyro-stdin", request.standardInput);
    if (!input.isValid()) {
        m_error = QStringLiteral("no memory file for the input");
        return std::nullopt;
    }
    QDBusMessage message = methodCall(QString(kApplicationBusInterface), QStringLiteral("RunCommand"));
    message.setAutoStartService(false);
    message << request.arguments << request.workingDirectory << request.dataFilePath
            << QVariant::fromValue(QDBusUnixFileDescriptor(input.descriptor()));
    const QDBusMessage answer = connection.call(message, QDBus::Block, kCommandTimeoutMs);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("ihh")) {
        m_error = answer.errorMessage();
        return std::nullopt;
    }
    HostedCommandOutput output;
    output.status = answer.arguments().value(0).toInt();
    const qint64 limit = qint64(4) << 30;
    auto out = readWholeDescriptor(answer.arguments().value(1).value<QDBusUnixFileDescriptor>().fileDescriptor(), limit);
    auto err = readWholeDescriptor(answer.arguments().value(2).value<QDBusUnixFileDescriptor>().fileDescriptor(), limit);
    if (!out || !err) {
        m_error = out ? err.error : out.error;
        return std::nullopt;
    }
    output.standardOutput = std::move(*out.bytes);
    output.standardError = std::move(*err.bytes);
    return output;
}
