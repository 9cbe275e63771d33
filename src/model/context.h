#pragma once

#include "model/accessors.h"
#include "model/colour.h"
#include "model/taskfolder.h"

#include <optional>
#include <vector>

class Task;

#define VYRO_CONTEXT_ATTRIBUTES(X)                                                                             \
    X(name, Name, String, custom)                                                                              \
    X(isInbox, IsInbox, Bool, plain)                                                                           \
    X(specialIndex, SpecialIndex, Integer, plain)                                                              \
    X(synchronizable, Synchronizable, Bool, plain)                                                             \
    X(syncID, SyncID, String, plain)

// The "context" entity: where, or with what, a task can be done. Contexts form a tree; one root is the
// Inbox. The task queries are used exactly as written: their differences are deliberate (pending counts
// done tasks until they are cleaned up and leaves out tasks of inactive projects; next action and the
// due queries look at neither `archived` nor the project's `active`; due today includes everything
// overdue).
class Context : public Record, public TaskFolder<Context> {
public:
    using Record::Record;

    struct Attr {
        enum : int { VYRO_CONTEXT_ATTRIBUTES(VYRO_ATTRIBUTE_ENUM) Count };
    };
    struct Rel {
        enum : int { parentContext, subcontexts, tasks, Count };
    };

    VYRO_CONTEXT_ATTRIBUTES(VYRO_ATTRIBUTE_ACCESSORS)

    Context* parentContext() const { return static_cast<Context*>(toOne(Rel::parentContext)); }
    void setParentContext(Context* parent);
    const std::vector<Record*>& subcontexts() const { return toMany(Rel::subcontexts); }
    const std::vector<Record*>& tasks() const { return toMany(Rel::tasks); }

    QString displayName() const { return name(); }
    void setDisplayName(const QString&) {}
    // " > "-joined names from the root down; derived from the tree, never stored. Predicates, sorts and
    // valueForKey read it as the key "pathName".
    using TaskFolder::pathName;
    using TaskFolder::displayPathNameForList;
    // The paths here and below are worked out afresh on their next read. Renames and moves see to
    // that by themselves (the entity's change hooks, also under undo and redo).
    void computePathNamesForContextAndSubcontexts() { forgetPathNames(); }
    // The tree icon selector: none for a subcontext, -2/-1 for the Inbox over/within its limit, else
    // the stored specialIndex.
    std::optional<qint64> displaySpecialIndex() const;
    QString defaultSyncID() const { return uri(); }
    Colour colourForContext() const;
    QString subcontextsCountLabel() const { return childCountLabel(); }

    // Renumbers the open tasks 1..n in their present order.
    void calculateTaskPositions();
    void addTasksObject(Task* task);
    void removeTasksObject(Task* task);
    void addSubcontextsObject(Context* context) { context->setToOne(Rel::parentContext, this); }
    void removeSubcontextsObject(Context* context);

    TaskQueryResult pendingTasks() const { return taskQuery(TaskCounter::Pending); }
    TaskQueryResult pendingTasksIncludingSubcontexts() const { return taskQueryIncludingSubtree(TaskCounter::Pending); }
    bool hasPendingChildren() const { return pendingTasksCount() > 0; }
    qint64 pendingTasksCount() const;
    std::pair<qint64, qint64> pendingTasksCountArray() const { return {savedPendingTasksCount(), savedPendingTasksCountIncludingSubcontexts()}; }
    TaskQueryResult uncompletedTasks() const;
    // The open-task query, a template taking the folder.
    static const Predicate& uncompletedTasksQuery();
    bool hasUncompletedTasks() const { return uncompletedTasksCount() > 0; }
    TaskQueryResult completedTasks() const;
    TaskQueryResult nextActionTasks() const { return taskQuery(TaskCounter::NextAction); }
    TaskQueryResult nextActionTasksIncludingSubcontexts() const { return taskQueryIncludingSubtree(TaskCounter::NextAction); }
    bool hasNextActionTasks() const { return savedNextActionTasksCount() > 0; }
    bool hasNextActionTasksIncludingSubcontexts() const { return savedNextActionTasksCountIncludingSubcontexts() > 0; }
    qint64 nextActionTasksCount() const;
    std::pair<qint64, qint64> nextActionTasksCountArray() const { return {savedNextActionTasksCount(), savedNextActionTasksCountIncludingSubcontexts()}; }
    TaskQueryResult dueTodayTasks() const { return taskQuery(TaskCounter::DueToday); }
    TaskQueryResult dueTodayTasksIncludingSubcontexts() const { return taskQueryIncludingSubtree(TaskCounter::DueToday); }
    bool hasDueTodayTasks() const { return savedDueTodayTasksCount() > 0; }
    bool hasDueTodayTasksIncludingSubcontexts() const { return savedDueTodayTasksCountIncludingSubcontexts() > 0; }
    TaskQueryResult dueTomorrowTasks() const { return taskQuery(TaskCounter::DueTomorrow); }
    TaskQueryResult dueTomorrowTasksIncludingSubcontexts() const { return taskQueryIncludingSubtree(TaskCounter::DueTomorrow); }
    bool hasDueTomorrowTasks() const { return savedDueTomorrowTasksCount() > 0; }
    bool hasDueTomorrowTasksIncludingSubcontexts() const { return savedDueTomorrowTasksCountIncludingSubcontexts() > 0; }

    qint64 savedPendingTasksCount() const { return savedCount(TaskCounter::Pending, false); }
    qint64 savedPendingTasksCountIncludingSubcontexts() const { return savedCount(TaskCounter::Pending, true); }
    qint64 savedNextActionTasksCount() const { return savedCount(TaskCounter::NextAction, false); }
    qint64 savedNextActionTasksCountIncludingSubcontexts() const { return savedCount(TaskCounter::NextAction, true); }
    qint64 savedDueTodayTasksCount() const { return savedCount(TaskCounter::DueToday, false); }
    qint64 savedDueTodayTasksCountIncludingSubcontexts() const { return savedCount(TaskCounter::DueToday, true); }
    qint64 savedDueTomorrowTasksCount() const { return savedCount(TaskCounter::DueTomorrow, false); }
    qint64 savedDueTomorrowTasksCountIncludingSubcontexts() const { return savedCount(TaskCounter::DueTomorrow, true); }

    void resetCounterForPendingTasks() { resetCounter(TaskCounter::Pending); }
    void resetCounterForNextActionTasks() { resetCounter(TaskCounter::NextAction); }
    void resetCounterForDueTodayTasks() { resetCounter(TaskCounter::DueToday); }
    void resetCounterForDueTomorrowTasks() { resetCounter(TaskCounter::DueTomorrow); }

    // For the shared folder logic.
    TaskQueryResult taskQuery(TaskCounter kind) const;
    void countOwnTasks(std::optional<qint64> (&counts)[kTaskCounterKinds]) const;
    const std::vector<Record*>& childFolders() const { return subcontexts(); }
    Context* parentFolder() const { return parentContext(); }

    static void describe(EntityDescription& entity);

protected:
    void storeValueForKey(int attribute, const Value& value) override;
    void storeRecordForKey(int relationship, Record* target) override;
};
