#pragma once

#include "platform/applicationbus.h"

#include <QString>
#include <QStringList>

#include <optional>

// The side of a second process: asks the running instance, if any, over the session bus. Everything
// but a command answers within a short time; a command may run as long as it needs.
class InstanceClient {
public:
    // `connectionName` names an existing QDBusConnection (a test's private bus); empty takes the
    // session bus, connected on first use.
    explicit InstanceClient(const QString& connectionName = {});

    // Whether the instance's name has an owner now.
    bool isRunning() const;
    // False, with errorString() set, when no instance took the request.
    bool activate();
    bool open(const QStringList& uris);
    bool activateAction(const QString& name);
    // Waits up to `timeoutMs` for an instance to own the name (one being started).
    bool waitUntilRunning(int timeoutMs);

    // Runs a command of the command line in the instance. Nothing when no instance answered (the caller
    // then runs it itself or reports); otherwise the command's exit status and output as it would
    // have printed them.
    std::optional<HostedCommandOutput> runCommand(const HostedCommandRequest& request);

    QString errorString() const { return m_error; }

private:
    bool call(const QString& interface, const QString& method, const QVariantList& arguments);
    QString m_connectionName;
    QString m_error;
};
