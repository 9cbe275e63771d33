#include "model/context.h"

#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/predicate.h"

namespace {

const Predicate& query(TaskCounter kind)
{
    static const Predicate queries[] = {
        Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (maybe==NO or maybe==NULL) and ((parentProject==NULL) or (parentProject.active <> 0)) and (cleanedUp <> 1) and (archived == 0)")),
        Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (cleanedUp<>1) and (maybe==NO or maybe==NULL) and (nextAction == 1)")),
        Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (cleanedUp<>1) and (maybe==NO or maybe==NULL) and (dueDate <= %@)")),
        Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (cleanedUp<>1) and (maybe==NO or maybe==NULL) and ((dueDate >= %@) and (dueDate <= %@))")),
    };
    return queries[int(kind)];
}

} // namespace

const Predicate& Context::uncompletedTasksQuery()
{
    static const Predicate p = Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (cleanedUp <> 1) and (archived == 0)"));
    return p;
}

TaskQueryResult Context::taskQuery(TaskCounter kind) const
{
    return runFolderQuery(*this, query, kind);
}

void Context::countOwnTasks(std::optional<qint64> (&counts)[kTaskCounterKinds]) const
{
    if (!countWaitingFoldersInOnePass(*this, Rel::tasks, query, &ownCountsOf))
        countFolderTasks(*this, tasks(), query, counts);
}

qint64 Context::pendingTasksCount() const
{
    const auto tasks = pendingTasks();
    return tasks ? qint64(tasks->size()) : 0;
}

TaskQueryResult Context::uncompletedTasks() const
{
    return fetchTasks(*this, uncompletedTasksQuery());
}

TaskQueryResult Context::completedTasks() const
{
    static const Predicate p = Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (cleanedUp == 1)"));
    return fetchTasks(*this, p);
}

qint64 Context::nextActionTasksCount() const
{
    const auto tasks = nextActionTasks();
    return tasks ? qint64(tasks->size()) : 0;
}

void Context::setName(const QString& value)
{
    setPrimitiveValue(Attr::name, Value::string(value.isEmpty() ? QStringLiteral("New context") : value));
}

void Context::setParentContext(Context* parent)
{
    // A context under itself would make the tree a loop; such a move is refused.
    bool loops = false;
    if (parent)
        parent->forEachAncestorOrSelf([&](const Context& c) { return !(loops = &c == this); });
    if (loops)
        return;
    setToOne(Rel::parentContext, parent);
}

std::optional<qint64> Context::displaySpecialIndex() const
{
    if (parentContext())
        return std::nullopt;
    if (isInbox()) {
        int limit = ModelEnvironment::of(*this).integerPreference(u"displayRedIconForInboxWithMoreTasksThan");
        return pendingTasksCount() > limit ? -2 : -1;
    }
    return specialIndex();
}

Colour Context::colourForContext() const
{
    if (hasDueTodayTasksIncludingSubcontexts())
        return Colour::dueToday();
    if (hasDueTomorrowTasksIncludingSubcontexts())
        return Colour::dueTomorrow();
    return Colour::black();
}

void Context::calculateTaskPositions()
{
    if (DeferredRenumbering::defer(this, uncompletedTasksQuery(), Task::Attr::positionInContext))
        return;
    renumberOpenTasks(*this, uncompletedTasksQuery(), Task::Attr::positionInContext);
}

void Context::addTasksObject(Task* task)
{
    task->setToOne(Task::Rel::parentContext, this);
    // Counted after the task joined: the task itself counts when it is open.
    task->setPositionInContext(uncompletedTasksCount());
    resetTaskCounters(task->dueDate().isValid());
    if (isInbox())
        ModelEnvironment::of(*this).postInboxCountHasChanged(this);
}

void Context::removeTasksObject(Task* task)
{
    if (task->parentContext() != this)
        return;
    task->setToOne(Task::Rel::parentContext, nullptr);
    calculateTaskPositions();
    resetTaskCounters(task->dueDate().isValid());
    if (isInbox())
        ModelEnvironment::of(*this).postInboxCountHasChanged(this);
}

void Context::removeSubcontextsObject(Context* context)
{
    if (context->parentContext() == this)
        context->setToOne(Rel::parentContext, nullptr);
}

void Context::storeValueForKey(int attribute, const Value& value)
{
    if (attribute == Attr::name)
        setName(value.toString());
    else
        Record::storeValueForKey(attribute, value);
}

void Context::storeRecordForKey(int relationship, Record* target)
{
    if (relationship == Rel::parentContext)
        setParentContext(static_cast<Context*>(target));
    else
        Record::storeRecordForKey(relationship, target);
}

void Context::describe(EntityDescription& entity)
{
    VYRO_CONTEXT_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
    describePathNames<Context>(entity, Attr::name, Rel::parentContext);
    entity.addRelationship({QStringLiteral("parentContext"), QStringLiteral("context"), false, QStringLiteral("subcontexts")});
    // Deleting a context deletes its subtree and every task in it.
    entity.addRelationship({QStringLiteral("subcontexts"), QStringLiteral("context"), true, QStringLiteral("parentContext"), DeleteRule::Cascade});
    entity.addRelationship({QStringLiteral("tasks"), QStringLiteral("task"), true, QStringLiteral("parentContext"), DeleteRule::Cascade});
}
