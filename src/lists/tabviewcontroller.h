#pragma once

#include "lists/viewmodes.h"
#include "store/predicate.h"

#include <QString>

#include <array>
#include <memory>
#include <optional>

class AllTasksArrayController;
class ArchiveCategory;
class ArchivedTasksArrayController;
class CompletedTasksArrayController;
class ContextArrayController;
class ContextTasksArrayController;
class ListHost;
class ObjectContext;
class Preferences;
class ProjectArrayController;
class ProjectTasksArrayController;
class SmartFoldersArrayController;
class TaskTableState;
class TasksArrayController;
template <class Folder> class TypedFolderArrayController;
using ArchiveCategoryArrayController = TypedFolderArrayController<ArchiveCategory>;

// The view switcher without its widgets: it owns the five task lists, the folder lists, the sort state
// of the five tables and the search, knows the current view, steps and toggles the modes of the current
// view, and routes the menu and toolbar commands to the list of the current view.
//
// The mode values live in the preferences. A run of the command line can override them for itself
// (setModesOverride) without writing them.
class TabViewController {
public:
    TabViewController(ObjectContext& store, Preferences& preferences, ListHost& host);
    ~TabViewController();
    TabViewController(const TabViewController&) = delete;
    TabViewController& operator=(const TabViewController&) = delete;

    ObjectContext& store() const { return m_store; }
    Preferences& preferences() const { return m_preferences; }
    ListHost& host() const { return m_host; }

    ContextArrayController& contextController() const { return *m_contexts; }
    ProjectArrayController& projectController() const { return *m_projects; }
    SmartFoldersArrayController& smartFolderController() const { return *m_smartFolders; }
    ArchiveCategoryArrayController& archiveCategoryController() const { return *m_archiveCategories; }

    ContextTasksArrayController& contextTasks() const { return *m_contextTasks; }
    ProjectTasksArrayController& projectTasks() const { return *m_projectTasks; }
    AllTasksArrayController& allTasks() const { return *m_allTasks; }
    CompletedTasksArrayController& completedTasks() const { return *m_completedTasks; }
    ArchivedTasksArrayController& archivedTasks() const { return *m_archivedTasks; }
    TasksArrayController& taskList(TaskView view) const;
    TaskTableState& tableState(TaskView view) const { return *m_tables[size_t(view)]; }

    ViewModes modes(TaskView view) const;
    void setModesOverride(TaskView view, const ViewModes& modes);

    // The search field: a task matches when its name, note, tags or contacts contain the text, ignoring
    // case. "" clears it.
    void setSearchText(const QString& text);
    const QString& searchText() const { return m_searchText; }
    const std::optional<Predicate>& searchPredicate() const { return m_searchPredicate; }

    TaskView selectedTab() const { return m_current; }
    int getSelectedTabIndex() const { return int(m_current); }
    void selectTab(TaskView view);
    void selectContextTasksTab() { selectTab(TaskView::Contexts); }
    void selectProjectTasksTab() { selectTab(TaskView::Projects); }
    void selectAllTasksTab() { selectTab(TaskView::ToComplete); }
    void selectCompletedTasksTab() { selectTab(TaskView::Completed); }
    void selectArchivedTasksTab() { selectTab(TaskView::Archive); }
    void selectPreviousTab();
    void selectNextTab();
    void selectLastUsedTab();
    void saveLastUsedTab();

    void selectPreviousMode();
    void selectNextMode();
    void selectPreviousWaitMode();
    void selectNextWaitMode();
    void switchFlaggedMode();
    void switchNextActionsMode();

    // The list that a routed command reaches in the current view, or nullptr where it does nothing.
    enum class Route { NewTask, ProcessReview, Toggle, Duplicate, Dates, Refetch };
    TasksArrayController* routedList(Route route) const;

    void performNewTaskAction();
    void performNewFolderAction();
    void performNewSubfolderAction();
    QString currentTaskContainer() const;
    void performProcessReviewAction();
    void performFlagAction();
    void performWaitForTaskAction();
    void performMarkAsMaybeAction();
    void performDuplicateAction();
    void performCleanUpAction();
    void performRefetchAction();
    void toggleNaturalOrderSorting();
    void performQuickEntryModeAction();
    void updateAllControllerPredicates();

private:
    void stepMode(int ViewModes::*mode, int delta, int last);
    void toggleMode(bool ViewModes::*mode, const QString ViewModeKeys::*key);
    void writeMode(TaskView view, const ViewModes& modes);
    void addArchiveCategory(ArchiveCategory* parent);

    ObjectContext& m_store;
    Preferences& m_preferences;
    ListHost& m_host;
    TaskView m_current = TaskView::Contexts;
    QString m_searchText;
    std::optional<Predicate> m_searchPredicate;
    std::array<std::optional<ViewModes>, kTaskViewCount> m_modeOverrides;

    std::unique_ptr<ContextArrayController> m_contexts;
    std::unique_ptr<ProjectArrayController> m_projects;
    std::unique_ptr<SmartFoldersArrayController> m_smartFolders;
    std::unique_ptr<ArchiveCategoryArrayController> m_archiveCategories;
    std::unique_ptr<ContextTasksArrayController> m_contextTasks;
    std::unique_ptr<ProjectTasksArrayController> m_projectTasks;
    std::unique_ptr<AllTasksArrayController> m_allTasks;
    std::unique_ptr<CompletedTasksArrayController> m_completedTasks;
    std::unique_ptr<ArchivedTasksArrayController> m_archivedTasks;
    std::array<std::unique_ptr<TaskTableState>, kTaskViewCount> m_tables;
};
