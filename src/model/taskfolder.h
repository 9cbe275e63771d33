#pragma once

#include "store/objectcontext.h"
#include "store/predicate.h"
#include "store/record.h"

#include <QString>

#include <algorithm>
#include <optional>
#include <type_traits>
#include <utility>
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
        const auto& slot = (subtree ? m_subtree : m_own)[int(kind)];
        if (!slot) {
            if (!subtree)
                // One walk over the folder's tasks fills every own count not computed yet; counts that
                // are still computed stay as they are, stale or not, until their own reset.
                self().countOwnTasks(m_own);
            else
                computeSubtreeCounts(kind);
        }
        return *slot;
    }

    // The folder's own query, then each child's subtree query in turn: concatenated, never de-duplicated.
    // A folder whose own fetch fails adds nothing and is not descended into; when that is this folder,
    // the result is nullopt.
    TaskQueryResult taskQueryIncludingSubtree(TaskCounter kind) const
    {
        TaskQueryResult out = self().taskQuery(kind);
        if (!out)
            return out;
        // Depth first, children in set order, with a stack of our own: trees may be deeper than the
        // call stack.
        std::vector<std::pair<const Folder*, size_t>> stack {{&self(), 0}};
        while (!stack.empty()) {
            auto& [folder, next] = stack.back();
            const std::vector<Record*>& children = folder->childFolders();
            if (next == children.size()) {
                stack.pop_back();
                continue;
            }
            const auto* child = static_cast<const Folder*>(children[next++]);
            if (TaskQueryResult more = child->taskQuery(kind)) {
                out->insert(out->end(), more->begin(), more->end());
                stack.emplace_back(child, 0);
            }
        }
        return out;
    }

    void resetCounter(TaskCounter kind)
    {
        forEachAncestorOrSelf([kind](const Folder& f) {
            const TaskFolder& base = f;
            base.m_own[int(kind)].reset();
            base.m_subtree[int(kind)].reset();
        });
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

    // The path: the names from the root down, joined with " > ". Derived, never stored: worked out on
    // first read from the nearest ancestor whose path is known (or from the root) and kept until a
    // rename or move above or at this folder forgets it (forgetPathNames). Only the folder asked keeps
    // its path, not the ancestors passed on the way: the paths of a whole chain together grow with the
    // square of its depth.
    QString pathName() const
    {
        if (m_pathKnown)
            return m_path;
        std::vector<const Folder*> chain; // this folder, then its ancestors up to a known path
        const TaskFolder* known = nullptr;
        forEachAncestorOrSelf([&](const Folder& f) {
            const TaskFolder& base = f;
            if (base.m_pathKnown) {
                known = &base;
                return false;
            }
            chain.push_back(&f);
            return true;
        });
        static const QString separator = QStringLiteral(" > ");
        qsizetype length = known ? known->m_path.size() : 0;
        for (const Folder* f : chain)
            length += f->name().size() + separator.size();
        QString path;
        path.reserve(length);
        if (known)
            path = known->m_path;
        for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
            if (known || it != chain.rbegin())
                path += separator;
            path += (*it)->name();
        }
        m_path = path;
        m_pathKnown = true;
        // Every folder from here up learns that a path below it is known, so that forgetting can pass
        // over the subtrees that know none.
        forEachAncestorOrSelf([](const Folder& f) {
            const TaskFolder& base = f;
            if (base.m_pathsBelow)
                return false;
            base.m_pathsBelow = true;
            return true;
        });
        return path;
    }

    // Whether pathName() equals `path`, found without building paths: the names are matched from this
    // folder up, and most folders fail at their own name. For finding a folder by its path among many,
    // where building every path would cost the square of the depth of a deep chain.
    bool hasPathName(QStringView path) const
    {
        static const QString separator = QStringLiteral(" > ");
        qsizetype end = path.size();
        bool matches = false;
        forEachAncestorOrSelf([&](const Folder& f) {
            const TaskFolder& base = f;
            if (base.m_pathKnown) {
                matches = QStringView(base.m_path) == path.first(end);
                return false;
            }
            const QString name = f.name();
            if (end < name.size() || path.sliced(end - name.size(), name.size()) != name)
                return false;
            end -= name.size();
            if (!f.parentFolder()) {
                matches = end == 0;
                return false;
            }
            if (end < separator.size() || path.sliced(end - separator.size(), separator.size()) != separator)
                return false;
            end -= separator.size();
            return true;
        });
        return matches;
    }

    // Forgets the known paths of this folder and its subtree: after its name or its parent changed.
    // Costs in proportion to the folders below that know their path, not to the whole subtree.
    void forgetPathNames() const
    {
        if (!m_pathsBelow)
            return;
        std::vector<const TaskFolder*> stack {this};
        while (!stack.empty()) {
            const TaskFolder* f = stack.back();
            stack.pop_back();
            f->m_pathsBelow = false;
            f->m_pathKnown = false;
            f->m_path = QString();
            for (Record* child : static_cast<const Folder&>(*f).childFolders()) {
                const TaskFolder& c = *static_cast<const Folder*>(child);
                if (c.m_pathsBelow)
                    stack.push_back(&c);
            }
        }
    }

    // The name behind one blank per ancestor.
    QString displayPathNameForList() const { return QString(depth(), QLatin1Char(' ')) + self().name(); }

    // Calls `visit` with this folder and then every folder below it, parents before their children
    // (children in set order). Iterative: trees may be deeper than the call stack. The visitor may
    // change the folders but not the shape of the tree.
    template <typename Visit>
    void forEachInSubtree(Visit&& visit) const
    {
        std::vector<Folder*> stack {const_cast<Folder*>(&self())};
        while (!stack.empty()) {
            Folder* f = stack.back();
            stack.pop_back();
            visit(*f);
            const std::vector<Record*>& children = f->childFolders();
            for (auto it = children.rbegin(); it != children.rend(); ++it)
                stack.push_back(static_cast<Folder*>(*it));
        }
    }

    // Deletes the folder with its subtree (and, by the delete rules, their tasks), deepest folders
    // first: the store's cascade then never goes from one folder to the next, however deep the tree.
    void deleteWithSubtree()
    {
        Record& r = const_cast<Folder&>(self());
        if (ObjectContext* context = r.managedObjectContext())
            for (Record* folder : subtreeLeavesFirst())
                context->deleteObject(folder);
    }

    // The folder and its subtree, deepest first, so that deleting them in this order never cascades
    // from one folder to another.
    std::vector<Record*> subtreeLeavesFirst() const
    {
        std::vector<Record*> out;
        forEachInSubtree([&out](Folder& f) { out.push_back(&f); });
        std::reverse(out.begin(), out.end());
        return out;
    }

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
        int d = -1;
        forEachAncestorOrSelf([&d](const Folder&) { ++d; });
        return d;
    }

    // Calls `visit` with this folder and each of its ancestors up to the root; a `visit` that returns
    // bool stops the walk with false. The walk ends after as many steps as there are folders of the
    // kind: a loop of parents (which the data file's repair at open and the setters never let in) must
    // not hang the program.
    template <typename Visit>
    void forEachAncestorOrSelf(Visit&& visit) const
    {
        size_t steps = 0;
        size_t limit = 0;
        for (const Folder* f = &self(); f; f = f->parentFolder()) {
            if constexpr (std::is_same_v<decltype(visit(*f)), bool>) {
                if (!visit(*f))
                    return;
            } else {
                visit(*f);
            }
            // Counting the folders costs nothing much, but only deep trees need it.
            if (++steps >= 4096) {
                if (!limit)
                    limit = folderCount();
                if (steps > limit)
                    return;
            }
        }
    }

protected:
    // The own counts of a folder of this kind, for the pass that counts many folders at once.
    static std::optional<qint64>* ownCountsOf(const Record& folder)
    {
        return static_cast<const TaskFolder&>(static_cast<const Folder&>(folder)).m_own;
    }

private:
    const Folder& self() const { return static_cast<const Folder&>(*this); }

    size_t folderCount() const
    {
        const Record& r = self();
        return r.managedObjectContext() ? r.managedObjectContext()->records(r.entity()).size() : 0;
    }

    // Fills the subtree count of `kind` here and in every folder below that lacks it, children first,
    // with a stack of our own.
    void computeSubtreeCounts(TaskCounter kind) const
    {
        const int k = int(kind);
        std::vector<std::pair<const Folder*, size_t>> stack {{&self(), 0}};
        while (!stack.empty()) {
            auto& [folder, next] = stack.back();
            const std::vector<Record*>& children = folder->childFolders();
            if (next < children.size()) {
                const auto* child = static_cast<const Folder*>(children[next++]);
                if (!static_cast<const TaskFolder*>(child)->m_subtree[k])
                    stack.emplace_back(child, 0); // invalidates `folder` and `next`
                continue;
            }
            // Like the subtree query, which does not descend when the folder's own fetch fails.
            qint64 n = folder->savedCount(kind, false);
            for (Record* child : children)
                n += *static_cast<const TaskFolder*>(static_cast<const Folder*>(child))->m_subtree[k];
            static_cast<const TaskFolder*>(folder)->m_subtree[k] = n;
            stack.pop_back();
        }
    }

    mutable std::optional<qint64> m_own[kTaskCounterKinds];
    mutable std::optional<qint64> m_subtree[kTaskCounterKinds];
    mutable std::optional<qint64> m_uncompleted;
    mutable QString m_path;
    mutable bool m_pathKnown = false;
    // Some folder in this subtree, this one included, may know its path.
    mutable bool m_pathsBelow = false;
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

// Makes the derived path names of a folder entity readable as the key "pathName" and keeps them right:
// its change hooks forget the paths of a folder's subtree when the folder's name or parent changes, by a
// setter, by undo or redo, or by loading records into the store; and when it is deleted or brought back.
// Undo and redo, which write past the setters, also reset the counters of the folder and of the parent
// it leaves, and so of their ancestors.
template <typename Folder>
void describePathNames(EntityDescription& entity, int nameAttribute, int parentRelationship)
{
    entity.addDerivedKey({QStringLiteral("pathName"), [](const Record& r) { return Value::string(static_cast<const Folder&>(r).pathName()); }, {}});
    auto resetIfReversing = [](Record& r, Record* oldParent) {
        if (!r.managedObjectContext()->undoManager().isReversing())
            return;
        static_cast<Folder&>(r).resetTaskCounters(true);
        if (oldParent)
            static_cast<Folder*>(oldParent)->resetTaskCounters(true);
    };
    ChangeHooks hooks;
    hooks.attributeChanged = [nameAttribute, resetIfReversing](Record& r, int attribute, const Value&) {
        resetIfReversing(r, nullptr);
        if (attribute == nameAttribute)
            static_cast<Folder&>(r).forgetPathNames();
    };
    hooks.toOneChanged = [parentRelationship, resetIfReversing](Record& r, int relationship, Record* oldTarget, Record*) {
        resetIfReversing(r, relationship == parentRelationship ? oldTarget : nullptr);
        if (relationship == parentRelationship)
            static_cast<Folder&>(r).forgetPathNames();
    };
    hooks.deletedChanged = [resetIfReversing](Record& r, bool) {
        resetIfReversing(r, static_cast<Folder&>(r).parentFolder());
        static_cast<Folder&>(r).forgetPathNames();
    };
    entity.setChangeHooks(std::move(hooks));
}
