#include "lists/tasksarraycontroller.h"

#include "app/preferences.h"
#include "lists/folderarraycontroller.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/cleanupcontroller.h"
#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/preparedpredicates.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

TasksArrayController::TasksArrayController(TabViewController& views, TaskView view) : m_views(views), m_view(view)
{
    m_changes = QObject::connect(&store(), &ObjectContext::objectsDidChange, [this](const ChangeBatch& batch) { noteChanges(batch, true); });
}

TasksArrayController::~TasksArrayController()
{
    QObject::disconnect(m_changes);
}

ObjectContext& TasksArrayController::store() const
{
    return m_views.store();
}

Preferences& TasksArrayController::preferences() const
{
    return m_views.preferences();
}

ListHost& TasksArrayController::host() const
{
    return m_views.host();
}

ViewModes TasksArrayController::modes() const
{
    return m_views.modes(m_view);
}

QDateTime TasksArrayController::today() const
{
    return DateAnchors::today(ModelEnvironment::of(store()).now());
}

void TasksArrayController::setFilterPredicate(std::optional<Predicate> predicate)
{
    // The same predicate again (a mode set to the value it had) only re-arranges.
    const bool same = predicate.has_value() == m_filter.has_value() && (!predicate || predicate->predicateFormat() == m_filter->predicateFormat());
    m_filter = std::move(predicate);
    if (!same)
        m_pending = Pending::Whole;
    rearrangeObjects();
}

namespace {
bool sameSort(const QList<SortDescriptor>& a, const QList<SortDescriptor>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const SortDescriptor& x, const SortDescriptor& y) {
        return x.key() == y.key() && x.ascending == y.ascending && x.comparison == y.comparison && x.nullsLast == y.nullsLast;
    });
}
} // namespace

void TasksArrayController::setSortDescriptors(QList<SortDescriptor> descriptors)
{
    if (!sameSort(descriptors, m_sort))
        m_pending = Pending::Whole;
    m_sort = std::move(descriptors);
    rearrangeObjects();
}

void TasksArrayController::rearrangeObjects()
{
    m_rearrangeAsked = true;
    if (m_rows.observer())
        arrange();
}

const std::vector<Task*>& TasksArrayController::arrangedObjects() const
{
    if (m_rearrangeAsked || m_pending == Pending::Whole)
        arrange();
    return m_rows.rows();
}

void TasksArrayController::setObserver(ListObserver* observer)
{
    // Arranged first: the observer starts from the rows it then reads.
    arrangedObjects();
    m_rows.setObserver(observer);
}

bool TasksArrayController::shows(Task* task) const
{
    return !task->isDeleted() && contentContains(*task) && (!m_filter || m_filter->evaluate(*task));
}

bool TasksArrayController::isContentFolder(const Record* folder) const
{
    if (!folder)
        return false;
    const std::vector<Record*> folders = contentFolders();
    return std::find(folders.begin(), folders.end(), folder) != folders.end();
}

void TasksArrayController::noteChanges(const ChangeBatch& batch, bool report) const
{
    // Any change may move a task in the sorted content or change what the content is.
    if (!batch.inserted.empty() || !batch.updated.empty() || !batch.deleted.empty()) {
        m_sortedContent.clear();
        m_wholeArrangementsSinceChange = 0;
    }
    if (m_pending == Pending::Whole)
        return;
    // What an earlier look at the open batch saw may have gone again before the batch closed (a task
    // inserted and deleted in one event is in no batch): it is looked at again.
    if (report) {
        m_touched.insert(m_touched.end(), m_peeked.begin(), m_peeked.end());
        m_peeked.clear();
    }
    const size_t before = m_touched.size();
    const EntityDescription* taskEntity = store().model().entity(QStringLiteral("task"));
    const auto taskAttributes = int(taskEntity->attributes().size());
    std::vector<std::pair<Task*, std::uint64_t>> changed;
    for (Record* r : batch.inserted)
        if (&r->entity() == taskEntity)
            m_touched.push_back(static_cast<Task*>(r));
    for (Record* r : batch.deleted)
        if (&r->entity() == taskEntity) {
            m_touched.push_back(static_cast<Task*>(r));
            changed.emplace_back(static_cast<Task*>(r), ~std::uint64_t(0));
        }
    for (size_t i = 0; i < batch.updated.size(); ++i) {
        Record* r = batch.updated[i];
        std::uint64_t keys = batch.updatedKeys[i];
        const EntityDescription& entity = r->entity();
        if (&entity == taskEntity) {
            m_touched.push_back(static_cast<Task*>(r));
            changed.emplace_back(static_cast<Task*>(r), keys);
            continue;
        }
        // A folder's own values (a project's path name or its active flag) are read through its tasks'
        // links; a change of only its set of tasks is seen on the tasks themselves.
        const auto attributes = int(entity.attributes().size());
        const auto& relationships = entity.relationships();
        for (size_t j = 0; j < relationships.size(); ++j)
            if (relationships[j].toMany && relationships[j].destination == taskEntity)
                keys &= ~(std::uint64_t(1) << (attributes + int(j)));
        if (!keys)
            continue;
        // A renamed or moved folder changes the path names of its subtree too, which no batch names.
        std::vector<Record*> folders {r};
        if (movesPathNames(*r, keys)) {
            const std::vector<Record*> below = foldersBelow(*r);
            folders.insert(folders.end(), below.begin(), below.end());
        }
        for (size_t j = 0; j < relationships.size(); ++j) {
            const auto& rel = relationships[j];
            if (!rel.toMany || rel.destination != taskEntity || rel.inverseIndex < 0)
                continue;
            for (Record* folder : folders)
                for (Record* member : folder->toMany(int(j))) {
                    m_touched.push_back(static_cast<Task*>(member));
                    changed.emplace_back(static_cast<Task*>(member), std::uint64_t(1) << (taskAttributes + rel.inverseIndex));
                }
        }
    }
    if (report)
        m_rows.reportUpdates(std::move(changed));
    else {
        m_peeked.insert(m_peeked.end(), m_touched.begin() + qsizetype(before), m_touched.end());
        std::sort(m_peeked.begin(), m_peeked.end());
        m_peeked.erase(std::unique(m_peeked.begin(), m_peeked.end()), m_peeked.end());
    }
}

void TasksArrayController::arrange() const
{
    m_rearrangeAsked = false;
    // Changes made earlier in this event are not in a batch yet.
    noteChanges(store().pendingChanges(), false);
    // Settled before the rows change, so that an observer reading them meanwhile reads these.
    const bool whole = m_pending == Pending::Whole || contentFolders() != m_arrangedFolders;
    m_pending = Pending::None;
    if (whole) {
        arrangeWhole();
    } else {
        std::sort(m_touched.begin(), m_touched.end());
        m_touched.erase(std::unique(m_touched.begin(), m_touched.end()), m_touched.end());
        m_rows.update(m_touched, [this](Task* t) { return shows(t); }, m_sort);
        // Only tasks placed again can have left.
        if (!m_selection.empty() && !m_touched.empty())
            std::erase_if(m_selection, [this](Task* t) { return std::binary_search(m_touched.begin(), m_touched.end(), t) && !shows(t); });
    }
    m_touched.clear();
}

// Arranging the whole list filters its content and sorts what passes. While the store does not change,
// the content and its order stay the same whatever the filter: a search typed letter by letter arranges
// the whole list at every key. So from the second whole arrangement without a change in between, the
// whole content is kept in list order, and an arrangement is one filtering pass over it, without a sort
// (the order is total, ties going by primary key, so filtering the sorted content gives what sorting
// the filtered content gives).
void TasksArrayController::arrangeWhole() const
{
    m_arrangedFolders = contentFolders();
    if (m_arrangedFolders != m_sortedContentFolders || !sameSort(m_sort, m_sortedContentSort))
        m_sortedContent.clear();
    if (m_sortedContent.empty() && ++m_wholeArrangementsSinceChange >= 2)
        sortContent();

    std::vector<Task*> arranged;
    if (!m_sortedContent.empty()) {
        // The filter reads the tasks in the order they lie in memory, the result is taken in list order.
        std::optional<PreparedPredicates> prepared = preparedFilter(m_contentInMemoryOrder);
        std::vector<char> shown(m_sortedContent.size(), 0);
        for (size_t i = 0; i < m_contentInMemoryOrder.size(); ++i)
            if (passes(*m_contentInMemoryOrder[i], prepared))
                shown[m_rankInList[i]] = 1;
        arranged.reserve(m_sortedContent.size());
        for (size_t r = 0; r < m_sortedContent.size(); ++r)
            if (shown[r])
                arranged.push_back(m_sortedContent[r]);
    } else {
        // Each task shown has its sort keys read as it passes the filter, while it is at hand.
        const std::vector<Task*> tasks = content();
        std::optional<PreparedPredicates> prepared = preparedFilter(tasks);
        std::vector<Record*> shown;
        std::vector<Value> keys;
        shown.reserve(tasks.size());
        keys.reserve(tasks.size() * size_t(m_sort.size()));
        for (Task* t : tasks) {
            if (!passes(*t, prepared))
                continue;
            shown.push_back(t);
            appendSortKeys(*t, m_sort, keys);
        }
        sortInListOrder(shown, m_sort, keys);
        arranged.reserve(shown.size());
        for (Record* r : shown)
            arranged.push_back(static_cast<Task*>(r));
    }
    m_rows.reset(std::move(arranged));
    if (!m_selection.empty()) {
        const std::unordered_set<Task*> onShow(m_rows.rows().begin(), m_rows.rows().end());
        std::erase_if(m_selection, [&](Task* t) { return !onShow.contains(t); });
    }
}

void TasksArrayController::prepareForNewFilters() const
{
    if (!m_sortedContent.empty() && contentFolders() == m_sortedContentFolders && sameSort(m_sort, m_sortedContentSort))
        return;
    sortContent();
}

void TasksArrayController::sortContent() const
{
    m_contentInMemoryOrder.clear();
    std::vector<Record*> all;
    std::vector<Value> keys;
    for (Task* t : content()) {
        if (t->isDeleted())
            continue;
        m_contentInMemoryOrder.push_back(t);
        all.push_back(t);
        appendSortKeys(*t, m_sort, keys);
    }
    sortInListOrder(all, m_sort, keys);
    std::unordered_map<const Record*, quint32> rank;
    rank.reserve(all.size());
    m_sortedContent.clear();
    m_sortedContent.reserve(all.size());
    for (Record* r : all) {
        rank.emplace(r, quint32(m_sortedContent.size()));
        m_sortedContent.push_back(static_cast<Task*>(r));
    }
    m_rankInList.clear();
    m_rankInList.reserve(m_contentInMemoryOrder.size());
    for (Task* t : m_contentInMemoryOrder)
        m_rankInList.push_back(rank.at(t));
    m_sortedContentSort = m_sort;
    m_sortedContentFolders = contentFolders();
}

// A long list is filtered through the prepared form of the filter, which answers the same and reads each
// record without lookups.
std::optional<PreparedPredicates> TasksArrayController::preparedFilter(const std::vector<Task*>& tasks) const
{
    constexpr size_t kPrepareFrom = 512;
    if (!m_filter || tasks.size() < kPrepareFrom)
        return std::nullopt;
    return PreparedPredicates(std::vector<PreparedPredicates::Entry>{{*m_filter, {}}}, tasks.front()->entity());
}

bool TasksArrayController::passes(Task& task, std::optional<PreparedPredicates>& prepared) const
{
    if (task.isDeleted())
        return false;
    return prepared ? (prepared->evaluate(task, 1) & 1) != 0 : (!m_filter || m_filter->evaluate(task));
}

std::vector<Task*> TasksArrayController::selectedObjects() const
{
    arrangedObjects();
    std::vector<Task*> out;
    for (Task* t : m_selection)
        if (!t->isDeleted())
            out.push_back(t);
    return out;
}

Task* TasksArrayController::selectedObject() const
{
    const std::vector<Task*> selected = selectedObjects();
    return selected.empty() ? nullptr : selected.front();
}

namespace {
// Which tasks are among `tasks`, by primary key: one pass, one bit per key (tasks are all of one
// entity, so their keys differ).
class TaskMarks {
public:
    explicit TaskMarks(const std::vector<Task*>& tasks)
    {
        qint64 most = 0;
        for (const Task* t : tasks)
            most = std::max(most, t->primaryKey());
        m_marks.resize(size_t(most) + 1);
        for (const Task* t : tasks)
            m_marks[size_t(t->primaryKey())] = true;
    }
    bool contains(const Task* t) const { return size_t(t->primaryKey()) < m_marks.size() && m_marks[size_t(t->primaryKey())]; }

private:
    std::vector<bool> m_marks;
};

// The row of `rows` that holds a task of `selection`, first (or last) one found; -1 for none.
int selectionIndex(const std::vector<Task*>& rows, const std::vector<Task*>& selection, bool first)
{
    if (selection.empty())
        return -1;
    const TaskMarks selected(selection);
    if (first) {
        for (size_t i = 0; i < rows.size(); ++i)
            if (selected.contains(rows[i]))
                return int(i);
    } else {
        for (size_t i = rows.size(); i-- > 0;)
            if (selected.contains(rows[i]))
                return int(i);
    }
    return -1;
}
} // namespace

void TasksArrayController::setSelectedObjects(std::vector<Task*> tasks)
{
    const std::vector<Task*>& shown = arrangedObjects();
    // A few tasks are looked for; many are checked against the rows marked once.
    constexpr size_t kFew = 16;
    if (tasks.size() <= kFew) {
        std::erase_if(tasks, [&shown](Task* t) { return std::find(shown.begin(), shown.end(), t) == shown.end(); });
    } else {
        const TaskMarks onShow(shown);
        std::erase_if(tasks, [&onShow](Task* t) { return !onShow.contains(t); });
    }
    m_selection = std::move(tasks);
}

int TasksArrayController::firstSelectionIndex() const
{
    return selectionIndex(arrangedObjects(), m_selection, true);
}

int TasksArrayController::lastSelectionIndex() const
{
    return selectionIndex(arrangedObjects(), m_selection, false);
}

void TasksArrayController::installPredicate(QList<Predicate> terms)
{
    if (const auto& search = m_views.searchPredicate())
        terms.append(*search);
    if (terms.isEmpty())
        setFilterPredicate(std::nullopt);
    else
        setFilterPredicate(terms.size() == 1 ? terms.front() : Predicate::andPredicateWithSubpredicates(terms));
}

Predicate TasksArrayController::term(const QString& format) const
{
    if (!format.contains(QLatin1String("%@")))
        return Predicate::fromFormat(format);
    return Predicate::fromFormat(format, {today()});
}

void TasksArrayController::appendModeTerms(QList<Predicate>& terms, const ViewModes& modes, TimeTermStyle style, bool withNextActions) const
{
    if (auto time = timeModeTerm(modes.timeMode, style))
        terms << term(*time);
    if (auto owner = ownerModeTerm(modes.ownerMode))
        terms << term(*owner);
    if (modes.flagged)
        terms << term(flaggedModeTerm());
    if (withNextActions && modes.nextActions)
        terms << term(nextActionsModeTerm());
}

void TasksArrayController::clearSearchAndRebuild()
{
    host().clearSearchField();
    m_views.setSearchText(QString());
    m_views.updateAllControllerPredicates();
}

template <class Change>
void TasksArrayController::changeSelected(const QString& actionName, Change change, bool rearrange, bool counts)
{
    UndoGrouping step(store().undoManager(), actionName);
    for (Task* task : selectedObjects())
        change(task);
    if (rearrange)
        rearrangeObjects();
    if (counts)
        taskCountsHasChanged();
}

void TasksArrayController::flagAsNextAction()
{
    changeSelected(QStringLiteral("Flag as Next Action"), [](Task* t) { t->setNextAction(!t->nextAction()); }, true, true);
}

void TasksArrayController::waitForTask()
{
    changeSelected(QStringLiteral("Wait for Task"), [](Task* t) { t->setWaitingFor(!t->waitingFor()); }, true, false);
}

void TasksArrayController::markAsMaybe()
{
    changeSelected(QStringLiteral("Mark as Maybe"), [](Task* t) { t->setMaybe(!t->maybe()); }, true, true);
}

void TasksArrayController::markAsDone()
{
    const std::vector<Task*> selected = selectedObjects();
    const bool completing = std::any_of(selected.begin(), selected.end(), [](Task* t) { return !t->done(); });
    UndoGrouping step(store().undoManager(), completing ? QStringLiteral("Complete Task") : QStringLiteral("Reopen Task"));
    changeSelected(QString(), [](Task* t) { t->setDone(!t->done()); }, false, false);
    if (preferences().boolForKey(QStringLiteral("cleanUpImmediately")))
        cleanUpTasks();
    rearrangeObjects();
    taskCountsHasChanged();
}

void TasksArrayController::cleanUpTasks()
{
    UndoGrouping step(store().undoManager(), QStringLiteral("Clean Up"));
    CleanUpController::cleanUpTasks(store());
    taskCountsHasChanged();
}

void TasksArrayController::increaseEffort()
{
    changeSelected(QStringLiteral("Increase Effort"), [](Task* t) { if (t->effort() < 4) t->setEffort(t->effort() + 1); }, true, false);
}

void TasksArrayController::decreaseEffort()
{
    changeSelected(QStringLiteral("Decrease Effort"), [](Task* t) { if (t->effort() > 1) t->setEffort(t->effort() - 1); }, true, false);
}

void TasksArrayController::setPriority(int priority)
{
    UndoGrouping step(store().undoManager(), QStringLiteral("Set Priority"));
    for (Task* task : selectedObjects()) {
        task->setPriority(priority);
        rearrangeObjects();
    }
}

namespace {
// A day before or after `date`, or after today when the task has no such date.
QDateTime dayFrom(const Task* task, const QDateTime& date, int days)
{
    return DateAnchors::addCalendarDays(date.isValid() ? date : DateAnchors::today(ModelEnvironment::of(*task).now()), days);
}
} // namespace

void TasksArrayController::setStartDateToToday()
{
    changeSelected(QStringLiteral("Set Start Date"), [this](Task* t) { t->setStartDate(today()); }, false, false);
}
void TasksArrayController::setStartDateToDayEarlier()
{
    changeSelected(QStringLiteral("Set Start Date"), [](Task* t) { t->setStartDate(dayFrom(t, t->startDate(), -1)); }, false, false);
}
void TasksArrayController::setStartDateToDayLater()
{
    changeSelected(QStringLiteral("Set Start Date"), [](Task* t) { t->setStartDate(dayFrom(t, t->startDate(), 1)); }, false, false);
}
void TasksArrayController::setStartDateToEmpty()
{
    changeSelected(QStringLiteral("Clear Start Date"), [](Task* t) { t->setStartDate(QDateTime()); }, false, false);
}
void TasksArrayController::setStartDateToDueDate()
{
    changeSelected(QStringLiteral("Set Start Date"), [](Task* t) { t->setStartDate(t->dueDate()); }, false, false);
}
void TasksArrayController::setDueDateToToday()
{
    changeSelected(QStringLiteral("Set Due Date"), [this](Task* t) { t->setDueDate(today()); }, false, false);
}
void TasksArrayController::setDueDateToDayEarlier()
{
    changeSelected(QStringLiteral("Set Due Date"), [](Task* t) { t->setDueDate(dayFrom(t, t->dueDate(), -1)); }, false, false);
}
void TasksArrayController::setDueDateToDayLater()
{
    changeSelected(QStringLiteral("Set Due Date"), [](Task* t) { t->setDueDate(dayFrom(t, t->dueDate(), 1)); }, false, false);
}
void TasksArrayController::setDueDateToEmpty()
{
    changeSelected(QStringLiteral("Clear Due Date"), [](Task* t) { t->setDueDate(QDateTime()); }, false, false);
}
void TasksArrayController::setDueDateToStartDate()
{
    changeSelected(QStringLiteral("Set Due Date"), [](Task* t) { t->setDueDate(t->startDate()); }, false, false);
}
void TasksArrayController::setBothDatesToDayEarlier()
{
    changeSelected(QStringLiteral("Move Dates"), [](Task* t) {
        t->setStartDate(dayFrom(t, t->startDate(), -1));
        t->setDueDate(dayFrom(t, t->dueDate(), -1));
    }, false, false);
}
void TasksArrayController::setBothDatesToDayLater()
{
    changeSelected(QStringLiteral("Move Dates"), [](Task* t) {
        t->setStartDate(dayFrom(t, t->startDate(), 1));
        t->setDueDate(dayFrom(t, t->dueDate(), 1));
    }, false, false);
}

void TasksArrayController::processAndReviewTasks()
{
    if (selectedObjects().empty()) {
        if (arrangedObjects().empty())
            return;
        m_selection = {arrangedObjects().front()};
    }
    host().showMoveToSheet(*this);
}

void TasksArrayController::remove()
{
    const std::vector<Task*> doomed = selectedObjects();
    if (doomed.empty())
        return;
    UndoGrouping step(store().undoManager(), doomed.size() == 1 ? QStringLiteral("Delete Task") : QStringLiteral("Delete Tasks"));
    for (Task* task : doomed)
        store().deleteObject(task);
    store().processPendingChanges();
    m_selection.clear();
    rearrangeObjects();
    taskCountsHasChanged();
}
