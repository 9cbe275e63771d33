#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "cli/recordlookup.h"
#include "model/archivecategory.h"
#include "model/cleanupcontroller.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <QJsonArray>
#include <QJsonDocument>

int runArchive(CommandEnvironment& env)
{
    QStringList uris;
    QString categoryName;
    std::optional<QString> tags;
    const QStringList& args = env.arguments();
    for (qsizetype i = 0; i < args.size(); ++i) {
        const bool takesValue = args[i] == QLatin1String("--category") || args[i] == QLatin1String("--tags");
        if (takesValue && (i + 1 >= args.size() || args[i + 1].startsWith(QLatin1String("--"))))
            return env.fail(QStringLiteral("archive: %1 needs a value (%2)")
                                .arg(args[i], args[i] == QLatin1String("--category") ? QStringLiteral("the name of an archive category") : QStringLiteral("tags, separated by commas")),
                            ExitUsage);
        if (args[i] == QLatin1String("--category"))
            categoryName = args[++i];
        else if (args[i] == QLatin1String("--tags"))
            tags = args[++i];
        else if (args[i].startsWith(QLatin1String("--")))
            return env.fail(QStringLiteral("archive: unknown option %1").arg(args[i]), ExitUsage);
        else
            uris << args[i];
    }
    if (uris.isEmpty() || categoryName.isEmpty())
        return env.fail(QStringLiteral("archive takes task URIs and --category NAME [--tags T]"), ExitUsage);
    if (auto failed = env.openStore())
        return *failed;
    ObjectContext& context = env.appDelegate().managedObjectContext();
    auto category = lookupRecord(context, categoryName, QStringLiteral("archiveCategory"));
    if (!category)
        return env.fail(category.status().message(), ExitUsage);
    std::vector<Task*> tasks;
    for (const QString& uri : uris) {
        auto task = lookupRecord(context, uri, QStringLiteral("task"));
        if (!task)
            return env.fail(task.status().message(), ExitUsage);
        tasks.push_back(static_cast<Task*>(*task));
    }
    // As the archiving sheet starts: one task keeps its own tags unless others are given.
    const QString newTags = tags ? *tags : (tasks.size() == 1 ? tasks.front()->tags() : QString());
    archiveTaskTo(tasks, static_cast<ArchiveCategory*>(*category), newTags);
    if (Status s = env.save(); !s.isOk())
        return env.fail(QStringLiteral("nothing was archived: %1").arg(s.message()));
    QJsonArray out;
    for (Task* t : tasks)
        out.append(recordToJson(*t));
    env.out() << QString::fromUtf8(QJsonDocument(out).toJson(QJsonDocument::Indented));
    return ExitOk;
}
