#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "cli/recordlookup.h"
#include "model/task.h"
#include "model/tasksduplicator.h"
#include "store/recordjson.h"

#include <QJsonDocument>

int runDuplicate(CommandEnvironment& env)
{
    if (env.arguments().size() != 1)
        return env.fail(QStringLiteral("duplicate takes the URI of one task"), ExitUsage);
    if (auto failed = env.openStore())
        return *failed;
    auto task = lookupRecord(env.appDelegate().managedObjectContext(), env.arguments().first(), QStringLiteral("task"));
    if (!task)
        return env.fail(task.status().message(), ExitUsage);
    Task* copy = TasksDuplicator::duplicateTaskFrom(static_cast<Task*>(*task));
    if (Status s = env.save(); !s.isOk())
        return env.fail(QStringLiteral("nothing was duplicated: %1").arg(s.message()));
    env.out() << QString::fromUtf8(QJsonDocument(recordToJson(*copy)).toJson(QJsonDocument::Indented));
    return ExitOk;
}
