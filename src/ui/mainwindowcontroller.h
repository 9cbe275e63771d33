#pragma once

#include "lists/listhost.h"
#include "lists/viewmodes.h"

#include <QHash>
#include <QObject>
#include <QPointer>

#include <array>
#include <functional>
#include <memory>

class ApplicationServices;
class ArchivingSheet;
class CoreData_AppDelegate;
class Dialogs;
class FileCommands;
class FolderTreeView;
class MainToolbar;
class MainWindow;
class MoveToSheet;
class ObjectContext;
class Preferences;
class PreferencesWindow;
class SmartFolderPropertiesDialog;
class QAction;
class QMenu;
class QSplitter;
class QStackedWidget;
class StatusLabelController;
class TabViewController;
class TaskDetailPane;
class TaskTableView;
class VersionCheckAlerts;

// The main window's controller: builds the window (toolbar, the five views, each a folder pane beside
// its task table, the detail pane, the menus and the status line), answers the lists' requests as their
// ListHost, and routes every menu and toolbar command to the view switcher, which decides which list
// gets it. It decides nothing a list could decide.
//
// The window's undo is the store's: each command is one named step, and Edit › Undo shows its name.
class MainWindowController : public QObject, public ListHost {
    Q_OBJECT
public:
    MainWindowController(CoreData_AppDelegate& delegate, Preferences& preferences, ApplicationServices& services,
                         Dialogs& dialogs);
    ~MainWindowController() override;

    MainWindow& window() const { return *m_window; }
    TabViewController& views() const { return *m_views; }
    MainToolbar& toolbar() const { return *m_toolbar; }
    StatusLabelController& statusLabel() const { return *m_status; }
    TaskDetailPane& detailPane() const { return *m_detail; }
    TaskTableView& table(TaskView view) const { return *m_tables[size_t(view)]; }
    // nullptr for the completed view, which has no folder pane.
    FolderTreeView* folderPane(TaskView view) const { return m_folders[size_t(view)]; }
    // Every command by its name ("performNewTaskAction", "selectNextTab", "undo" …), for tests.
    QAction* action(const QString& name) const { return m_actions.value(name); }
    QList<QAction*> allActions() const { return m_actions.values(); }

    // The tables of the views not yet shown arrange their lists (the start leaves them for later).
    void attachAllTables();
    // Start-up: the last used view, the window frame and panes, the toolbar's visibility.
    void selectLastUsedTab();
    void restoreWindowState();
    void restoreSelectedObjects();
    // Quit: the same, written back.
    void saveWindowState();
    void saveLastUsedTab();
    void saveSelectedObjects();
    // Asks the editors to finish: an edit in progress is committed, as leaving the field would.
    bool commitEditing();

    // The quit command and the window's close button go here; the application runs the quit sequence.
    void setQuitHandler(std::function<void()> quit) { m_quit = std::move(quit); }
    // The window's close button; without a handler it quits.
    void setCloseHandler(std::function<void()> close) { m_close = std::move(close); }
    void setSaveHandler(std::function<void()> save) { m_save = std::move(save); }
    // Opens the preferences window (true: at its quick-tags tab).
    void setPreferencesHandler(std::function<void(bool)> show) { m_preferencesHandler = std::move(show); }
    // The File menu's quick add and quick type-in commands; the application owns those windows.
    void setQuickEntryHandlers(std::function<void()> quickAdd, std::function<void()> quickTypeIn)
    {
        m_quickAdd = std::move(quickAdd);
        m_quickTypeIn = std::move(quickTypeIn);
    }

    // Window commands.
    void floatingAction();
    void bringAppToFront();
    void jumpToInbox();
    void jumpToNextActionsSmartFolder();
    void performFindAction();
    void performFindInAllFoldersAction();
    void performFindTagAction(const QString& tag);
    void performQuickTagAction(int number);
    // The quick-tags menu from the preferences: one item per filled quick tag.
    void rebuildQuickTagsMenu();
    // The version check and its alerts on this window (the Help menu's command and the start's quiet one).
    VersionCheckAlerts& versionCheck();
    // Export, import, the manual backup and the reveal commands of the File menu.
    FileCommands& files() const { return *m_files; }

    // ListHost
    void showView(TaskView view) override;
    void bringMainWindowToFront(bool makeKey) override;
    void activateApplication() override;
    void clearSearchField() override;
    void beginEditing(Record* object, const QString& column) override;
    void rearrangeFolderTree(TaskView view) override;
    void refetchFolderTree(TaskView view) override;
    void showMoveToSheet(TasksArrayController& list) override;
    void focusNextControl() override;
    void focusFolderList() override;
    void focusTaskTable() override;
    void showSmartFolderProperties(SmartFolder* folder) override;
    void showWarning(const QString& title, const QString& text) override;
    bool confirm(const QString& title, const QString& text, const QString& defaultButton, const QString& otherButton) override;
    void postNotification(const DesktopNotification& notification) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildViews();
    void buildMenus();
    void buildToolbar();
    QAction* addAction(QMenu* menu, const QString& name, const QString& text, const QKeySequence& shortcut,
                       std::function<void()> run);
    void searchTextChanged(const QString& text);
    void refreshCurrentSearch();
    void updateUndoActions();
    void updateStatus();
    void updateDetailPane();
    // After a command on the current list: its table shows the list's selection, the pane its tasks.
    void showListChanges();
    void updateViewActions();
    TaskView currentView() const;
    QWidget* focusedEditor() const;

    CoreData_AppDelegate& m_delegate;
    ObjectContext& m_store;
    Preferences& m_preferences;
    ApplicationServices& m_services;
    Dialogs& m_dialogs;
    std::unique_ptr<TabViewController> m_views;
    std::unique_ptr<MainWindow> m_window;
    MainToolbar* m_toolbar = nullptr;
    QObject* m_searchField = nullptr; // the toolbar's search field, watched for the focus
    StatusLabelController* m_status = nullptr;
    TaskDetailPane* m_detail = nullptr;
    QStackedWidget* m_stack = nullptr;
    QMenu* m_quickTagsMenu = nullptr;
    QSplitter* m_mainSplitter = nullptr;
    std::array<QSplitter*, kTaskViewCount> m_viewSplitters{};
    std::array<TaskTableView*, kTaskViewCount> m_tables{};
    std::array<FolderTreeView*, kTaskViewCount> m_folders{};
    // The search text each view's list was last filtered with; a view catches up when it comes forward.
    std::array<QString, kTaskViewCount> m_searchApplied;
    QHash<QString, QAction*> m_actions;
    QPointer<MoveToSheet> m_moveToSheet;
    QPointer<ArchivingSheet> m_archivingSheet;
    QPointer<SmartFolderPropertiesDialog> m_smartFolderProperties;
    std::function<void()> m_quit;
    std::function<void()> m_close;
    std::function<void()> m_save;
    std::function<void(bool)> m_preferencesHandler;
    std::function<void()> m_quickAdd;
    std::function<void()> m_quickTypeIn;
    bool m_statusPending = false;
    std::unique_ptr<VersionCheckAlerts> m_versionCheck;
    FileCommands* m_files = nullptr; // owned by the window
};
