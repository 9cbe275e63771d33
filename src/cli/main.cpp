#include "cli/commandline.h"

#include <QCoreApplication>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Vyro"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("quendar.com"));
    return runCommandLine(QCoreApplication::arguments());
}
