#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "cli/recordlookup.h"
#include "model/context.h"
#include "model/modelenvironment.h"
#include "model/project.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <QJsonDocument>

namespace {

// One KEY=VALUE, checked before anything changes.
struct Assignment {
    QString key;
    int attribute = -1;
    int relationship = -1;
    Value value;
    Record* target = nullptr;
};

void apply(Record* record, const Assignment& a)
{
    if (a.attribute >= 0) {
        record->setValueForKey(a.key, a.value);
        return;
    }
    // A task changes context or project as the lists move it: the orders on both sides stay dense.
    if (auto* task = dynamic_cast<Task*>(record)) {
        if (a.relationship == Task::Rel::parentContext) {
            task->moveToContext(static_cast<Context*>(a.target));
            return;
        }
        if (a.relationship == Task::Rel::parentProject) {
            task->moveToProject(static_cast<Project*>(a.target));
            return;
        }
    }
    record->setRecordForKey(a.key, a.target);
}

} // namespace

int runSet(CommandEnvironment& env)
{
    if (env.arguments().size() < 2)
        return env.fail(QStringLiteral("set takes a URI and at least one KEY=VALUE"), ExitUsage);
    if (auto failed = env.openStore())
        return *failed;
    ObjectContext& context = env.appDelegate().managedObjectContext();
    auto record = lookupRecord(context, env.arguments().first(), QString());
    if (!record)
        return env.fail(record.status().message(), ExitUsage);
    const EntityDescription& entity = (*record)->entity();

    std::vector<Assignment> assignments;
    for (const QString& argument : env.arguments().mid(1)) {
        const qsizetype eq = argument.indexOf(QLatin1Char('='));
        if (eq <= 0)
            return env.fail(QStringLiteral("\"%1\" is not KEY=VALUE").arg(argument), ExitUsage);
        Assignment a;
        a.key = argument.left(eq);
        const QString text = argument.mid(eq + 1);
        a.attribute = entity.attributeIndex(a.key);
        a.relationship = entity.relationshipIndex(a.key);
        if (a.attribute >= 0) {
            auto value = parseValueArgument(text, entity.attributes()[size_t(a.attribute)].type, ModelEnvironment::of(context));
            if (!value)
                return env.fail(QStringLiteral("%1: %2").arg(a.key, value.status().message()), ExitUsage);
            a.value = *value;
        } else if (a.relationship >= 0 && !entity.relationships()[size_t(a.relationship)].toMany) {
            if (!text.isEmpty()) {
                auto target = lookupRecord(context, text, entity.relationships()[size_t(a.relationship)].destinationEntity);
                if (!target)
                    return env.fail(QStringLiteral("%1: %2").arg(a.key, target.status().message()), ExitUsage);
                a.target = *target;
            }
        } else {
            return env.fail(QStringLiteral("%1 has no attribute or to-one relationship \"%2\"").arg(entity.name(), a.key), ExitUsage);
        }
        assignments.push_back(a);
    }
    for (const Assignment& a : assignments)
        apply(*record, a);
    if (Status s = env.appDelegate().saveAction(); !s.isOk())
        return env.fail(QStringLiteral("nothing was changed: %1").arg(s.message()));
    env.out() << QString::fromUtf8(QJsonDocument(recordToJson(**record)).toJson(QJsonDocument::Indented));
    return ExitOk;
}
