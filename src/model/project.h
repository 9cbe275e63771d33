#pragma once

#include "model/accessors.h"
#include "model/colour.h"
#include "model/taskfolder.h"

#include <optional>
#include <vector>

class Context;
class Task;

#define VYRO_PROJECT_ATTRIBUTES(X)                                                                             \
    X(name, Name, String, custom)                                                                              \
    X(content, Content, String, plain)                                                                         \
    X(active, Active, Bool, custom)                                                                            \
    X(completed, Completed, Bool, custom)                                                                      \
    X(hasSingleTasks, HasSingleTasks, Bool, plain)                                                             \
    X(defaultTags, DefaultTags, String, plain)

// The "project" entity: an outcome that takes several tasks. Projects form a tree; `active` and
// `completed` run down the subtree. Its queries differ from a context's on purpose: pending ignores the
// project's own `active` flag (hasPendingTasks tests it), and next action tests neither `cleanedUp`
// nor `archived`.
class Project : public Record, public TaskFolder<Project> {
public:
    using Record::Record;

    struct Attr {
        enum : int { VYRO_PROJECT_ATTRIBUTES(VYRO_ATTRIBUTE_ENUM) Count };
    };
    struct Rel {
        enum : int { defaultContext, parentProject, subprojects, tasks, Count };
    };

    VYRO_PROJECT_ATTRIBUTES(VYRO_ATTRIBUTE_ACCESSORS)

    Context* defaultContext() const;
    void setDefaultContext(Context* context);
    Project* parentProject() const { return static_cast<Project*>(toOne(Rel::parentProject)); }
    void setParentProject(Project* parent);
    const std::vector<Record*>& subprojects() const { return toMany(Rel::subprojects); }
    const std::vector<Record*>& tasks() const { return toMany(Rel::tasks); }

    QString displayName() const { return name(); }
    void setDisplayName(const QString&) {}
    // " > "-joined names from the root down; derived from the tree, never stored. Predicates, sorts and
    // valueForKey read it as the key "pathName".
    using TaskFolder::pathName;
    using TaskFolder::displayPathNameForList;
    // The paths here and below are worked out afresh on their next read. Renames and moves see to
    // that by themselves (the entity's change hooks, also under undo and redo).
    void computePathNamesForProjectAndSubprojects() { forgetPathNames(); }
    void computeActiveStateForSubprojects();
    void computeCompletedStateForSubprojects();
    std::optional<QStringList> displayDefaultTags() const;
    void setDisplayDefaultTags(const QStringList& tags);
    Colour colourForProject() const;
    QString subprojectsCountLabel() const { return childCountLabel(); }

    void calculateTaskPositions();
    void addTasksObject(Task* task);
    void removeTasksObject(Task* task);
    void addSubprojectsObject(Project* project) { project->setParentProject(this); }
    void removeSubprojectsObject(Project* project);

    TaskQueryResult uncompletedTasks() const;
    // The open-task query, a template taking the folder.
    static const Predicate& uncompletedTasksQuery();
    bool hasUncompletedTasks() const { return uncompletedTasksCount() > 0; }
    TaskQueryResult pendingTasks() const { return taskQuery(TaskCounter::Pending); }
    TaskQueryResult pendingTasksIncludingSubprojects() const { return taskQueryIncludingSubtree(TaskCounter::Pending); }
    bool hasPendingTasks() const { return pendingTasksCount() > 0 && active(); }
    qint64 pendingTasksCount() const;
    std::pair<qint64, qint64> pendingTasksCountArray() const { return {savedPendingTasksCount(), savedPendingTasksCountIncludingSubprojects()}; }
    TaskQueryResult nextActionTasks() const { return taskQuery(TaskCounter::NextAction); }
    TaskQueryResult nextActionTasksIncludingSubprojects() const { return taskQueryIncludingSubtree(TaskCounter::NextAction); }
    bool hasNextActionTasks() const { return savedNextActionTasksCount() > 0; }
    bool hasNextActionTasksIncludingSubprojects() const { return savedNextActionTasksCountIncludingSubprojects() > 0; }
    qint64 nextActionTasksCount() const;
    std::pair<qint64, qint64> nextActionTasksCountArray() const { return {savedNextActionTasksCount(), savedNextActionTasksCountIncludingSubprojects()}; }
    TaskQueryResult dueTodayTasks() const { return taskQuery(TaskCounter::DueToday); }
    TaskQueryResult dueTodayTasksIncludingSubprojects() const { return taskQueryIncludingSubtree(TaskCounter::DueToday); }
    bool hasDueTodayTasks() const { return savedDueTodayTasksCount() > 0; }
    bool hasDueTodayTasksIncludingSubprojects() const { return savedDueTodayTasksCountIncludingSubprojects() > 0; }
    TaskQueryResult dueTomorrowTasks() const { return taskQuery(TaskCounter::DueTomorrow); }
    TaskQueryResult dueTomorrowTasksIncludingSubprojects() const { return taskQueryIncludingSubtree(TaskCounter::DueTomorrow); }
    bool hasDueTomorrowTasks() const { return savedDueTomorrowTasksCount() > 0; }
    bool hasDueTomorrowTasksIncludingSubprojects() const { return savedDueTomorrowTasksCountIncludingSubprojects() > 0; }

    qint64 savedPendingTasksCount() const { return savedCount(TaskCounter::Pending, false); }
    qint64 savedPendingTasksCountIncludingSubprojects() const { return savedCount(TaskCounter::Pending, true); }
    qint64 savedNextActionTasksCount() const { return savedCount(TaskCounter::NextAction, false); }
    qint64 savedNextActionTasksCountIncludingSubprojects() const { return savedCount(TaskCounter::NextAction, true); }
    qint64 savedDueTodayTasksCount() const { return savedCount(TaskCounter::DueToday, false); }
    qint64 savedDueTodayTasksCountIncludingSubprojects() const { return savedCount(TaskCounter::DueToday, true); }
    qint64 savedDueTomorrowTasksCount() const { return savedCount(TaskCounter::DueTomorrow, false); }
    qint64 savedDueTomorrowTasksCountIncludingSubprojects() const { return savedCount(TaskCounter::DueTomorrow, true); }

    void resetCounterForPendingTasks() { resetCounter(TaskCounter::Pending); }
    void resetCounterForNextActionTasks() { resetCounter(TaskCounter::NextAction); }
    void resetCounterForDueTodayTasks() { resetCounter(TaskCounter::DueToday); }
    void resetCounterForDueTomorrowTasks() { resetCounter(TaskCounter::DueTomorrow); }

    TaskQueryResult taskQuery(TaskCounter kind) const;
    void countOwnTasks(std::optional<qint64> (&counts)[kTaskCounterKinds]) const;
    const std::vector<Record*>& childFolders() const { return subprojects(); }
    Project* parentFolder() const { return parentProject(); }

    static void describe(EntityDescription& entity);

protected:
    void storeValueForKey(int attribute, const Value& value) override;
    void storeRecordForKey(int relationship, Record* target) override;
};
