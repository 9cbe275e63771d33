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

bool isFolder(const QString& entity)
{
    return entity == QLatin1String("context") || entity == QLatin1String("project") || entity == QLatin1String("archiveCategory");
}

// Why KEY cannot be set by hand, for the keys whose values the program works out itself; empty for the
// others. Stored ones among them (a path name, a position) would be silently recomputed or leave the
// records out of step.
QString computedKeyReason(const EntityDescription& entity, const QString& key)
{
    if (key == QLatin1String("pathName") && entity.attributeIndex(key) >= 0)
        return QStringLiteral("is made from the names of the %1 and its parents; set name or the parent instead").arg(entity.name());
    if (entity.name() == QLatin1String("task") && (key == QLatin1String("positionInContext") || key == QLatin1String("positionInProject")))
        return QStringLiteral("is the task's place in the order its %1 keeps; use vyro move")
            .arg(key == QLatin1String("positionInContext") ? QStringLiteral("context") : QStringLiteral("project"));
    if (entity.attributeIndex(key) >= 0 || entity.relationshipIndex(key) >= 0)
        return {};
    if (entity.derivedKeyIndex(key) >= 0)
        return QStringLiteral("is computed from the other values of the %1").arg(entity.name());
    // The counters and their labels exist in memory only, counted from the tasks and subfolders.
    if (isFolder(entity.name()) && key.contains(QLatin1String("Count")))
        return QStringLiteral("is counted from the tasks");
    static const QStringList computed = {
        QStringLiteral("status"), QStringLiteral("future"), QStringLiteral("isRecuringTask"), QStringLiteral("recurrenceString"),
        QStringLiteral("displayName"), QStringLiteral("displayPathNameForList"), QStringLiteral("displaySpecialIndex"),
        QStringLiteral("defaultSyncID"), QStringLiteral("colourForTask"), QStringLiteral("colourForContext"), QStringLiteral("colourForProject"),
    };
    if (computed.contains(key))
        return QStringLiteral("is computed from the other values of the %1").arg(entity.name());
    return {};
}

QString describeRecord(const Record* r)
{
    if (!r)
        return QStringLiteral("none");
    for (const QString& key : {QStringLiteral("pathName"), QStringLiteral("name")})
        if ((r->entity().attributeIndex(key) >= 0 || r->entity().derivedKeyIndex(key) >= 0) && !r->valueForKey(key).toString().isEmpty())
            return QStringLiteral("\"%1\"").arg(r->valueForKey(key).toString());
    return r->uri();
}

QString describeValue(const Value& v)
{
    if (v.isNull())
        return QStringLiteral("nothing");
    if (v.kind() == Value::Kind::Date)
        return isoDateString(v.toDateTime());
    return v.toString();
}

void apply(Record* record, const Assignment& a)
{
    if (a.attribute >= 0) {
        // Checked when the assignments were read: a key and value of the right kind.
        static_cast<void>(record->setValueForKey(a.key, a.value));
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
    static_cast<void>(record->setRecordForKey(a.key, a.target));
}

// The model refuses some changes without a word: a start date at or after the due date, a due date at or
// before the start, a folder under itself. Such a change is found by reading the value back; empty when
// the change took.
QString refusal(const Record& record, const Assignment& a)
{
    if (a.attribute >= 0) {
        // The name setter may replace an empty name or capitalise it: a change, not a refusal.
        if (a.key == QLatin1String("name"))
            return {};
        const Value now = record.valueForKey(a.key);
        // A flag setter stores false for a cleared flag, which reads the same everywhere.
        if (now == a.value || (a.value.isNull() && now.kind() == Value::Kind::Bool && !now.toBool()))
            return {};
        if (const auto* task = dynamic_cast<const Task*>(&record)) {
            if (a.attribute == Task::Attr::startDate && task->dueDate().isValid())
                return QStringLiteral("startDate: %1 is not before the due date %2").arg(describeValue(a.value), isoDateString(task->dueDate()));
            if (a.attribute == Task::Attr::dueDate && task->startDate().isValid())
                return QStringLiteral("dueDate: %1 is not after the start date %2").arg(describeValue(a.value), isoDateString(task->startDate()));
        }
        return QStringLiteral("%1: %2 was refused; the value stays %3").arg(a.key, describeValue(a.value), describeValue(now));
    }
    if (record.toOne(a.relationship) == a.target)
        return {};
    // A parent inside the record's own subtree would close a loop.
    const RelationshipDescription& link = record.entity().relationships()[size_t(a.relationship)];
    if (a.target && link.destinationEntity == record.entity().name()) {
        for (const Record* up = a.target; up; up = up->toOne(a.relationship))
            if (up == &record)
                return up == a.target ? QStringLiteral("%1: a %2 cannot be its own parent").arg(a.key, record.entity().name())
                                      : QStringLiteral("%1: %2 lies inside %3; a %4 cannot move under its own subtree")
                                            .arg(a.key, describeRecord(a.target), describeRecord(&record), record.entity().name());
    }
    return QStringLiteral("%1: %2 was refused; it stays %3").arg(a.key, describeRecord(a.target), describeRecord(record.toOne(a.relationship)));
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
        if (const QString why = computedKeyReason(entity, a.key); !why.isEmpty())
            return env.fail(QStringLiteral("%1 cannot be set: it %2").arg(a.key, why), ExitUsage);
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
        } else if (a.relationship >= 0) {
            const RelationshipDescription& many = entity.relationships()[size_t(a.relationship)];
            return env.fail(QStringLiteral("%1 cannot be set: it lists the %2 records whose %3 is this %4; set %3 on them instead")
                                .arg(a.key, many.destinationEntity, many.inverse, entity.name()),
                            ExitUsage);
        } else {
            return env.fail(QStringLiteral("%1 has no attribute or to-one relationship \"%2\"").arg(entity.name(), a.key), ExitUsage);
        }
        assignments.push_back(a);
    }
    // All or nothing: the first refused change ends the command before the save.
    for (const Assignment& a : assignments) {
        apply(*record, a);
        if (const QString refused = refusal(**record, a); !refused.isEmpty())
            return env.fail(refused + QStringLiteral("; nothing was changed"), ExitUsage);
    }
    if (Status s = env.save(); !s.isOk())
        return env.fail(QStringLiteral("nothing was changed: %1").arg(s.message()));
    env.out() << QString::fromUtf8(QJsonDocument(recordToJson(**record)).toJson(QJsonDocument::Indented));
    return ExitOk;
}
