#include "platform/applicationbus.h"

#include "platform/memfd.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>

#include <unistd.h>

namespace {

const QLatin1StringView kApplicationInterface{"org.freedesktop.Application"};
const QLatin1StringView kInvalidArgs{"org.freedesktop.DBus.Error.InvalidArgs"};
const QLatin1StringView kFailed{"org.freedesktop.DBus.Error.Failed"};

const char kIntrospection[] = R"(  <interface name="org.freedesktop.Application">
    <method name="Activate"><arg type="a{sv}" name="platform_data" direction="in"/></method>
    <method name="Open"><arg type="as" name="uris" direction="in"/><arg type="a{sv}" name="platform_data" direction="in"/></method>
    <method name="ActivateAction"><arg type="s" name="action_name" direction="in"/><arg type="av" name="parameter" direction="in"/><arg type="a{sv}" name="platform_data" direction="in"/></method>
  </interface>
  <interface name="com.quendar.Vyro">
    <method name="NewInboxTask"><arg type="a{sv}" name="user_info" direction="in"/><arg type="s" name="task_uri" direction="out"/></method>
    <method name="PutTextToInbox"><arg type="s" name="text" direction="in"/></method>
    <method name="OpenLink"><arg type="s" name="link" direction="in"/></method>
    <method name="RunCommand"><arg type="as" name="arguments" direction="in"/><arg type="s" name="working_directory" direction="in"/><arg type="s" name="data_file" direction="in"/><arg type="h" name="standard_input" direction="in"/><arg type="i" name="status" direction="out"/><arg type="h" name="standard_output" direction="out"/><arg type="h" name="standard_error" direction="out"/></method>
  </interface>
)";

bool tooLong(const QStringList& list)
{
    qsizetype total = 0;
    for (const QString& s : list)
        total += s.size();
    return total > ApplicationBus::kMaxTextLength || list.size() > 4096;
}

// The user info of a request, reduced to values a handler can use without knowing the bus: texts,
// numbers, truth values and lists of texts. Anything else (nested maps, structures) is left out, as an
// absent key; a text over the limit fails the whole request.
std::optional<QVariantMap> plainMap(const QVariant& argument)
{
    if (!argument.canConvert<QDBusArgument>())
        return std::nullopt;
    QVariantMap raw;
    argument.value<QDBusArgument>() >> raw;
    QVariantMap plain;
    qsizetype total = 0;
    for (auto it = raw.cbegin(); it != raw.cend(); ++it) {
        const QVariant& v = it.value();
        total += it.key().size();
        switch (v.typeId()) {
        case QMetaType::QString:
            total += v.toString().size();
            plain.insert(it.key(), v);
            break;
        case QMetaType::QStringList:
            if (tooLong(v.toStringList()))
                return std::nullopt;
            total += v.toStringList().join(QString()).size();
            plain.insert(it.key(), v);
            break;
        case QMetaType::Bool: case QMetaType::Int: case QMetaType::UInt: case QMetaType::LongLong:
        case QMetaType::ULongLong: case QMetaType::Double: case QMetaType::Short: case QMetaType::UShort:
        case QMetaType::UChar:
            plain.insert(it.key(), v);
            break;
        default:
            break;
        }
        if (total > ApplicationBus::kMaxTextLength || plain.size() > 256)
            return std::nullopt;
    }
    return plain;
}

} // namespace

// The object at the instance's path. The messages are taken whole, so that each is checked for its
// exact signature before any argument is read: a caller with the wrong types gets an error reply, never
// a half-converted value.
class ApplicationBus::Object : public QDBusVirtualObject {
public:
    explicit Object(ApplicationBus& bus) : QDBusVirtualObject(&bus), m_bus(bus) {}

    QString introspect(const QString&) const override { return QString::fromLatin1(kIntrospection); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QString interface = message.interface();
        const QString member = message.member();
        const QString signature = message.signature();
        const QVariantList args = message.arguments();
        ApplicationBusHandler& handler = m_bus.m_handler;
        auto reply = [&](const QVariantList& values = {}) { connection.send(message.createReply(values)); };
        auto refuse = [&](const QString& text, QLatin1StringView name = kInvalidArgs) {
            connection.send(message.createErrorReply(QString(name), text));
        };
        auto expect = [&](const char* wanted) {
            if (signature == QLatin1String(wanted))
                return true;
            refuse(QStringLiteral("%1 takes (%2), not (%3)").arg(member, QLatin1String(wanted), signature));
            return false;
        };
        const bool application = interface == kApplicationInterface || (interface.isEmpty() && (member == QLatin1String("Activate") || member == QLatin1String("Open") || member == QLatin1String("ActivateAction")));
        const bool own = interface == kApplicationBusInterface || (interface.isEmpty() && !application);
        if (application && member == QLatin1String("Activate")) {
            if (expect("a{sv}")) {
                reply();
                handler.activate();
            }
            return true;
        }
        if (application && member == QLatin1String("Open")) {
            if (!expect("asa{sv}"))
                return true;
            const QStringList uris = args.value(0).toStringList();
            if (tooLong(uris))
                refuse(QStringLiteral("too many or too long URIs"));
            else {
                reply();
                handler.open(uris);
            }
            return true;
        }
        if (application && member == QLatin1String("ActivateAction")) {
            if (!expect("sava{sv}"))
                return true;
            const QString name = args.value(0).toString();
            if (!applicationActionNames().contains(name))
                refuse(QStringLiteral("no action named \"%1\"").arg(name.left(100)));
            else {
                reply();
                handler.activateAction(name);
            }
            return true;
        }
        if (interface.startsWith(QLatin1String("org.freedesktop.DBus.")))
            return false; // introspection and the like, which the library answers
        if (!own) {
            connection.send(message.createErrorReply(QDBusError::UnknownInterface, QStringLiteral("no interface %1 here").arg(interface)));
            return true;
        }
        if (member == QLatin1String("NewInboxTask")) {
            if (!expect("a{sv}"))
                return true;
            const std::optional<QVariantMap> userInfo = plainMap(args.value(0));
            if (!userInfo)
                refuse(QStringLiteral("the user info is too large"));
            else
                reply({handler.newInboxTask(*userInfo)});
            return true;
        }
        if (member == QLatin1String("PutTextToInbox") || member == QLatin1String("OpenLink")) {
            if (!expect("s"))
                return true;
            const QString text = args.value(0).toString();
            if (text.size() > kMaxTextLength)
                refuse(QStringLiteral("the text is longer than %1 characters").arg(kMaxTextLength));
            else {
                reply();
                if (member == QLatin1String("OpenLink"))
                    handler.openLink(text);
                else
                    handler.putTextToInbox(text);
            }
            return true;
        }
        if (member == QLatin1String("RunCommand")) {
            if (!expect("asssh"))
                return true;
            runCommand(message, connection, args);
            return true;
        }
        // Answered here rather than left to the library, so that the caller learns what is wrong.
        connection.send(message.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("no method %1.%2").arg(interface, member)));
        return true;
    }

private:
    void runCommand(const QDBusMessage& message, const QDBusConnection& connection, const QVariantList& args)
    {
        HostedCommandRequest request;
        request.arguments = args.value(0).toStringList();
        request.workingDirectory = args.value(1).toString();
        request.dataFilePath = args.value(2).toString();
        if (tooLong(request.arguments) || request.workingDirectory.size() > 4096 || request.dataFilePath.size() > 4096) {
            connection.send(message.createErrorReply(QString(kInvalidArgs), QStringLiteral("the command is too long")));
            return;
        }
        const QDBusUnixFileDescriptor input = args.value(3).value<QDBusUnixFileDescriptor>();
        if (input.isValid()) {
            auto read = readWholeDescriptor(input.fileDescriptor(), kMaxCommandInput);
            if (!read) {
                connection.send(message.createErrorReply(QString(kInvalidArgs), read.error));
                return;
            }
            request.standardInput = std::move(*read.bytes);
        }
        const HostedCommandOutput output = m_bus.m_handler.runCommand(request);
        // The output goes back in memory files: a dump of a large store is larger than one message.
        const MemoryFile out = MemoryFile::withContent("vyro-stdout", output.standardOutput);
        const MemoryFile err = MemoryFile::withContent("vyro-stderr", output.standardError);
        if (!out.isValid() || !err.isValid()) {
            connection.send(message.createErrorReply(QString(kFailed), QStringLiteral("no memory file for the output")));
            return;
        }
        connection.send(message.createReply({output.status, QVariant::fromValue(QDBusUnixFileDescriptor(out.descriptor())),
                                             QVariant::fromValue(QDBusUnixFileDescriptor(err.descriptor()))}));
    }

    ApplicationBus& m_bus;
};

ApplicationBus::ApplicationBus(ApplicationBusHandler& handler, const QString& connectionName, QObject* parent)
    : QObject(parent), m_handler(handler), m_connectionName(connectionName)
{
    qDBusRegisterMetaType<QVariantMap>();
}

ApplicationBus::~ApplicationBus()
{
    QDBusConnection connection = m_connectionName.isEmpty() ? QDBusConnection::sessionBus() : QDBusConnection(m_connectionName);
    if (m_ownsName)
        connection.unregisterService(QString(kApplicationBusName));
    if (m_registered)
        connection.unregisterObject(QString(kApplicationBusPath));
}

ApplicationBus::Claim ApplicationBus::claim()
{
    QDBusConnection connection = m_connectionName.isEmpty() ? QDBusConnection::sessionBus() : QDBusConnection(m_connectionName);
    if (!connection.isConnected()) {
        m_error = connection.lastError().message();
        return Claim::NoBus;
    }
    if (!m_registered) {
        auto* object = new Object(*this);
        m_registered = connection.registerVirtualObject(QString(kApplicationBusPath), object, QDBusConnection::SingleNode);
        if (!m_registered) {
            m_error = QStringLiteral("cannot register %1 on the bus").arg(kApplicationBusPath);
            return Claim::NoBus;
        }
    }
    QDBusConnectionInterface* bus = connection.interface();
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> r =
        bus->registerService(QString(kApplicationBusName), QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    if (!r.isValid()) {
        m_error = r.error().message();
        return Claim::NoBus;
    }
    m_ownsName = r.value() == QDBusConnectionInterface::ServiceRegistered;
    if (!m_ownsName)
        m_error = QStringLiteral("%1 is owned by another process").arg(kApplicationBusName);
    return m_ownsName ? Claim::Claimed : Claim::Taken;
}
