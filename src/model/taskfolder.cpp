#include "model/taskfolder.h"

#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "store/objectcontext.h"
#include "store/predicate.h"
#include "store/recordwalk.h"
#include "store/preparedpredicates.h"

#include <algorithm>
#include <array>

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
    // The predicates of the empty slots, prepared together: the comparisons they share are read once
    // per record.
    std::vector<PreparedPredicates::Entry> entries;
    int kindOf[kTaskCounterKinds];
    for (int k = 0; k < kTaskCounterKinds; ++k)
        if (predicates[k] && !counts[k]) {
            kindOf[entries.size()] = k;
            entries.push_back({*predicates[k], {}});
        }
    qint64 found[kTaskCounterKinds] = {};
    const size_t n = candidates.size();
    if (n > 0 && !entries.empty()) {
        const PreparedPredicates prepared(entries, candidates.front()->entity());
        const std::uint32_t all = (std::uint32_t(1) << entries.size()) - 1;
        forEachLiveRecord(candidates, [&](const Record& r) {
            const std::uint32_t holds = prepared.evaluate(r, all);
            for (size_t e = 0; e < entries.size(); ++e)
                found[e] += holds >> e & 1;
        });
    }
    for (size_t e = 0; e < entries.size(); ++e)
        counts[kindOf[e]] = found[e];
    for (int k = 0; k < kTaskCounterKinds; ++k)
        if (!predicates[k] && !counts[k])
            counts[k] = 0;
}

DeferredRenumbering::DeferredRenumbering(ObjectContext& context) : m_environment(ModelEnvironment::of(context))
{
    ++m_environment.renumberingDeferrals;
}

DeferredRenumbering::~DeferredRenumbering()
{
    if (--m_environment.renumberingDeferrals > 0)
        return;
    const auto folders = std::exchange(m_environment.pendingRenumberings, {});
    for (const auto& f : folders)
        if (!f.folder->isDeleted())
            renumberOpenTasks(*f.folder, *f.openTasks, f.positionAttribute);
}

bool DeferredRenumbering::defer(Record* folder, const Predicate& openTasks, int positionAttribute)
{
    ModelEnvironment& environment = ModelEnvironment::of(*folder);
    if (environment.renumberingDeferrals == 0)
        return false;
    for (const auto& entry : environment.pendingRenumberings)
        if (entry.folder == folder && entry.openTasks == &openTasks && entry.positionAttribute == positionAttribute)
            return true;
    environment.pendingRenumberings.push_back({folder, &openTasks, positionAttribute});
    return true;
}

namespace {
QList<PredicateArgument> folderQueryArguments(const Record& folder, TaskCounter kind)
{
    Record* self = const_cast<Record*>(&folder);
    const QDateTime now = ModelEnvironment::of(folder).now();
    switch (kind) {
    case TaskCounter::DueToday: return {self, DateAnchors::todayEnd(now)};
    case TaskCounter::DueTomorrow: return {self, DateAnchors::tomorrowStart(now), DateAnchors::tomorrowEnd(now)};
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

bool countWaitingFoldersInOnePass(const Record& folder, int tasksRelationship, FolderQueries queries, OwnCountsOf ownCounts)
{
    const ObjectContext* context = folder.managedObjectContext();
    if (!context || folder.isDeleted())
        return false;
    const RelationshipDescription& tasksRel = folder.entity().relationships()[size_t(tasksRelationship)];
    if (!tasksRel.toMany || tasksRel.inverseIndex < 0)
        return false;

    struct Waiting {
        const Record* folder;
        std::optional<qint64>* counts;
    };
    std::vector<Waiting> waiting;
    size_t waitingTasks = 0;
    qint64 lowestKey = 0;
    qint64 highestKey = 0;
    for (const auto& r : context->records(folder.entity())) {
        if (r->isDeleted())
            continue;
        std::optional<qint64>* counts = ownCounts(*r);
        if (std::all_of(counts, counts + kTaskCounterKinds, [](const auto& c) { return c.has_value(); }))
            continue;
        waiting.push_back({r.get(), counts});
        waitingTasks += r->toMany(tasksRelationship).size();
        lowestKey = std::min(lowestKey, r->primaryKey());
        highestKey = std::max(highestKey, r->primaryKey());
    }
    const auto tasks = context->records(*tasksRel.destination);
    if (waiting.size() < 2)
        return false;
    // A folder walk visits its tasks in scattered order, about twice as slow per task as the pass. The
    // folders are ordered by primary key, which is dense (each new record takes the next one); a file
    // with keys far apart is counted folder by folder instead. Either way every waiting folder is
    // counted now: were each left to ask for itself, each would look over all folders again.
    if (waitingTasks * 2 < tasks.size() || lowestKey < 0 || highestKey > qint64(waiting.size()) * 64 + 4096) {
        for (const Waiting& w : waiting)
            countFolderTasks(*w.folder, w.folder->toMany(tasksRelationship), queries,
                             *reinterpret_cast<std::optional<qint64>(*)[kTaskCounterKinds]>(w.counts));
        return true;
    }
    std::vector<int> slotOfKey(size_t(highestKey) + 1, -1);
    for (size_t i = 0; i < waiting.size(); ++i)
        slotOfKey[size_t(waiting[i].folder->primaryKey())] = int(i);
    // The four queries prepared once for all folders, the folder given with each task. The anchors are
    // read once, so every folder counts against the same "Today".
    const QDateTime now = ModelEnvironment::of(folder).now();
    const QDateTime todayEnd = DateAnchors::todayEnd(now);
    const QDateTime tomorrowStart = DateAnchors::tomorrowStart(now);
    const QDateTime tomorrowEnd = DateAnchors::tomorrowEnd(now);
    std::vector<PreparedPredicates::Entry> entries;
    for (int k = 0; k < kTaskCounterKinds; ++k) {
        QList<PredicateArgument> arguments {static_cast<Record*>(nullptr)};
        if (TaskCounter(k) == TaskCounter::DueToday)
            arguments << todayEnd;
        else if (TaskCounter(k) == TaskCounter::DueTomorrow)
            arguments << tomorrowStart << tomorrowEnd;
        entries.push_back({queries(TaskCounter(k)), arguments});
    }
    const PreparedPredicates prepared(entries, *tasksRel.destination, 0);
    // Per folder, the kinds to count: bit k for kind k.
    std::vector<std::uint32_t> wanted(waiting.size(), 0);
    for (size_t i = 0; i < waiting.size(); ++i)
        for (int k = 0; k < kTaskCounterKinds; ++k)
            if (!waiting[i].counts[k])
                wanted[i] |= std::uint32_t(1) << k;

    std::vector<std::array<qint64, kTaskCounterKinds>> found(waiting.size());
    const int parent = tasksRel.inverseIndex;
    forEachLiveRecord(tasks, [&](const Record& task) {
        Record* f = task.toOne(parent);
        if (!f || quint64(f->primaryKey()) > quint64(highestKey))
            return;
        const int slot = slotOfKey[size_t(f->primaryKey())];
        if (slot < 0 || waiting[size_t(slot)].folder != f)
            return;
        const std::uint32_t holds = prepared.evaluate(task, wanted[size_t(slot)], f);
        for (int k = 0; k < kTaskCounterKinds; ++k)
            found[size_t(slot)][size_t(k)] += holds >> k & 1;
    });
    for (size_t i = 0; i < waiting.size(); ++i)
        for (int k = 0; k < kTaskCounterKinds; ++k)
            if (wanted[i] >> k & 1)
                waiting[i].counts[k] = found[i][size_t(k)];
    return true;
}

namespace {

// Gives the tasks the positions 1..n in the order of their present ones, `positions`, read beside them:
// absent ones first, equal ones in the order they come (as an ascending fetch sort orders them). Writes
// only the positions that change.
void numberInOrder(const std::vector<Record*>& tasks, const std::vector<Value>& positions, int positionAttribute)
{
    std::vector<std::pair<qint64, quint32>> present;
    std::vector<quint32> absent;
    present.reserve(tasks.size());
    for (size_t i = 0; i < tasks.size(); ++i) {
        // A position is a whole number (a flag at worst): every one has an integral value.
        if (positions[i].isNull())
            absent.push_back(quint32(i));
        else
            present.emplace_back(positions[i].integral(), quint32(i));
    }
    std::sort(present.begin(), present.end());
    qint64 next = 1;
    auto place = [&](quint32 i) {
        const qint64 position = next++;
        const Value& old = positions[i];
        if (old.kind() != Value::Kind::Integer || old.integral() != position)
            tasks[i]->setPrimitiveValue(positionAttribute, Value::integer(position));
    };
    for (quint32 i : absent)
        place(i);
    for (const auto& entry : present)
        place(entry.second);
}

bool byKey(const Record* a, const Record* b)
{
    return a->primaryKey() < b->primaryKey();
}

} // namespace

void renumberOpenTasks(Record& folder, const Predicate& openTasks, int positionAttribute)
{
    auto tasks = folder.managedObjectContext()->executeFetchRequest(FetchRequest(QStringLiteral("task"), openTasks.withArguments({&folder})));
    if (!tasks)
        return;
    std::sort(tasks->begin(), tasks->end(), byKey);
    std::vector<Value> positions;
    positions.reserve(tasks->size());
    for (const Record* t : *tasks)
        positions.push_back(t->primitiveValue(positionAttribute));
    // However many positions move, one undo entry.
    UndoCoalescing oneUndoEntry(folder.managedObjectContext()->undoManager(), positionAttribute);
    numberInOrder(*tasks, positions, positionAttribute);
}
