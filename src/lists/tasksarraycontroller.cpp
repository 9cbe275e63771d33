#include "lists/tasksarraycontroller.h"

#include "app/preferences.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/cleanupcontroller.h"
#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/preparedpredicates.h"

#include <algorithm>
#include <unordered_set>

TasksArrayController::TasksArrayController(TabViewController& views, TaskView view) : m_views(views), m_view(view)
{
}

TasksArrayController::~TasksArrayController() = default;

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
    m_filter = std::move(predicate);
    rearrangeObjects();
}

void TasksArrayController::setSortDescriptors(QList<SortDescriptor> descriptors)
{
    m_sort = std::move(descriptors);
    rearrangeObjects();
}

void TasksArrayController::rearrangeObjects()
{
    m_stale = true;
}

const std::vector<Task*>& TasksArrayController::arrangedObjects() const
{
    if (m_stale)
        arrange();
    return m_arranged;
}

void TasksArrayController::arrange() const
{
    m_stale = false;
    // Each task shown has its sort keys read as it passes the filter, while it is at hand. A long list
    // is filtered through the prepared form, which answers the same and reads each record without
    // lookups.
    const std::vector<Task*> tasks = content();
    std::vector<Record*> shown;
    std::vector<Value> keys;
    shown.reserve(tasks.size());
    keys.reserve(tasks.size() * size_t(m_sort.size()));
    constexpr size_t kPrepareFrom = 512;
    std::optional<PreparedPredicates> prepared;
    if (m_filter && tasks.size() >= kPrepareFrom)
        prepared.emplace(std::vector<PreparedPredicates::Entry>{{*m_filter, {}}}, tasks.front()->entity());
    for (Task* t : tasks) {
        if (t->isDeleted())
            continue;
        if (prepared ? !(prepared->evaluate(*t, 1) & 1) : (m_filter && !m_filter->evaluate(*t)))
            continue;
        shown.push_back(t);
        appendSortKeys(*t, m_sort, keys);
    }
    sortRecordsByKeys(shown, m_sort, keys);
    m_arranged.clear();
    m_arranged.reserve(shown.size());
    for (Record* r : shown)
        m_arranged.push_back(static_cast<Task*>(r));
    if (!m_selection.empty()) {
        const std::unordered_set<Task*> shown(m_arranged.begin(), m_arranged.end());
        std::erase_if(m_selection, [&](Task* t) { return !shown.contains(t); });
    }
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

void TasksArrayController::setSelectedObjects(std::vector<Task*> tasks)
{
    const std::vector<Task*>& shown = arrangedObjects();
    std::erase_if(tasks, [&shown](Task* t) { return std::find(shown.begin(), shown.end(), t) == shown.end(); });
    m_selection = std::move(tasks);
}

int TasksArrayController::firstSelectionIndex() const
{
    arrangedObjects();
    for (size_t i = 0; i < m_arranged.size(); ++i)
        if (std::find(m_selection.begin(), m_selection.end(), m_arranged[i]) != m_selection.end())
            return int(i);
    return -1;
}

int TasksArrayController::lastSelectionIndex() const
{
    arrangedObjects();
    for (size_t i = m_arranged.size(); i-- > 0;)
        if (std::find(m_selection.begin(), m_selection.end(), m_arranged[i]) != m_selection.end())
            return int(i);
    return -1;
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
void TasksArrayController::changeSelected(Change change, bool rearrange, bool counts)
{
    for (Task* task : selectedObjects())
        change(task);
    if (rearrange)
        rearrangeObjects();
    if (counts)
        taskCountsHasChanged();
}

void TasksArrayController::flagAsNextAction()
{
    changeSelected([](Task* t) { t->setNextAction(!t->nextAction()); }, true, true);
}

void TasksArrayController::waitForTask()
{
    changeSelected([](Task* t) { t->setWaitingFor(!t->waitingFor()); }, true, false);
}

void TasksArrayController::markAsMaybe()
{
    changeSelected([](Task* t) { t->setMaybe(!t->maybe()); }, true, true);
}

void TasksArrayController::markAsDone()
{
    changeSelected([](Task* t) { t->setDone(!t->done()); }, false, false);
    if (preferences().boolForKey(QStringLiteral("cleanUpImmediately")))
        cleanUpTasks();
    rearrangeObjects();
    taskCountsHasChanged();
}

void TasksArrayController::cleanUpTasks()
{
    CleanUpController::cleanUpTasks(store());
    taskCountsHasChanged();
}

void TasksArrayController::increaseEffort()
{
    changeSelected([](Task* t) { if (t->effort() < 4) t->setEffort(t->effort() + 1); }, true, false);
}

void TasksArrayController::decreaseEffort()
{
    changeSelected([](Task* t) { if (t->effort() > 1) t->setEffort(t->effort() - 1); }, true, false);
}

void TasksArrayController::setPriority(int priority)
{
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
    changeSelected([this](Task* t) { t->setStartDate(today()); }, false, false);
}
void TasksArrayController::setStartDateToDayEarlier()
{
    changeSelected([](Task* t) { t->setStartDate(dayFrom(t, t->startDate(), -1)); }, false, false);
}
void TasksArrayController::setStartDateToDayLater()
{
    changeSelected([](Task* t) { t->setStartDate(dayFrom(t, t->startDate(), 1)); }, false, false);
}
void TasksArrayController::setStartDateToEmpty()
{
    changeSelected([](Task* t) { t->setStartDate(QDateTime()); }, false, false);
}
void TasksArrayController::setStartDateToDueDate()
{
    changeSelected([](Task* t) { t->setStartDate(t->dueDate()); }, false, false);
}
void TasksArrayController::setDueDateToToday()
{
    changeSelected([this](Task* t) { t->setDueDate(today()); }, false, false);
}
void TasksArrayController::setDueDateToDayEarlier()
{
    changeSelected([](Task* t) { t->setDueDate(dayFrom(t, t->dueDate(), -1)); }, false, false);
}
void TasksArrayController::setDueDateToDayLater()
{
    changeSelected([](Task* t) { t->setDueDate(dayFrom(t, t->dueDate(), 1)); }, false, false);
}
void TasksArrayController::setDueDateToEmpty()
{
    changeSelected([](Task* t) { t->setDueDate(QDateTime()); }, false, false);
}
void TasksArrayController::setDueDateToStartDate()
{
    changeSelected([](Task* t) { t->setDueDate(t->startDate()); }, false, false);
}
void TasksArrayController::setBothDatesToDayEarlier()
{
    changeSelected([](Task* t) {
        t->setStartDate(dayFrom(t, t->startDate(), -1));
        t->setDueDate(dayFrom(t, t->dueDate(), -1));
    }, false, false);
}
void TasksArrayController::setBothDatesToDayLater()
{
    changeSelected([](Task* t) {
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
    for (Task* task : doomed)
        store().deleteObject(task);
    store().processPendingChanges();
    m_selection.clear();
    rearrangeObjects();
    taskCountsHasChanged();
}
