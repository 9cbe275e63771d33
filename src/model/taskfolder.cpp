#include "model/taskfolder.h"

#include "model/dateanchors.h"
#include "store/objectcontext.h"
#include "store/predicate.h"

TaskQueryResult fetchTasks(const Record& folder, const Predicate& templatePredicate, const QList<PredicateArgument>& more)
{
    QList<PredicateArgument> arguments {const_cast<Record*>(&folder)};
    arguments += more;
    auto result = folder.managedObjectContext()->executeFetchRequest(FetchRequest(QStringLiteral("task"), templatePredicate.withArguments(arguments)));
    if (!result)
        return std::nullopt;
    return std::move(*result);
}

void countMatches(const std::vector<Record*>& candidates, const Predicate* const predicates[kTaskCounterKinds],
                  std::optional<qint64> (&counts)[kTaskCounterKinds])
{
    qint64 found[kTaskCounterKinds] = {};
    bool wanted[kTaskCounterKinds];
    for (int k = 0; k < kTaskCounterKinds; ++k)
        wanted[k] = predicates[k] && !counts[k];
    const size_t n = candidates.size();
    for (size_t i = 0; i < n; ++i) {
        // The tasks of a folder lie anywhere in memory: start loading the ones a little further on.
        if (i + 16 < n)
            __builtin_prefetch(candidates[i + 16]);
        if (i + 8 < n)
            candidates[i + 8]->prefetch();
        Record* r = candidates[i];
        if (r->isDeleted())
            continue;
        for (int k = 0; k < kTaskCounterKinds; ++k)
            if (wanted[k] && predicates[k]->evaluate(*r))
                ++found[k];
    }
    for (int k = 0; k < kTaskCounterKinds; ++k)
        if (wanted[k])
            counts[k] = found[k];
        else if (!predicates[k] && !counts[k])
            counts[k] = 0;
}

namespace {
struct PendingRenumbering {
    int depth = 0;
    std::vector<std::pair<Record*, void (*)(Record*)>> folders;
};
PendingRenumbering& pending()
{
    static PendingRenumbering p;
    return p;
}
} // namespace

DeferredRenumbering::DeferredRenumbering()
{
    ++pending().depth;
}

DeferredRenumbering::~DeferredRenumbering()
{
    if (--pending().depth > 0)
        return;
    const auto folders = std::move(pending().folders);
    pending().folders.clear();
    for (const auto& [folder, renumber] : folders)
        if (!folder->isDeleted())
            renumber(folder);
}

bool DeferredRenumbering::defer(Record* folder, void (*renumber)(Record*))
{
    PendingRenumbering& p = pending();
    if (p.depth == 0)
        return false;
    for (const auto& entry : p.folders)
        if (entry.first == folder)
            return true;
    p.folders.emplace_back(folder, renumber);
    return true;
}

namespace {
QList<PredicateArgument> folderQueryArguments(const Record& folder, TaskCounter kind)
{
    Record* self = const_cast<Record*>(&folder);
    switch (kind) {
    case TaskCounter::DueToday: return {self, DateAnchors::todayEnd()};
    case TaskCounter::DueTomorrow: return {self, DateAnchors::tomorrowStart(), DateAnchors::tomorrowEnd()};
    default: return {self};
    }
}
} // namespace

TaskQueryResult runFolderQuery(const Record& folder, FolderQueries queries, TaskCounter kind)
{
    const QList<PredicateArgument> arguments = folderQueryArguments(folder, kind);
    return fetchTasks(folder, queries(kind), arguments.mid(1));
}

void countFolderTasks(const Record& folder, const std::vector<Record*>& tasks, FolderQueries queries,
                      std::optional<qint64> (&counts)[kTaskCounterKinds])
{
    Predicate filled[kTaskCounterKinds];
    const Predicate* predicates[kTaskCounterKinds];
    for (int k = 0; k < kTaskCounterKinds; ++k) {
        filled[k] = queries(TaskCounter(k)).withArguments(folderQueryArguments(folder, TaskCounter(k)));
        predicates[k] = &filled[k];
    }
    countMatches(tasks, predicates, counts);
}

void renumberOpenTasks(Record& folder, const Predicate& openTasks, int positionAttribute)
{
    FetchRequest request(QStringLiteral("task"), openTasks.withArguments({&folder}));
    const QString key = folder.managedObjectContext()->model().entity(u"task")->attributes()[size_t(positionAttribute)].name;
    request.sortDescriptors = {SortDescriptor(key)};
    auto tasks = folder.managedObjectContext()->executeFetchRequest(request);
    if (!tasks)
        return;
    qint64 position = 1;
    for (Record* t : *tasks)
        t->setPrimitiveValue(positionAttribute, Value::integer(position++));
}
