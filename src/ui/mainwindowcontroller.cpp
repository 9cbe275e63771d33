#include "ui/mainwindowcontroller.h"

#include "app/applicationservices.h"
#include "app/coredataappdelegate.h"
#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/taskcommands.h"
#include "lists/tasksarraycontroller.h"
#include "model/task.h"
#include "store/log.h"
#include "store/objectcontext.h"
#include "ui/archivingsheet.h"
#include "ui/dialogs.h"
#include "ui/filecommands.h"
#include "ui/foldertreeview.h"
#include "ui/icons.h"
#include "ui/maintoolbar.h"
#include "ui/mainwindow.h"
#include "ui/movetosheet.h"
#include "ui/smartfolderpropertiesdialog.h"
#include "ui/statuslabel.h"
#include "ui/taskdetailpane.h"
#include "ui/tasktableview.h"
#include "ui/versioncheckalerts.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTextEdit>
#include <QTimer>

namespace {

const char* const kViewNames[kTaskViewCount] = {"contexts", "projects", "toComplete", "completed", "archive"};
const char* const kToolbarItemForView[kTaskViewCount] = {"mainToolbarContexts", "mainToolbarProjects", "mainToolbarNextActions",
                                                         "mainToolbarCompleted", "mainToolbarArchive"};

QString splitterKey(int view)
{
    return QStringLiteral("splitterSizes_%1").arg(QLatin1String(kViewNames[view]));
}

} // namespace

MainWindowController::MainWindowController(CoreData_AppDelegate& delegate, Preferences& preferences,
                                           ApplicationServices& services, Dialogs& dialogs)
    : m_delegate(delegate),
      m_store(delegate.managedObjectContext()),
      m_preferences(preferences),
      m_services(services),
      m_dialogs(dialogs)
{
    m_views = std::make_unique<TabViewController>(m_store, m_preferences, *this);
    m_window = std::make_unique<MainWindow>();
    m_window->setWindowIcon(vyroIcon(QStringLiteral("vyro")));
    m_window->setCloseHandler([this] {
        if (m_close)
            m_close();
        else if (m_quit)
            m_quit();
        return false; // the quit sequence closes the window itself when it goes ahead
    });
    m_files = new FileCommands(m_window.get(), *m_views, m_preferences, m_dialogs,
                               [this] { return m_delegate.currentDataFilePath(); });
    m_files->setImportHandler([this] { showListChanges(); });
    buildToolbar();
    buildViews();
    buildMenus();

    connect(&m_store, &ObjectContext::undoStateChanged, this, &MainWindowController::updateUndoActions);
    connect(&m_store, &ObjectContext::objectsDidChange, this, [this] {
        // Many batches may close in one turn of the event loop; the status line is counted once.
        if (m_statusPending)
            return;
        m_statusPending = true;
        QTimer::singleShot(0, this, [this] {
            m_statusPending = false;
            updateStatus();
        });
    });
    updateUndoActions();
}

VersionCheckAlerts& MainWindowController::versionCheck()
{
    if (!m_versionCheck)
        m_versionCheck = std::make_unique<VersionCheckAlerts>(m_preferences, m_dialogs, m_window.get());
    return *m_versionCheck;
}

MainWindowController::~MainWindowController()
{
    // A check still under way must not answer into a window that is gone.
    m_versionCheck.reset();
    // The widgets observe the lists: they go first.
    m_window.reset();
}

TaskView MainWindowController::currentView() const
{
    return m_views->selectedTab();
}

void MainWindowController::buildToolbar()
{
    m_toolbar = new MainToolbar(m_preferences, m_window.get());
    m_window->addToolBar(Qt::TopToolBarArea, m_toolbar);
    auto route = [this](const char* id, std::function<void()> run) {
        connect(m_toolbar->itemAction(QString::fromLatin1(id)), &QAction::triggered, this, [run] { run(); });
    };
    route("mainToolbarInbox", [this] { jumpToInbox(); });
    route("mainToolbarContexts", [this] { m_views->selectContextTasksTab(); });
    route("mainToolbarProjects", [this] { m_views->selectProjectTasksTab(); });
    route("mainToolbarNextActions", [this] { m_views->selectAllTasksTab(); });
    route("mainToolbarCompleted", [this] { m_views->selectCompletedTasksTab(); });
    route("mainToolbarArchive", [this] { m_views->selectArchivedTasksTab(); });
    route("mainToolbarProcessReview", [this] { m_views->performProcessReviewAction(); });
    route("mainToolbarSync", [this] { m_services.doSync(); });
    connect(m_toolbar, &MainToolbar::hideRequested, m_toolbar, &QWidget::hide);
    connect(m_toolbar->searchField(), &QLineEdit::textChanged, this, &MainWindowController::searchTextChanged);
    // Return goes on to the results, with the first one selected when nothing is, as Tab would.
    connect(m_toolbar->searchField(), &QLineEdit::returnPressed, this, [this] {
        TasksArrayController& results = m_views->taskList(currentView());
        if (results.selectedObjects().empty() && !results.arrangedObjects().empty())
            results.selectObject(results.arrangedObjects().front());
        focusTaskTable();
        updateDetailPane();
    });
    m_searchField = m_toolbar->searchField();
    m_searchField->installEventFilter(this);
}

void MainWindowController::buildViews()
{
    m_stack = new QStackedWidget;
    m_stack->setObjectName(QStringLiteral("views"));
    for (int v = 0; v < kTaskViewCount; ++v) {
        const auto view = TaskView(v);
        // Each table arranges its list when its view first comes forward (or, by attachAllTables, once
        // the window has been painted), so the start arranges one list, not five.
        auto* table = new TaskTableView(*m_views, TaskTableKind(v), nullptr, TaskTableModel::Attach::Later);
        m_tables[size_t(v)] = table;
        connect(table, &TaskTableView::taskSelectionChanged, this, &MainWindowController::updateDetailPane);
        auto* splitter = new QSplitter(Qt::Horizontal);
        splitter->setObjectName(QStringLiteral("%1Splitter").arg(QLatin1String(kViewNames[v])));
        splitter->setChildrenCollapsible(false);
        if (view != TaskView::Completed) {
            auto* folders = new FolderTreeView(*m_views, view);
            folders->setMinimumWidth(160);
            m_folders[size_t(v)] = folders;
            splitter->addWidget(folders);
            connect(folders, &FolderTreeView::folderSelectionChanged, this, [this, table] {
                table->showListSelection();
                updateDetailPane();
            });
        }
        splitter->addWidget(table);
        splitter->setStretchFactor(splitter->count() - 1, 1);
        if (splitter->count() == 2)
            splitter->setSizes({190, 810});
        m_viewSplitters[size_t(v)] = splitter;
        m_stack->addWidget(splitter);
    }

    m_detail = new TaskDetailPane(*m_views);
    m_detail->setObjectName(QStringLiteral("detailPane"));

    m_mainSplitter = new QSplitter(Qt::Horizontal);
    m_mainSplitter->setObjectName(QStringLiteral("mainSplitter"));
    m_mainSplitter->setChildrenCollapsible(true);
    m_mainSplitter->addWidget(m_stack);
    m_mainSplitter->addWidget(m_detail);
    m_mainSplitter->setStretchFactor(0, 1);
    m_mainSplitter->setCollapsible(0, false);
    m_mainSplitter->setSizes({1000, 290});
    m_window->setCentralWidget(m_mainSplitter);

    m_status = new StatusLabelController;
    m_window->statusBar()->addWidget(m_status, 1);
    m_window->statusBar()->setSizeGripEnabled(true);
}

QAction* MainWindowController::addAction(QMenu* menu, const QString& name, const QString& text, const QKeySequence& shortcut,
                                         std::function<void()> run)
{
    auto* action = new QAction(text, m_window.get());
    action->setObjectName(name);
    if (!shortcut.isEmpty()) {
        action->setShortcut(shortcut);
        action->setShortcutContext(Qt::WindowShortcut);
    }
    // Each command is a step of its own on the undo stack: what came before is closed off first, and
    // what the command changed is taken in before the next event.
    connect(action, &QAction::triggered, this, [this, run = std::move(run)] {
        m_store.processPendingChanges();
        run();
        m_store.processPendingChanges();
    });
    if (menu)
        menu->addAction(action);
    m_window->addAction(action);
    m_actions.insert(name, action);
    return action;
}

// ---- window commands

void MainWindowController::floatingAction()
{
    const bool floating = m_window->windowFlags().testFlag(Qt::WindowStaysOnTopHint);
    m_window->setWindowFlag(Qt::WindowStaysOnTopHint, !floating);
    m_window->show();
    if (QAction* a = action(QStringLiteral("floatingAction")))
        a->setChecked(!floating);
}

void MainWindowController::bringAppToFront()
{
    bringMainWindowToFront(true);
}

void MainWindowController::jumpToInbox()
{
    if (Context* inbox = m_views->contextController().inboxContext())
        m_views->contextController().switchToGivenContext(inbox, nullptr, true);
    if (FolderTreeView* tree = folderPane(TaskView::Contexts))
        tree->showListSelection();
    table(TaskView::Contexts).showListSelection();
    bringAppToFront();
}

void MainWindowController::jumpToNextActionsSmartFolder()
{
    SmartFoldersArrayController& folders = m_views->smartFolderController();
    folders.switchToGivenSmartFolder(folders.nextActionSmartFolder(), nullptr, false);
    if (FolderTreeView* tree = folderPane(TaskView::ToComplete))
        tree->showListSelection();
}

void MainWindowController::performFindAction()
{
    m_toolbar->searchField()->setFocus(Qt::ShortcutFocusReason);
    m_toolbar->searchField()->selectAll();
}

void MainWindowController::performFindInAllFoldersAction()
{
    const TaskView view = currentView();
    if (view == TaskView::Contexts || view == TaskView::Projects || view == TaskView::Archive) {
        if (FolderTreeView* tree = folderPane(view)) {
            tree->expandAllFolders();
            tree->selectAllFolders();
        }
    }
    performFindAction();
}

void MainWindowController::performFindTagAction(const QString& tag)
{
    m_views->selectAllTasksTab();
    performFindAction();
    m_toolbar->searchField()->setText(tag);
}

void MainWindowController::performQuickTagAction(int number)
{
    if (number <= 0)
        return;
    applyQuickTagsForID(m_views->taskList(currentView()), m_preferences, number);
    updateDetailPane();
}

// ---- search

// Going into the search field readies the list on show for filtering key by key, so that already the
// first key costs one pass over the tasks.
bool MainWindowController::eventFilter(QObject* watched, QEvent* event)
{
    // The field itself is compared, not asked through the toolbar: events still come while the
    // toolbar is being destroyed.
    if (event->type() == QEvent::FocusIn && watched == m_searchField)
        m_views->taskList(currentView()).prepareForNewFilters();
    return QObject::eventFilter(watched, event);
}

void MainWindowController::searchTextChanged(const QString& text)
{
    m_views->setSearchText(text);
    refreshCurrentSearch();
}

// Only the list on show is filtered at each keystroke; the others catch up when they come forward, so
// a search costs one list, not five.
void MainWindowController::refreshCurrentSearch()
{
    const auto v = size_t(currentView());
    if (m_searchApplied[v] == m_views->searchText())
        return;
    m_searchApplied[v] = m_views->searchText();
    m_views->taskList(currentView()).updatePredicate();
    table(currentView()).showListSelection();
    updateStatus();
}

// ---- ListHost

void MainWindowController::attachAllTables()
{
    for (TaskTableView* t : m_tables)
        t->attachList();
}

void MainWindowController::showView(TaskView view)
{
    table(view).attachList();
    m_stack->setCurrentIndex(int(view));
    m_toolbar->selectToolbarItem(QString::fromLatin1(kToolbarItemForView[int(view)]));
    refreshCurrentSearch();
    if (FolderTreeView* tree = folderPane(view))
        tree->showListSelection();
    updateViewActions();
    updateDetailPane();
}

void MainWindowController::bringMainWindowToFront(bool makeKey)
{
    if (m_window->isMinimized())
        m_window->showNormal();
    m_window->show();
    m_window->raise();
    if (makeKey)
        m_window->activateWindow();
}

void MainWindowController::activateApplication()
{
    bringMainWindowToFront(true);
}

void MainWindowController::clearSearchField()
{
    m_toolbar->searchField()->clear();
}

void MainWindowController::beginEditing(Record* object, const QString& column)
{
    TaskTableView& t = table(currentView());
    t.showListSelection();
    t.beginEditing(object, column);
}

void MainWindowController::rearrangeFolderTree(TaskView view)
{
    if (FolderTreeView* tree = folderPane(view))
        tree->refreshCounters();
}

void MainWindowController::refetchFolderTree(TaskView view)
{
    if (FolderTreeView* tree = folderPane(view)) {
        tree->refetch();
        tree->showListSelection();
    }
}

void MainWindowController::showMoveToSheet(TasksArrayController& list)
{
    if (!m_moveToSheet)
        m_moveToSheet = new MoveToSheet(*m_views, m_window.get());
    m_moveToSheet->open(list);
}

// In this window the task table closes its view's key order, so focus stays on it.
void MainWindowController::focusNextControl() {}

void MainWindowController::focusFolderList()
{
    if (FolderTreeView* tree = folderPane(currentView())) {
        tree->showListSelection();
        tree->setFocus(Qt::OtherFocusReason);
    }
}

void MainWindowController::focusTaskTable()
{
    TaskTableView& t = table(currentView());
    t.showListSelection();
    t.setFocus(Qt::OtherFocusReason);
}

void MainWindowController::showSmartFolderProperties(SmartFolder* folder)
{
    if (!folder)
        return;
    if (!m_smartFolderProperties) {
        m_smartFolderProperties = new SmartFolderPropertiesDialog(*m_views, m_window.get());
        connect(m_smartFolderProperties, &QDialog::finished, this, [this] {
            refetchFolderTree(TaskView::ToComplete);
            table(TaskView::ToComplete).showListSelection();
            updateStatus();
        });
    }
    m_smartFolderProperties->showProperties(folder);
}

void MainWindowController::showWarning(const QString& title, const QString& text)
{
    m_dialogs.warn(m_window.get(), title, text);
}

bool MainWindowController::confirm(const QString& title, const QString& text, const QString& defaultButton,
                                   const QString& otherButton)
{
    return m_dialogs.confirm(m_window.get(), title, text, defaultButton, otherButton);
}

void MainWindowController::postNotification(const DesktopNotification& notification)
{
    // The status line tells of it too: without a notification service it is all the user sees.
    m_status->updateStatusTo(notification.description.isEmpty() ? notification.title : notification.description);
    m_services.postNotification(notification);
}

// ---- state kept across runs

void MainWindowController::selectLastUsedTab()
{
    m_views->selectLastUsedTab(); // shows the view through showView
}

void MainWindowController::saveLastUsedTab()
{
    m_views->saveLastUsedTab();
}

void MainWindowController::restoreWindowState()
{
    const QByteArray frame = QByteArray::fromBase64(m_preferences.stringForKey("mainWindow").toLatin1());
    if (frame.isEmpty() || !m_window->restoreGeometry(frame))
        m_window->resize(1180, 720);
    const QByteArray main = QByteArray::fromBase64(m_preferences.stringForKey("mainWindowSplitter").toLatin1());
    if (!main.isEmpty())
        m_mainSplitter->restoreState(main);
    for (int v = 0; v < kTaskViewCount; ++v) {
        const QByteArray sizes = QByteArray::fromBase64(m_preferences.stringForKey(splitterKey(v)).toLatin1());
        if (!sizes.isEmpty())
            m_viewSplitters[size_t(v)]->restoreState(sizes);
    }
    m_toolbar->setVisible(!m_preferences.boolForKey("toolbarIsHidden"));
    if (QAction* a = action(QStringLiteral("toggleToolbarShown")))
        a->setChecked(m_toolbar->isVisibleTo(m_window.get()));
    if (m_preferences.boolForKey("floatingMainWindowByDefault"))
        floatingAction();
}

void MainWindowController::saveWindowState()
{
    m_preferences.setBool("toolbarIsHidden", !m_toolbar->isVisibleTo(m_window.get()));
    m_preferences.setString("mainWindow", QString::fromLatin1(m_window->saveGeometry().toBase64()));
    m_preferences.setString("mainWindowSplitter", QString::fromLatin1(m_mainSplitter->saveState().toBase64()));
    for (int v = 0; v < kTaskViewCount; ++v)
        m_preferences.setString(splitterKey(v), QString::fromLatin1(m_viewSplitters[size_t(v)]->saveState().toBase64()));
}

void MainWindowController::restoreSelectedObjects()
{
    for (FolderTreeView* tree : m_folders)
        if (tree)
            tree->restoreState();
    for (TaskTableView* t : m_tables)
        t->showListSelection();
    updateDetailPane();
}

void MainWindowController::saveSelectedObjects()
{
    for (FolderTreeView* tree : m_folders)
        if (tree)
            tree->saveState();
}

bool MainWindowController::commitEditing()
{
    // Moving the focus away ends an edit in progress the way the user leaving the field would.
    if (QWidget* focused = QApplication::focusWidget())
        focused->clearFocus();
    return true;
}

// ---- follow-ups

QWidget* MainWindowController::focusedEditor() const
{
    QWidget* focused = QApplication::focusWidget();
    if (qobject_cast<QLineEdit*>(focused) || qobject_cast<QTextEdit*>(focused) || qobject_cast<QPlainTextEdit*>(focused))
        return focused;
    return nullptr;
}

void MainWindowController::updateUndoActions()
{
    UndoStack& undo = m_store.undoManager();
    if (QAction* a = action(QStringLiteral("undo"))) {
        a->setEnabled(undo.canUndo());
        const QString name = undo.undoActionName();
        a->setText(name.isEmpty() ? QStringLiteral("&Undo") : QStringLiteral("&Undo %1").arg(name));
    }
    if (QAction* a = action(QStringLiteral("redo"))) {
        a->setEnabled(undo.canRedo());
        const QString name = undo.redoActionName();
        a->setText(name.isEmpty() ? QStringLiteral("&Redo") : QStringLiteral("&Redo %1").arg(name));
    }
}

void MainWindowController::updateStatus()
{
    const TaskView view = currentView();
    const qsizetype shown = qsizetype(m_views->taskList(view).arrangedObjects().size());
    const qsizetype selected = qsizetype(m_views->taskList(view).selectedObjects().size());
    const QLocale locale;
    QString text = shown == 1 ? QStringLiteral("1 task") : QStringLiteral("%1 tasks").arg(locale.toString(shown));
    if (selected > 1)
        text += QStringLiteral(", %1 selected").arg(locale.toString(selected));
    if (!m_views->searchText().isEmpty())
        text += QStringLiteral(" matching \u201C%1\u201D").arg(m_views->searchText());
    m_status->updateStatusTo(text);
}

void MainWindowController::showListChanges()
{
    table(currentView()).showListSelection();
    updateDetailPane();
}

// The status line counts the selection too, so it follows.
void MainWindowController::updateDetailPane()
{
    m_detail->setTasks(m_views->taskList(currentView()).selectedObjects());
    updateStatus();
}

void MainWindowController::updateViewActions()
{
    const TaskView view = currentView();
    if (QAction* a = action(QStringLiteral("performNewFolderAction"))) {
        QString title = m_views->currentTaskContainer(); // "New context": a menu entry capitalises each word
        for (qsizetype i = 1; i < title.size(); ++i)
            if (title[i - 1] == QLatin1Char(' '))
                title[i] = title[i].toUpper();
        a->setText(title);
    }
    const int v = int(view);
    for (int i = 0; i < kTaskViewCount; ++i)
        if (QAction* a = action(QStringLiteral("selectView%1").arg(i)))
            a->setChecked(i == v);
    auto enable = [this](const char* name, bool on) {
        if (QAction* a = action(QString::fromLatin1(name)))
            a->setEnabled(on);
    };
    const bool hasModes = v <= 2;
    enable("selectPreviousMode", hasModes);
    enable("selectNextMode", hasModes);
    enable("selectPreviousWaitMode", hasModes);
    enable("selectNextWaitMode", hasModes);
    enable("switchFlaggedMode", v != 3);
    enable("switchNextActionsMode", v == 0 || v == 2);
    enable("toggleNaturalOrderSorting", v <= 1);
    enable("performNewFolderAction", v != 3);
    enable("performNewSubfolderAction", v == 0 || v == 1 || v == 4);
    enable("expandAllOutlineItems", v == 0 || v == 1 || v == 4);
    enable("collapseAllOutlineItems", v == 0 || v == 1 || v == 4);
    enable("performProcessReviewAction", hasModes);
    enable("performArchiveTaskAction", v <= 3);
    enable("performPromoteTaskToProjectAction", hasModes);
}
