#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <QJsonDocument>

int runDump(CommandEnvironment& env)
{
    if (!env.arguments().isEmpty())
        return env.fail(QStringLiteral("dump takes no arguments"), ExitUsage);
    if (auto failed = env.openStore())
        return *failed;
    const QJsonObject json = storeToJson(env.appDelegate().managedObjectContext());
    env.out() << QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Indented));
    env.out().flush();
    return ExitOk;
}
