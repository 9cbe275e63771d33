#include "app/coredataappdelegate.h"
#include "capture/quicktypeincontroller.h"
#include "cli/commandline.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <QJsonDocument>

int runAdd(CommandEnvironment& env)
{
    if (env.arguments().size() != 1 || env.arguments().first().isEmpty())
        return env.fail(QStringLiteral("add takes one non-empty LINE"), ExitUsage);
    if (auto failed = env.openStore())
        return *failed;
    ObjectContext& context = env.appDelegate().managedObjectContext();
    auto task = QuickTypeInController(context).quickTypeInDone(env.arguments().first());
    if (!task)
        return env.fail(task.status().message(), ExitUsage);
    if (context.hasChanges())
        return env.fail(QStringLiteral("the task could not be saved: %1").arg(env.appDelegate().saveAction().message()));
    env.out() << QString::fromUtf8(QJsonDocument(recordToJson(**task)).toJson(QJsonDocument::Indented));
    return ExitOk;
}
