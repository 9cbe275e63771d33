#include "ui/desktopbushandler.h"

#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "model/task.h"
#include "store/log.h"
#include "store/objectcontext.h"
#include "ui/desktopapplication.h"
#include "ui/mainwindowcontroller.h"

#include <QUrl>

void DesktopBusHandler::activate()
{
    m_application.reopen();
}

void DesktopBusHandler::open(const QStringList& uris)
{
    for (const QString& uri : uris) {
        if (uri.startsWith(QLatin1String("file:"), Qt::CaseInsensitive)) {
            const QString path = QUrl(uri).toLocalFile();
            if (!path.isEmpty())
                m_application.openFile(path);
        } else {
            m_application.getUrl(uri);
        }
    }
}

void DesktopBusHandler::activateAction(const QString& name)
{
    if (name == QLatin1String("quick-add"))
        m_application.showQuickAddWindow();
    else if (name == QLatin1String("quick-type-in"))
        m_application.showQuickTypeInWindow();
    else if (name == QLatin1String("capture"))
        m_application.addAppContentToVyro();
    else if (MainWindowController* window = m_application.mainWindowController()) {
        if (name == QLatin1String("jump-to-inbox")) {
            window->bringAppToFront();
            window->jumpToInbox();
        } else if (name == QLatin1String("jump-to-next-actions")) {
            window->bringAppToFront();
            window->jumpToNextActionsSmartFolder();
        }
    }
}

QString DesktopBusHandler::newInboxTask(const QVariantMap& userInfo)
{
    Task* task = m_application.newInboxTask(userInfo);
    return task ? m_application.appDelegate().managedObjectContext().uriForRecord(*task) : QString();
}

void DesktopBusHandler::putTextToInbox(const QString& text)
{
    m_application.putServiceStringToVyroInbox(text);
}

void DesktopBusHandler::openLink(const QString& link)
{
    m_application.openVyroLinkAndSwitchToItem(link);
}

HostedCommandOutput DesktopBusHandler::runCommand(const HostedCommandRequest& request)
{
    HostedCommandOutput output;
    if (!m_application.mainWindowController()) {
        output.standardError = "vyro: the running Vyro has not opened its data yet\n";
        return output;
    }
    logLine(QStringLiteral("Command from another process: %1").arg(request.arguments.value(1).left(40)));
    CommandHost host{m_application.appDelegate(), m_application.preferences(), request.workingDirectory, request.standardInput};
    output.status = runHostedCommandLine(request.arguments, request.dataFilePath, host, output.standardOutput, output.standardError);
    return output;
}
