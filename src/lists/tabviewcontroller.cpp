#include "lists/tabviewcontroller.h"

#include "app/preferences.h"
#include "lists/alltasksarraycontroller.h"
#include "lists/archivedtasksarraycontroller.h"
#include "lists/completedtasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/listhost.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tasktablestate.h"
#include "model/archivecategory.h"
#include "model/cleanupcontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"
#include "model/tasksduplicator.h"
#include "store/objectcontext.h"

TabViewController::TabViewController(ObjectContext& store, Preferences& preferences, ListHost& host)
    : m_store(store), m_preferences(preferences), m_host(host)
{
    m_contexts = std::make_unique<ContextArrayController>(*this);
    m_projects = std::make_unique<ProjectArrayController>(*this);
    m_smartFolders = std::make_unique<SmartFoldersArrayController>(store, host);
    m_archiveCategories = std::make_unique<ArchiveCategoryArrayController>(
        store, QStringLiteral("archiveCategory"), QList<SortDescriptor>{SortDescriptor(QStringLiteral("name"), true, SortDescriptor::Comparison::CaseInsensitiveCompare)});
    m_contextTasks = std::make_unique<ContextTasksArrayController>(*this);
    m_projectTasks = std::make_unique<ProjectTasksArrayController>(*this);
    m_allTasks = std::make_unique<AllTasksArrayController>(*this);
    m_completedTasks = std::make_unique<CompletedTasksArrayController>(*this);
    m_archivedTasks = std::make_unique<ArchivedTasksArrayController>(*this);
    for (int i = 0; i < kTaskViewCount; ++i) {
        m_tables[size_t(i)] = std::make_unique<TaskTableState>(TaskTableKind(i), preferences);
        TasksArrayController& list = taskList(TaskView(i));
        TaskTableState& table = *m_tables[size_t(i)];
        table.setSortChangedHandler([&list, &table] { list.setSortDescriptors(table.sortDescriptors()); });
        list.setSortDescriptors(table.sortDescriptors());
    }
    updateAllControllerPredicates();
}

TabViewController::~TabViewController() = default;

TasksArrayController& TabViewController::taskList(TaskView view) const
{
    switch (view) {
    case TaskView::Contexts:
        return *m_contextTasks;
    case TaskView::Projects:
        return *m_projectTasks;
    case TaskView::ToComplete:
        return *m_allTasks;
    case TaskView::Completed:
        return *m_completedTasks;
    case TaskView::Archive:
        break;
    }
    return *m_archivedTasks;
}

ViewModes TabViewController::modes(TaskView view) const
{
    if (const auto& forced = m_modeOverrides[size_t(view)])
        return *forced;
    return readViewModes(view, m_preferences);
}

void TabViewController::setModesOverride(TaskView view, const ViewModes& modes)
{
    m_modeOverrides[size_t(view)] = modes;
    if (view == TaskView::Projects)
        m_projectTasks->setCompletedMode(modes.completed);
    taskList(view).updatePredicate();
}

void TabViewController::setSearchText(const QString& text)
{
    m_searchText = text;
    if (text.isEmpty())
        m_searchPredicate.reset();
    else
        m_searchPredicate = Predicate::fromFormat(
            QStringLiteral("name CONTAINS[c] %@ or content CONTAINS[c] %@ or tags CONTAINS[c] %@ or contact CONTAINS[c] %@"),
            {text, text, text, text});
}

void TabViewController::selectTab(TaskView view)
{
    if (view == TaskView::ToComplete)
        m_allTasks->rearrangeObjects();
    m_current = view;
    m_host.showView(view);
    m_host.activateApplication();
}

void TabViewController::selectPreviousTab()
{
    selectTab(TaskView((int(m_current) + kTaskViewCount - 1) % kTaskViewCount));
}

void TabViewController::selectNextTab()
{
    selectTab(TaskView((int(m_current) + 1) % kTaskViewCount));
}

void TabViewController::selectLastUsedTab()
{
    const int stored = m_preferences.integerForKey(QStringLiteral("tabIndexLastUsed"));
    selectTab(stored >= 0 && stored < kTaskViewCount ? TaskView(stored) : TaskView::Contexts);
}

void TabViewController::saveLastUsedTab()
{
    m_preferences.setInteger(QStringLiteral("tabIndexLastUsed"), int(m_current));
}

void TabViewController::writeMode(TaskView view, const ViewModes& modes)
{
    if (m_modeOverrides[size_t(view)]) {
        m_modeOverrides[size_t(view)] = modes;
    } else {
        const ViewModeKeys keys = viewModeKeys(view);
        if (!keys.time.isEmpty())
            m_preferences.setInteger(keys.time, modes.timeMode);
        if (!keys.owner.isEmpty())
            m_preferences.setInteger(keys.owner, modes.ownerMode);
        if (!keys.flagged.isEmpty())
            m_preferences.setBool(keys.flagged, modes.flagged);
        if (!keys.nextActions.isEmpty())
            m_preferences.setBool(keys.nextActions, modes.nextActions);
    }
    taskList(view).updatePredicate();
}

void TabViewController::stepMode(int ViewModes::*mode, int delta, int last)
{
    if (int(m_current) <= int(TaskView::ToComplete)) {
        ViewModes m = modes(m_current);
        int value = m.*mode + delta;
        if (value < 0)
            value = last;
        else if (value > last)
            value = 0;
        m.*mode = value;
        writeMode(m_current, m);
    }
    m_host.activateApplication();
}

void TabViewController::toggleMode(bool ViewModes::*mode, const QString ViewModeKeys::*key)
{
    if (!(viewModeKeys(m_current).*key).isEmpty()) {
        ViewModes m = modes(m_current);
        m.*mode = !(m.*mode);
        writeMode(m_current, m);
    }
    m_host.activateApplication();
}

void TabViewController::selectPreviousMode()
{
    stepMode(&ViewModes::timeMode, -1, 4);
}

void TabViewController::selectNextMode()
{
    stepMode(&ViewModes::timeMode, 1, 4);
}

void TabViewController::selectPreviousWaitMode()
{
    stepMode(&ViewModes::ownerMode, -1, 3);
}

void TabViewController::selectNextWaitMode()
{
    stepMode(&ViewModes::ownerMode, 1, 3);
}

void TabViewController::switchFlaggedMode()
{
    toggleMode(&ViewModes::flagged, &ViewModeKeys::flagged);
}

void TabViewController::switchNextActionsMode()
{
    toggleMode(&ViewModes::nextActions, &ViewModeKeys::nextActions);
}

TasksArrayController* TabViewController::routedList(Route route) const
{
    const TaskView v = m_current;
    switch (route) {
    case Route::NewTask:
        if (v == TaskView::Projects)
            return m_projectTasks.get();
        if (v == TaskView::Archive)
            return m_archivedTasks.get();
        return m_contextTasks.get();
    case Route::ProcessReview:
    case Route::Toggle:
    case Route::Dates:
        return int(v) <= int(TaskView::ToComplete) ? &taskList(v) : nullptr;
    case Route::Duplicate:
        return v != TaskView::Completed ? &taskList(v) : nullptr;
    case Route::Refetch:
        return &taskList(v);
    }
    return nullptr;
}

void TabViewController::performNewTaskAction()
{
    routedList(Route::NewTask)->insertNewTask();
}

void TabViewController::performNewFolderAction()
{
    switch (m_current) {
    case TaskView::Contexts:
        m_contexts->addNewContext(QStringLiteral("New context"));
        break;
    case TaskView::Projects:
        m_projects->addNewProject(QStringLiteral("New project"), nullptr);
        break;
    case TaskView::ToComplete:
        m_smartFolders->insertSmartFolder();
        break;
    case TaskView::Archive:
        addArchiveCategory(nullptr);
        break;
    case TaskView::Completed:
        break;
    }
}

void TabViewController::performNewSubfolderAction()
{
    switch (m_current) {
    case TaskView::Contexts:
        m_contexts->addNewContext(QStringLiteral("New context"), m_contexts->selectedObject());
        break;
    case TaskView::Projects:
        m_projects->addNewProject(QStringLiteral("New project"), m_projects->selectedObject());
        break;
    case TaskView::Archive:
        addArchiveCategory(m_archiveCategories->selectedObject());
        break;
    default:
        break;
    }
}

void TabViewController::addArchiveCategory(ArchiveCategory* parent)
{
    auto* category = m_store.insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
    category->setName(QStringLiteral("New category"));
    if (parent)
        parent->addSubcategoriesObject(category);
    m_host.refetchFolderTree(TaskView::Archive);
}

QString TabViewController::currentTaskContainer() const
{
    switch (m_current) {
    case TaskView::Projects:
        return QStringLiteral("New project");
    case TaskView::ToComplete:
        return QStringLiteral("New smart folder");
    default:
        return QStringLiteral("New context");
    }
}

void TabViewController::performProcessReviewAction()
{
    if (auto* list = routedList(Route::ProcessReview))
        list->processAndReviewTasks();
}

void TabViewController::performFlagAction()
{
    if (auto* list = routedList(Route::Toggle))
        list->flagAsNextAction();
}

void TabViewController::performWaitForTaskAction()
{
    if (auto* list = routedList(Route::Toggle))
        list->waitForTask();
}

void TabViewController::performMarkAsMaybeAction()
{
    if (auto* list = routedList(Route::Toggle))
        list->markAsMaybe();
}

void TabViewController::performDuplicateAction()
{
    auto* list = routedList(Route::Duplicate);
    if (!list)
        return;
    for (Task* task : list->selectedObjects())
        TasksDuplicator::duplicateTaskFrom(task);
    list->rearrangeObjects();
    list->taskCountsHasChanged();
}

void TabViewController::performCleanUpAction()
{
    CleanUpController::cleanUpTasks(m_store);
    performRefetchAction();
}

void TabViewController::performRefetchAction()
{
    m_host.refetchFolderTree(TaskView::Contexts);
    m_host.refetchFolderTree(TaskView::Projects);
    m_host.refetchFolderTree(TaskView::Archive);
    for (int i = 0; i < kTaskViewCount; ++i)
        taskList(TaskView(i)).rearrangeObjects();
}

void TabViewController::toggleNaturalOrderSorting()
{
    if (m_current == TaskView::Contexts || m_current == TaskView::Projects)
        tableState(m_current).toggleNaturalOrderSorting();
}

void TabViewController::performQuickEntryModeAction()
{
    m_preferences.setBool(QStringLiteral("quickEntryMode"), !m_preferences.boolForKey(QStringLiteral("quickEntryMode")));
}

void TabViewController::updateAllControllerPredicates()
{
    m_contextTasks->updatePredicate();
    m_projectTasks->updatePredicate();
    m_allTasks->updatePredicate();
    m_completedTasks->updatePredicate();
    m_archivedTasks->updatePredicate();
}
