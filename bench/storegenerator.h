#pragma once

#include "store/status.h"

#include <QDateTime>
#include <QString>

class Context;
class ObjectContext;

// What a generated store looks like. The same options always give the same records: every random
// choice comes from `seed`, and dates are laid out around `referenceTime`.
struct GeneratorOptions {
    int tasks = 100000;
    int projects = 500;
    // Share of the tasks put into the one context that fetch benchmarks pin ("Home > Garden"): about
    // 2,000 tasks at the default size.
    double pinnedContextShare = 0.02;
    quint64 seed = 0x56'79'72'6f'2d'31ull;
    QDateTime referenceTime; // invalid: now
};

struct GeneratedStoreInfo {
    int tasks = 0;
    int contexts = 0;
    int projects = 0;
    QString pinnedContextPath; // pathName of the context that holds pinnedContextTasks tasks
    int pinnedContextTasks = 0;
    int pinnedContextPendingTasks = 0; // as the context's pending-tasks query counts them
};

// Writes a new data file at `path` filled with a realistic task collection:
// - 50 contexts: five roots with three children each and one to three grandchildren under each child,
//   plus the Inbox (isInbox true); tasks spread unevenly over them (a long tail), except that the
//   pinned context gets exactly its share;
// - `projects` projects in a three-level tree, about a tenth inactive, some with hasSingleTasks;
// - tasks with names of three to eight words, a quarter done (most of those cleaned up), a third with
//   due dates within 60 days of the reference time, tags on about half, notes on a fifth, priorities,
//   efforts, start dates, and positionInContext / positionInProject numbered densely from 1 among the
//   open (not cleaned-up, not archived) tasks of each container, in creation order.
// Refuses to touch an existing file.
Status generateStore(const QString& path, const GeneratorOptions& options = {}, GeneratedStoreInfo* info = nullptr);

// The context whose pathName is `pathName`, or nullptr.
Context* findContextByPath(ObjectContext& context, const QString& pathName);

// The predicate of a context's pending tasks, as the context's counters use it; "%@" is the context.
inline constexpr const char* kContextPendingTasksFormat =
    "(parentContext==%@) and (maybe==NO or maybe==NULL) and ((parentProject==NULL) or (parentProject.active <> 0)) "
    "and (cleanedUp <> 1) and (archived == 0)";
