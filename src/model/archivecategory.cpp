#include "model/archivecategory.h"

#include "model/task.h"
#include "store/predicate.h"

namespace {
const Predicate& pendingQuery()
{
    static const Predicate p = Predicate::templateFromFormat(QStringLiteral("(parentArchiveCategory==%@) and (archived == 1)"));
    return p;
}
const Predicate& nextActionQuery()
{
    static const Predicate p = Predicate::templateFromFormat(QStringLiteral("(parentArchiveCategory==%@) and (archived == 1) and (nextAction == 1)"));
    return p;
}
} // namespace

void ArchiveCategory::countOwnTasks(std::optional<qint64> (&counts)[kTaskCounterKinds]) const
{
    Record* self = const_cast<ArchiveCategory*>(this);
    const Predicate pending = pendingQuery().withArguments({self});
    const Predicate nextAction = nextActionQuery().withArguments({self});
    const Predicate* const predicates[] = {&pending, &nextAction, nullptr, nullptr};
    countMatches(tasks(), predicates, counts);
}

TaskQueryResult ArchiveCategory::taskQuery(TaskCounter kind) const
{
    const Predicate& pending = pendingQuery();
    const Predicate& nextAction = nextActionQuery();
    switch (kind) {
    case TaskCounter::Pending: return fetchTasks(*this, pending);
    case TaskCounter::NextAction: return fetchTasks(*this, nextAction);
    default: return std::vector<Record*>();
    }
}

qint64 ArchiveCategory::pendingTasksCount() const
{
    const auto tasks = pendingTasks();
    return tasks ? qint64(tasks->size()) : 0;
}

qint64 ArchiveCategory::nextActionTasksCount() const
{
    const auto tasks = nextActionTasks();
    return tasks ? qint64(tasks->size()) : 0;
}

void ArchiveCategory::setName(const QString& value)
{
    setPrimitiveValue(Attr::name, Value::string(value.isEmpty() ? QStringLiteral("New category") : value));
}

void ArchiveCategory::setParentCategory(ArchiveCategory* parent)
{
    // A category under itself would make the tree a loop; such a move is refused.
    bool loops = false;
    if (parent)
        parent->forEachAncestorOrSelf([&](const ArchiveCategory& c) { return !(loops = &c == this); });
    if (loops)
        return;
    setToOne(Rel::parentCategory, parent);
}

void ArchiveCategory::removeSubcategoriesObject(ArchiveCategory* category)
{
    if (category->parentCategory() == this)
        category->setToOne(Rel::parentCategory, nullptr);
}

void ArchiveCategory::addTasksObject(Task* task)
{
    task->setToOne(Task::Rel::parentArchiveCategory, this);
    resetCounterForPendingTasks();
    resetCounterForNextActionTasks();
}

void ArchiveCategory::removeTasksObject(Task* task)
{
    if (task->parentArchiveCategory() != this)
        return;
    task->setToOne(Task::Rel::parentArchiveCategory, nullptr);
    resetCounterForPendingTasks();
    resetCounterForNextActionTasks();
}

void ArchiveCategory::storeValueForKey(int attribute, const Value& value)
{
    if (attribute == Attr::name)
        setName(value.toString());
    else
        Record::storeValueForKey(attribute, value);
}

void ArchiveCategory::storeRecordForKey(int relationship, Record* target)
{
    if (relationship == Rel::parentCategory)
        setParentCategory(static_cast<ArchiveCategory*>(target));
    else
        Record::storeRecordForKey(relationship, target);
}

void ArchiveCategory::describe(EntityDescription& entity)
{
    VYRO_ARCHIVECATEGORY_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
    entity.addRelationship({QStringLiteral("parentCategory"), QStringLiteral("archiveCategory"), false, QStringLiteral("subcategories")});
    // Deleting a category deletes its subtree and the entries filed in it.
    entity.addRelationship({QStringLiteral("subcategories"), QStringLiteral("archiveCategory"), true, QStringLiteral("parentCategory"), DeleteRule::Cascade});
    entity.addRelationship({QStringLiteral("tasks"), QStringLiteral("task"), true, QStringLiteral("parentArchiveCategory"), DeleteRule::Cascade});
}
