#include "model/project.h"

#include "model/context.h"
#include "model/dateanchors.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/predicate.h"

namespace {

const Predicate& query(TaskCounter kind)
{
    static const Predicate queries[] = {
        Predicate::templateFromFormat(QStringLiteral("(parentProject==%@) and (cleanedUp <> 1) and (archived == 0) and (maybe==NO or maybe==NULL)")),
        Predicate::templateFromFormat(QStringLiteral("(parentProject==%@) and (nextAction == 1) and (maybe==NO or maybe==NULL)")),
        Predicate::templateFromFormat(QStringLiteral("(parentProject==%@) and (cleanedUp<>1) and (maybe==NO or maybe==NULL) and (dueDate <= %@)")),
        Predicate::templateFromFormat(QStringLiteral("(parentProject==%@) and (cleanedUp<>1) and (maybe==NO or maybe==NULL) and ((dueDate >= %@) and (dueDate <= %@))")),
    };
    return queries[int(kind)];
}


qint64 sizeOf(const TaskQueryResult& r)
{
    return r ? qint64(r->size()) : 0;
}

} // namespace

const Predicate& Project::uncompletedTasksQuery()
{
    static const Predicate p = Predicate::templateFromFormat(QStringLiteral("(parentProject==%@) and (cleanedUp <> 1) and (archived == 0)"));
    return p;
}

TaskQueryResult Project::taskQuery(TaskCounter kind) const
{
    return runFolderQuery(*this, query, kind);
}

void Project::countOwnTasks(std::optional<qint64> (&counts)[kTaskCounterKinds]) const
{
    if (!countWaitingFoldersInOnePass(*this, Rel::tasks, query, &ownCountsOf))
        countFolderTasks(*this, tasks(), query, counts);
}

TaskQueryResult Project::uncompletedTasks() const
{
    return fetchTasks(*this, uncompletedTasksQuery());
}

qint64 Project::pendingTasksCount() const
{
    return sizeOf(pendingTasks());
}

qint64 Project::nextActionTasksCount() const
{
    return sizeOf(nextActionTasks());
}

Context* Project::defaultContext() const
{
    return static_cast<Context*>(toOne(Rel::defaultContext));
}

void Project::setDefaultContext(Context* context)
{
    setToOne(Rel::defaultContext, context);
}

void Project::setName(const QString& value)
{
    setPrimitiveValue(Attr::name, Value::string(value.isEmpty() ? QStringLiteral("New project") : value));
}

void Project::setParentProject(Project* parent)
{
    // A project under itself would make the tree a loop; such a move is refused.
    bool loops = false;
    if (parent)
        parent->forEachAncestorOrSelf([&](const Project& p) { return !(loops = &p == this); });
    if (loops)
        return;
    setToOne(Rel::parentProject, parent);
    // Moving under an inactive project makes the whole moved subtree inactive; moving to the root keeps
    // the project's own flag.
    if (parent)
        setActive(parent->active());
}

void Project::setActive(bool value)
{
    setPrimitiveValue(Attr::active, Value::boolean(value));
    computeActiveStateForSubprojects();
}

void Project::setCompleted(bool value)
{
    setPrimitiveValue(Attr::completed, Value::boolean(value));
    computeCompletedStateForSubprojects();
}

// Each subproject's setActive would pass the value on to its own subprojects: the whole subtree takes
// it, walked here without recursion.
void Project::computeActiveStateForSubprojects()
{
    const Value value = Value::boolean(active());
    forEachInSubtree([&](Project& p) {
        if (&p != this)
            p.setPrimitiveValue(Attr::active, value);
    });
}

void Project::computeCompletedStateForSubprojects()
{
    const Value value = Value::boolean(completed());
    forEachInSubtree([&](Project& p) {
        if (&p != this)
            p.setPrimitiveValue(Attr::completed, value);
    });
}

std::optional<QStringList> Project::displayDefaultTags() const
{
    const Value& v = primitiveValue(Attr::defaultTags);
    if (v.isNull())
        return std::nullopt;
    return v.toString().split(QLatin1Char(','));
}

void Project::setDisplayDefaultTags(const QStringList& tags)
{
    setDefaultTags(tags.join(QLatin1Char(',')));
}

Colour Project::colourForProject() const
{
    if (!active())
        return Colour::grey();
    if (hasDueTodayTasksIncludingSubprojects())
        return Colour::dueToday();
    if (hasDueTomorrowTasksIncludingSubprojects())
        return Colour::dueTomorrow();
    return Colour::black();
}

void Project::calculateTaskPositions()
{
    if (DeferredRenumbering::defer(this, uncompletedTasksQuery(), Task::Attr::positionInProject))
        return;
    renumberOpenTasks(*this, uncompletedTasksQuery(), Task::Attr::positionInProject);
}

void Project::addTasksObject(Task* task)
{
    task->setToOne(Task::Rel::parentProject, this);
    task->setPositionInProject(uncompletedTasksCount());
    resetTaskCounters(task->dueDate().isValid());
}

void Project::removeTasksObject(Task* task)
{
    if (task->parentProject() != this)
        return;
    task->setToOne(Task::Rel::parentProject, nullptr);
    calculateTaskPositions();
    resetTaskCounters(task->dueDate().isValid());
}

void Project::removeSubprojectsObject(Project* project)
{
    if (project->parentProject() == this)
        project->setParentProject(nullptr);
}

void Project::storeValueForKey(int attribute, const Value& value)
{
    switch (attribute) {
    case Attr::name: setName(value.toString()); break;
    case Attr::active: setActive(value.toBool()); break;
    case Attr::completed: setCompleted(value.toBool()); break;
    default: Record::storeValueForKey(attribute, value);
    }
}

void Project::storeRecordForKey(int relationship, Record* target)
{
    if (relationship == Rel::parentProject)
        setParentProject(static_cast<Project*>(target));
    else
        Record::storeRecordForKey(relationship, target);
}

void Project::describe(EntityDescription& entity)
{
    VYRO_PROJECT_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
    describePathNames<Project>(entity, Attr::name, Rel::parentProject);
    // No inverse: a context does not know which projects default to it. The store clears the link when
    // the context is deleted.
    entity.addRelationship({QStringLiteral("defaultContext"), QStringLiteral("context"), false, QString()});
    entity.addRelationship({QStringLiteral("parentProject"), QStringLiteral("project"), false, QStringLiteral("subprojects")});
    // A deleted project takes its subprojects along; its tasks stay in their contexts without a project.
    entity.addRelationship({QStringLiteral("subprojects"), QStringLiteral("project"), true, QStringLiteral("parentProject"), DeleteRule::Cascade});
    entity.addRelationship({QStringLiteral("tasks"), QStringLiteral("task"), true, QStringLiteral("parentProject"), DeleteRule::Nullify});
}
