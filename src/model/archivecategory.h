#pragma once

#include "model/accessors.h"
#include "model/taskfolder.h"

#include <vector>

class Task;

#define VYRO_ARCHIVECATEGORY_ATTRIBUTES(X) X(name, Name, String, custom)

// The "archiveCategory" entity: a folder of the archive tree. In a category "pending" means every
// archived task filed there, done or not. Only the pending and next-action counters exist here.
class ArchiveCategory : public Record, public TaskFolder<ArchiveCategory> {
public:
    using Record::Record;

    struct Attr {
        enum : int { VYRO_ARCHIVECATEGORY_ATTRIBUTES(VYRO_ATTRIBUTE_ENUM) Count };
    };
    struct Rel {
        enum : int { parentCategory, subcategories, tasks, Count };
    };

    VYRO_ARCHIVECATEGORY_ATTRIBUTES(VYRO_ATTRIBUTE_ACCESSORS)

    ArchiveCategory* parentCategory() const { return static_cast<ArchiveCategory*>(toOne(Rel::parentCategory)); }
    void setParentCategory(ArchiveCategory* parent);
    const std::vector<Record*>& subcategories() const { return toMany(Rel::subcategories); }
    const std::vector<Record*>& tasks() const { return toMany(Rel::tasks); }

    void addSubcategoriesObject(ArchiveCategory* category) { category->setParentCategory(this); }
    void removeSubcategoriesObject(ArchiveCategory* category);
    void addTasksObject(Task* task);
    void removeTasksObject(Task* task);

    TaskQueryResult pendingTasks() const { return taskQuery(TaskCounter::Pending); }
    TaskQueryResult pendingTasksIncludingSubcategories() const { return taskQueryIncludingSubtree(TaskCounter::Pending); }
    bool hasPendingTasks() const { return pendingTasksCount() > 0; }
    qint64 pendingTasksCount() const;
    std::pair<qint64, qint64> pendingTasksCountArray() const { return {savedPendingTasksCount(), savedPendingTasksCountIncludingSubcategories()}; }
    TaskQueryResult nextActionTasks() const { return taskQuery(TaskCounter::NextAction); }
    TaskQueryResult nextActionTasksIncludingSubcategories() const { return taskQueryIncludingSubtree(TaskCounter::NextAction); }
    bool hasNextActionTasks() const { return savedNextActionTasksCount() > 0; }
    bool hasNextActionTasksIncludingSubcategories() const { return savedNextActionTasksCountIncludingSubcategories() > 0; }
    qint64 nextActionTasksCount() const;
    std::pair<qint64, qint64> nextActionTasksCountArray() const { return {savedNextActionTasksCount(), savedNextActionTasksCountIncludingSubcategories()}; }

    qint64 savedPendingTasksCount() const { return savedCount(TaskCounter::Pending, false); }
    qint64 savedPendingTasksCountIncludingSubcategories() const { return savedCount(TaskCounter::Pending, true); }
    qint64 savedNextActionTasksCount() const { return savedCount(TaskCounter::NextAction, false); }
    qint64 savedNextActionTasksCountIncludingSubcategories() const { return savedCount(TaskCounter::NextAction, true); }
    void resetCounterForPendingTasks() { resetCounter(TaskCounter::Pending); }
    void resetCounterForNextActionTasks() { resetCounter(TaskCounter::NextAction); }

    // Only the pending and next-action kinds have queries here; the others find nothing.
    TaskQueryResult taskQuery(TaskCounter kind) const;
    void countOwnTasks(std::optional<qint64> (&counts)[kTaskCounterKinds]) const;
    const std::vector<Record*>& childFolders() const { return subcategories(); }
    ArchiveCategory* parentFolder() const { return parentCategory(); }

    static void describe(EntityDescription& entity);

protected:
    void storeValueForKey(int attribute, const Value& value) override;
    void storeRecordForKey(int relationship, Record* target) override;
};
