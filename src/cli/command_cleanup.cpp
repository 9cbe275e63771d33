#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "model/cleanupcontroller.h"

#include <QJsonDocument>
#include <QJsonObject>

int runCleanup(CommandEnvironment& env)
{
    if (!env.arguments().isEmpty())
        return env.fail(QStringLiteral("cleanup takes no arguments"), ExitUsage);
    if (auto failed = env.openStore())
        return *failed;
    // Opening the data already ran the start-up pass; both count.
    const int cleaned = env.cleanedUpAtStart() + CleanUpController::cleanUpTasks(env.appDelegate().managedObjectContext());
    if (Status s = env.save(); !s.isOk())
        return env.fail(QStringLiteral("nothing was cleaned up: %1").arg(s.message()));
    env.out() << QString::fromUtf8(QJsonDocument(QJsonObject {{QStringLiteral("cleanedUp"), cleaned}}).toJson(QJsonDocument::Compact)) << Qt::endl;
    return ExitOk;
}
