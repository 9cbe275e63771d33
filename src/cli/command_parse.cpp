#include "app/coredataappdelegate.h"
#include "capture/tasknameanalyzer.h"
#include "cli/commandline.h"
#include "model/context.h"
#include "model/project.h"
#include "store/recordjson.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

QJsonObject folderJson(const Record* r)
{
    return {{QStringLiteral("name"), r->valueForKey(u"name").toString()}, {QStringLiteral("uri"), r->uri()}};
}

} // namespace

int runParse(CommandEnvironment& env)
{
    if (env.arguments().size() != 1 || env.arguments().first().isEmpty())
        return env.fail(QStringLiteral("parse takes one non-empty LINE"), ExitUsage);
    if (auto failed = env.openStore())
        return *failed;
    auto parsed = TaskNameAnalyzer(env.appDelegate().managedObjectContext()).parseTaskName(env.arguments().first());
    if (!parsed)
        return env.fail(parsed.status().message(), ExitUsage);
    QJsonObject out {{QStringLiteral("name"), parsed->name}, {QStringLiteral("content"), parsed->content}, {QStringLiteral("priority"), parsed->priority}};
    if (parsed->context)
        out.insert(QStringLiteral("context"), folderJson(parsed->context));
    if (parsed->project)
        out.insert(QStringLiteral("project"), folderJson(parsed->project));
    if (parsed->startDate)
        out.insert(QStringLiteral("startDate"), isoDateString(*parsed->startDate));
    if (parsed->dueDate)
        out.insert(QStringLiteral("dueDate"), isoDateString(*parsed->dueDate));
    if (parsed->tags)
        out.insert(QStringLiteral("tags"), *parsed->tags);
    env.out() << QString::fromUtf8(QJsonDocument(out).toJson(QJsonDocument::Indented));
    return ExitOk;
}
