#include "cli/commandline.h"
#include "ui/desktopapplication.h"

#include <QCoreApplication>

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
    if (desktopRequested(arguments, dataFolder))
        return runDesktopApplication(argc, argv, dataFolder);

    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Vyro"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("quendar.com"));
    return runCommandLine(QCoreApplication::arguments());
}
