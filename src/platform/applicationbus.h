#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <memory>

// The well-known name and object of the one running instance on the session bus.
inline constexpr QLatin1StringView kApplicationBusName{"com.quendar.Vyro"};
inline constexpr QLatin1StringView kApplicationBusPath{"/com/quendar/Vyro"};
inline constexpr QLatin1StringView kApplicationBusInterface{"com.quendar.Vyro"};

// The actions another process may trigger by name.
inline const QStringList& applicationActionNames()
{
    static const QStringList names{QStringLiteral("quick-add"), QStringLiteral("quick-type-in"), QStringLiteral("capture"),
                                   QStringLiteral("jump-to-inbox"), QStringLiteral("jump-to-next-actions")};
    return names;
}

// A command of the command line, carried out in the instance for another process.
struct HostedCommandRequest {
    QStringList arguments;   // the whole argument list, program name first
    QString workingDirectory; // the caller's, for relative paths
    QString dataFilePath;     // the data file the caller resolved
    QByteArray standardInput; // the caller's standard input, for a command that reads "-"
};

struct HostedCommandOutput {
    int status = 1;
    QByteArray standardOutput;
    QByteArray standardError;
};

// What the instance does with the requests that reach it, in its own terms. Called on the main thread;
// the values are already checked for type and size.
class ApplicationBusHandler {
public:
    virtual ~ApplicationBusHandler() = default;
    virtual void activate() = 0;
    virtual void open(const QStringList& uris) = 0;
    // `name` is one of applicationActionNames().
    virtual void activateAction(const QString& name) = 0;
    // The new task's URI, or empty when none was made.
    virtual QString newInboxTask(const QVariantMap& userInfo) = 0;
    virtual void putTextToInbox(const QString& text) = 0;
    virtual void openLink(const QString& link) = 0;
    virtual HostedCommandOutput runCommand(const HostedCommandRequest& request) = 0;
};

// The instance's hold on the session bus name and the object that serves it: the standard application
// interface (Activate, Open, ActivateAction) and our own (NewInboxTask, PutTextToInbox, OpenLink,
// RunCommand). The name is given up when the object goes.
class ApplicationBus : public QObject {
    Q_OBJECT
public:
    // The longest string or list of strings a request may carry; longer ones get an error reply.
    static constexpr qsizetype kMaxTextLength = 1 << 20;

    // `handler` must outlive the object. `connectionName` names an existing QDBusConnection (a test's
    // private bus); empty takes the session bus.
    explicit ApplicationBus(ApplicationBusHandler& handler, const QString& connectionName = {}, QObject* parent = nullptr);
    ~ApplicationBus() override;

    enum class Claim { Claimed, Taken, NoBus };
    // Registers the object and asks for the name, without queueing: Taken when another process owns it
    // (the caller hands its request over instead), NoBus when there is no session bus to claim it on.
    Claim claim();
    QString errorString() const { return m_error; }

private:
    class Object;
    ApplicationBusHandler& m_handler;
    QString m_connectionName;
    QString m_error;
    bool m_registered = false;
    bool m_ownsName = false;
};
