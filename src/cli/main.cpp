#include "cli/commandline.h"
#include "ui/desktopapplication.h"

#include <QCoreApplication>

int main(int argc, char** argv)
{
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
