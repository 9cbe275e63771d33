#pragma once

#include "platform/applicationbus.h"

class DesktopApplication;

// What the running desktop program does with the requests of other processes: each goes to the
// application's own way in, as a hot key, a link or a service would.
class DesktopBusHandler : public ApplicationBusHandler {
public:
    explicit DesktopBusHandler(DesktopApplication& application) : m_application(application) {}

    void activate() override;
    // "vyro:" links and links of other schemes are opened as links; "file:" URIs as files.
    void open(const QStringList& uris) override;
    void activateAction(const QString& name) override;
    // The new task's identifier URI.
    QString newInboxTask(const QVariantMap& userInfo) override;
    void putTextToInbox(const QString& text) override;
    void openLink(const QString& link) override;
    HostedCommandOutput runCommand(const HostedCommandRequest& request) override;

private:
    DesktopApplication& m_application;
};
