#include "cli/commandline.h"
#include "platform/instanceclient.h"
#include "ui/desktopapplication.h"

#include <QCoreApplication>
#include <QProcess>

namespace {

// The command line's way to the running desktop program: the session bus.
class BusInstance : public RunningInstance {
public:
    std::optional<ForwardedOutput> runCommand(const QStringList& arguments, const QString& workingDirectory,
                                              const QString& dataFilePath, const QByteArray& standardInput) override
    {
        const auto output = m_client.runCommand({arguments, workingDirectory, dataFilePath, standardInput});
        if (!output)
            return std::nullopt;
        return ForwardedOutput{output->status, output->standardOutput, output->standardError};
    }
    bool activateAction(const QString& name) override { return m_client.isRunning() && m_client.activateAction(name); }
    bool open(const QStringList& uris) override { return m_client.isRunning() && m_client.open(uris); }
    bool startDesktop(const QStringList& arguments) override
    {
        if (!QProcess::startDetached(QCoreApplication::applicationFilePath(), arguments)) {
            m_error = QStringLiteral("cannot run %1").arg(QCoreApplication::applicationFilePath());
            return false;
        }
        // Opening a large data file and showing the window takes a few seconds at most.
        if (!m_client.waitUntilRunning(30000)) {
            m_error = QStringLiteral("it did not appear on the session bus");
            return false;
        }
        return true;
    }
    QString errorString() const override { return m_error.isEmpty() ? m_client.errorString() : m_error; }

private:
    InstanceClient m_client;
    QString m_error;
};

} // namespace

int main(int argc, char** argv)
{
    // Without TZ the C library looks at /etc/localtime again for every local time it converts: tens of
    // thousands of file checks when a list of dated tasks is filtered. Naming the same zone file once
    // keeps the system's zone and lets the library read it once.
    if (qEnvironmentVariableIsEmpty("TZ"))
        qputenv("TZ", ":/etc/localtime");
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    DataFolderOverride dataFolder;
    QStringList uris;
    if (desktopRequested(arguments, dataFolder, uris))
        return runDesktopApplication(argc, argv, dataFolder, uris);

    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Vyro"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("quendar.com"));
    BusInstance instance;
    return runCommandLine(QCoreApplication::arguments(), &instance);
}
