#pragma once

#include "store/predicate.h"
#include "store/record.h"

#include <QString>

#include <optional>
#include <vector>

// What contexts, projects and archive categories share: a tree of folders that hold tasks, with task
// queries over one folder and over its subtree, and counters cached per folder.
//
// Counters: each kind keeps the folder's own count and its subtree's, each a number or "not computed".
// A counter is computed on first read after a reset, or earlier: reading one own count fills every own
// count of the folder that is not computed, and when many folders of the kind wait (after every counter
// was reset, or at start), of all of them at once. A counter once computed stays as it is until its next
// reset. A reset clears both counts of its kind here and in every ancestor, so a cached subtree count is
// never older than any count below it. The subtree count
// is therefore the own count plus the children's subtree counts, the same number as the length of the
// concatenated subtree query, at the cost of one query per folder.

enum class TaskCounter : int { Pending = 0, NextAction = 1, DueToday = 2, DueTomorrow = 3 };
inline constexpr int kTaskCounterKinds = 4;

// A task query's result: nullopt when the fetch failed (every count treats that as 0).
using TaskQueryResult = std::optional<std::vector<Record*>>;

template <typename Folder>
class TaskFolder {
public:
    qint64 savedCount(TaskCounter kind, bool subtree) const
    {
        auto& slot = (subtree ? m_subtree : m_own)[int(kind)];
        if (!slot) {
            if (!subtree) {
                // One walk over the folder's tasks fills every own count not computed yet; counts that
                // are still computed stay as they are, stale or not, until their own reset.
                self().countOwnTasks(m_own);
            } else {
                // Like the subtree query, which does not descend when the folder's own fetch fails.
                qint64 n = savedCount(kind, false);
                for (Record* child : self().childFolders())
                    n += static_cast<Folder*>(child)->savedCount(kind, true);
                slot = n;
            }
        }
        return *slot;
    }

    // The folder's own query, then each child's subtree query in turn: concatenated, never de-duplicated.
    TaskQueryResult taskQueryIncludingSubtree(TaskCounter kind) const
    {
        TaskQueryResult out = self().taskQuery(kind);
        if (!out)
            return out;
        for (Record* child : self().childFolders())
            if (TaskQueryResult more = static_cast<Folder*>(child)->taskQueryIncludingSubtree(kind))
                out->insert(out->end(), more->begin(), more->end());
        return out;
    }

    void resetCounter(TaskCounter kind)
    {
        for (const Folder* f = &self(); f; f = f->parentFolder()) {
            const TaskFolder* base = f;
            base->m_own[int(kind)].reset();
            base->m_subtree[int(kind)].reset();
        }
    }

    // The pending and next-action counters, and the due ones when `withDue`.
    void resetTaskCounters(bool withDue)
    {
        resetCounter(TaskCounter::Pending);
        resetCounter(TaskCounter::NextAction);
        if (withDue) {
            resetCounter(TaskCounter::DueToday);
            resetCounter(TaskCounter::DueTomorrow);
        }
    }

    // The path: the names from the root down, joined with " > "; here and in the whole subtree.
    void computePathNames()
    {
        Folder& folder = static_cast<Folder&>(*this);
        QString path = folder.name();
        for (const Folder* f = folder.parentFolder(); f; f = f->parentFolder())
            path = QStringLiteral("%1 > %2").arg(f->name(), path);
        folder.setPathName(path);
        for (Record* child : folder.childFolders())
            static_cast<Folder*>(child)->computePathNames();
    }

    // The name behind one blank per ancestor.
    QString displayPathNameForList() const { return QString(depth(), QLatin1Char(' ')) + self().name(); }

    // The number of open tasks, the length of the folder's uncompletedTasks query: counted by that query
    // the first time it is asked, then kept in step by the task entity's change hooks (see
    // Task::describe), since placing a task at the end of a large folder asks it again and again.
    qint64 uncompletedTasksCount() const
    {
        if (!m_uncompleted) {
            const TaskQueryResult tasks = self().uncompletedTasks();
            if (!tasks)
                return 0;
            m_uncompleted = qint64(tasks->size());
        }
        return *m_uncompleted;
    }
    void adjustUncompletedTasksCount(qint64 delta) const
    {
        if (m_uncompleted)
            *m_uncompleted += delta;
    }

    bool isCounterComputed(TaskCounter kind, bool subtree) const { return (subtree ? m_subtree : m_own)[int(kind)].has_value(); }

    // "%d children", "1 child" or "".
    QString childCountLabel() const
    {
        const auto n = self().childFolders().size();
        if (n >= 2)
            return QStringLiteral("%1 children").arg(n);
        return n == 1 ? QStringLiteral("1 child") : QString();
    }

    int depth() const
    {
        int d = 0;
        for (const Folder* f = self().parentFolder(); f; f = f->parentFolder())
            ++d;
        return d;
    }

protected:
    // The own counts of a folder of this kind, for the pass that counts many folders at once.
    static std::optional<qint64>* ownCountsOf(const Record& folder)
    {
        return static_cast<const TaskFolder&>(static_cast<const Folder&>(folder)).m_own;
    }

private:
    const Folder& self() const { return static_cast<const Folder&>(*this); }
    mutable std::optional<qint64> m_own[kTaskCounterKinds];
    mutable std::optional<qint64> m_subtree[kTaskCounterKinds];
    mutable std::optional<qint64> m_uncompleted;
};

// Counts, in one walk over `candidates`, the records each predicate accepts; only for the slots that
// are empty. Used by the folders to fill their own counters at once.
void countMatches(const std::vector<Record*>& candidates, const Predicate* const predicates[kTaskCounterKinds],
                  std::optional<qint64> (&counts)[kTaskCounterKinds]);

// While one of these lives, the renumbering of contexts and projects (calculateTaskPositions) waits and
// runs once per folder when the last one ends: a pass that cleans up many tasks renumbers each folder
// once instead of once per task. The final positions are the same.
class ModelEnvironment;
class ObjectContext;

class DeferredRenumbering {
public:
    explicit DeferredRenumbering(ObjectContext& context);
    ~DeferredRenumbering();
    DeferredRenumbering(const DeferredRenumbering&) = delete;
    DeferredRenumbering& operator=(const DeferredRenumbering&) = delete;
    // True when the renumbering of `folder` was put off (it runs later as renumberOpenTasks with the
    // same arguments).
    static bool defer(Record* folder, const Predicate& openTasks, int positionAttribute);

private:
    ModelEnvironment& m_environment;
};

// The four queries of a context or project, each a template with the folder as first argument; the due
// ones take the anchors "Today 23:59", and "Tomorrow 00:00" and "Tomorrow 23:59".
using FolderQueries = const Predicate& (*)(TaskCounter);
TaskQueryResult runFolderQuery(const Record& folder, FolderQueries queries, TaskCounter kind);
void countFolderTasks(const Record& folder, const std::vector<Record*>& tasks, FolderQueries queries,
                      std::optional<qint64> (&counts)[kTaskCounterKinds]);

// When many folders of `folder`'s kind wait for their own counts (after every counter was reset, or at
// start), fills the empty own counts of all of them in one pass over every task, in the order the tasks
// lie in memory, and answers true; a walk over each folder's own tasks would visit the same tasks in
// scattered order. Answers false, doing nothing, when walking `folder`'s own tasks is cheaper.
// `tasksRelationship` is the folder's to-many relationship to its tasks.
using OwnCountsOf = std::optional<qint64>* (*)(const Record& folder);
bool countWaitingFoldersInOnePass(const Record& folder, int tasksRelationship, FolderQueries queries, OwnCountsOf ownCounts);

// Numbers a folder's open tasks 1..n in their present order (tasks with the same position in the order
// of their keys): `openTasks` is the folder's open-task query (a template taking the folder and pinning
// the tasks' link to it), `positionAttribute` the task attribute that holds the order. A failed fetch
// changes nothing.
void renumberOpenTasks(Record& folder, const Predicate& openTasks, int positionAttribute);

// Runs a task query: the predicate template filled with the folder and any further arguments.
TaskQueryResult fetchTasks(const Record& folder, const Predicate& templatePredicate, const QList<PredicateArgument>& more = {});
