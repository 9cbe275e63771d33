// The main window's menus: every command with its shortcut. Keys that only the task tables take (Space,
// the digits, the arrows with their modifiers) are shown after a tab in the entry's text instead of
// being window shortcuts, which would take them from the tables and the text fields.
#include "ui/mainwindowcontroller.h"

#include "app/preferences.h"
#include "app/weblinks.h"
#include "lists/projectarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/statusmenucontent.h"
#include "lists/taskcommands.h"
#include "lists/tasksarraycontroller.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/objecturi.h"
#include "ui/archivingsheet.h"
#include "ui/filecommands.h"
#include "ui/foldertreeview.h"
#include "ui/icons.h"
#include "ui/maintoolbar.h"
#include "ui/mainwindow.h"
#include "ui/tasktableview.h"
#include "ui/versioncheckalerts.h"

#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QUrl>

void MainWindowController::buildMenus()
{
    QMenuBar* bar = m_window->menuBar();
    TabViewController& v = *m_views;
    auto list = [this]() -> TasksArrayController& { return m_views->taskList(currentView()); };
    auto routed = [this](TabViewController::Route route, auto command) {
        return [this, route, command] {
            if (TasksArrayController* l = m_views->routedList(route)) {
                command(*l);
                showListChanges();
            }
        };
    };
    auto tableOnly = [](const QString& text, const QString& keys) { return text + QLatin1Char('\t') + keys; };
    // Editing commands go to a text field that has the focus, else to the task table on show.
    auto editCommand = [this](auto onEditor, auto onTable) {
        return [this, onEditor, onTable] {
            if (QWidget* editor = focusedEditor())
                onEditor(editor);
            else
                onTable(table(currentView()));
        };
    };

    // File
    QMenu* file = bar->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("fileMenu"));
    addAction(file, QStringLiteral("performNewTaskAction"), QStringLiteral("&New Task"), QKeySequence::New, [this, &v] {
        UndoGrouping step(m_store.undoManager(), QStringLiteral("New Task"));
        v.performNewTaskAction();
    })
        ->setIcon(QIcon::fromTheme(QStringLiteral("list-add")));
    addAction(file, QStringLiteral("performNewFolderAction"), QStringLiteral("New Context"), QKeySequence(QStringLiteral("Ctrl+Shift+N")),
              [this] {
                  if (FolderTreeView* tree = folderPane(currentView()))
                      tree->newFolder();
              })
        ->setIcon(QIcon::fromTheme(QStringLiteral("folder-new")));
    addAction(file, QStringLiteral("performNewSubfolderAction"), QStringLiteral("New Subfolder"), QKeySequence(QStringLiteral("Ctrl+Alt+N")),
              [this] {
                  if (FolderTreeView* tree = folderPane(currentView()))
                      tree->newSubfolder();
              });
    addAction(file, QStringLiteral("renameFolder"), QStringLiteral("Rename Folder"), {}, [this] {
        if (FolderTreeView* tree = folderPane(currentView()))
            tree->renameSelected();
    });
    addAction(file, QStringLiteral("deleteFolder"), QStringLiteral("Delete Folder…"), {}, [this] {
        if (FolderTreeView* tree = folderPane(currentView()))
            tree->deleteSelected();
    });
    file->addSeparator();
    addAction(file, QStringLiteral("showQuickAddWindow"), QStringLiteral("Quick Add…"), {}, [this] {
        if (m_quickAdd)
            m_quickAdd();
    });
    addAction(file, QStringLiteral("showQuickTypeInWindow"), QStringLiteral("Quick Type-In…"), {}, [this] {
        if (m_quickTypeIn)
            m_quickTypeIn();
    });
    file->addSeparator();
    addAction(file, QStringLiteral("saveAction"), QStringLiteral("&Save"), QKeySequence::Save, [this] {
        if (m_save)
            m_save();
    })->setIcon(QIcon::fromTheme(QStringLiteral("document-save")));
    file->addSeparator();
    addAction(file, QStringLiteral("showImportDialog"), QStringLiteral("&Import from File…"), {}, [this] { m_files->showImportDialog(); });
    addAction(file, QStringLiteral("importTasksFromClipboard"), QStringLiteral("Import from Clip&board"), {},
              [this] { m_files->importTasksFromClipboard(); });
    addAction(file, QStringLiteral("showExportDialog"), QStringLiteral("&Export…"), QKeySequence(QStringLiteral("Ctrl+E")),
              [this] { m_files->showExportDialog(); })
        ->setIcon(QIcon::fromTheme(QStringLiteral("document-export")));
    file->addSeparator();
    addAction(file, QStringLiteral("backupManuallyAction"), QStringLiteral("Back &Up Data…"), {}, [this] { m_files->backupManuallyAction(); });
    QMenu* reveal = file->addMenu(QStringLiteral("Reveal in File &Manager"));
    reveal->setObjectName(QStringLiteral("revealMenu"));
    reveal->menuAction()->setObjectName(QStringLiteral("revealMenuAction"));
    addAction(reveal, QStringLiteral("revealDataFileInFileManager"), QStringLiteral("Data File"), {}, [this] { m_files->revealDataFile(); });
    addAction(reveal, QStringLiteral("revealBackupSyncFileInFileManager"), QStringLiteral("Calendar Sync Backup"), {},
              [this] { m_files->revealSyncBackup(); });
    addAction(reveal, QStringLiteral("revealBackupCloudDiskFileInFileManager"), QStringLiteral("Cloud Disk Backup"), {},
              [this] { m_files->revealCloudDiskBackup(); });
    addAction(reveal, QStringLiteral("revealDebugLogfileInFileManager"), QStringLiteral("Debug Log"), {}, [this] { m_files->revealDebugLog(); });
    file->addSeparator();
    addAction(file, QStringLiteral("showPreferences"), QStringLiteral("&Preferences…"), QKeySequence::Preferences, [this] {
        if (m_preferencesHandler)
            m_preferencesHandler(false);
    })->setIcon(QIcon::fromTheme(QStringLiteral("configure")));
    addAction(file, QStringLiteral("customizeQuickTags"), QStringLiteral("Customize Quick Tags…"), {}, [this] {
        if (m_preferencesHandler)
            m_preferencesHandler(true);
    });
    file->addSeparator();
    addAction(file, QStringLiteral("closeWindow"), QStringLiteral("&Close Window"), QKeySequence::Close, [this] { m_window->showMinimized(); });
    addAction(file, QStringLiteral("quit"), QStringLiteral("&Quit"), QKeySequence::Quit, [this] {
        if (m_quit)
            m_quit();
    })->setIcon(QIcon::fromTheme(QStringLiteral("application-exit")));

    // Edit
    QMenu* edit = bar->addMenu(QStringLiteral("&Edit"));
    edit->setObjectName(QStringLiteral("editMenu"));
    addAction(edit, QStringLiteral("undo"), QStringLiteral("&Undo"), QKeySequence::Undo, [this] {
        commitEditing();
        m_store.processPendingChanges(); // what was just done becomes the step to undo
        m_store.undo();
        showListChanges();
    })->setIcon(QIcon::fromTheme(QStringLiteral("edit-undo")));
    addAction(edit, QStringLiteral("redo"), QStringLiteral("&Redo"), QKeySequence::Redo, [this] {
        commitEditing();
        m_store.processPendingChanges();
        m_store.redo();
        showListChanges();
    })->setIcon(QIcon::fromTheme(QStringLiteral("edit-redo")));
    edit->addSeparator();
    auto textCall = [](QWidget* w, const char* slot) { QMetaObject::invokeMethod(w, slot); };
    addAction(edit, QStringLiteral("cut"), QStringLiteral("Cu&t"), QKeySequence::Cut,
              editCommand([textCall](QWidget* w) { textCall(w, "cut"); }, [](TaskTableView& t) { t.cut(); }))
        ->setIcon(QIcon::fromTheme(QStringLiteral("edit-cut")));
    addAction(edit, QStringLiteral("copy"), QStringLiteral("&Copy"), QKeySequence::Copy,
              editCommand([textCall](QWidget* w) { textCall(w, "copy"); }, [](TaskTableView& t) { t.copy(); }))
        ->setIcon(QIcon::fromTheme(QStringLiteral("edit-copy")));
    addAction(edit, QStringLiteral("paste"), QStringLiteral("&Paste"), QKeySequence::Paste,
              editCommand([textCall](QWidget* w) { textCall(w, "paste"); }, [](TaskTableView& t) { t.paste(); }))
        ->setIcon(QIcon::fromTheme(QStringLiteral("edit-paste")));
    addAction(edit, QStringLiteral("selectAll"), QStringLiteral("Select &All"), QKeySequence::SelectAll,
              editCommand([textCall](QWidget* w) { textCall(w, "selectAll"); }, [](TaskTableView& t) { t.selectAll(); }));
    addAction(edit, QStringLiteral("performCopyTaskAsLinkAction"), QStringLiteral("Copy Task as Link"), QKeySequence(QStringLiteral("Ctrl+Alt+L")),
              [this] {
                  const TaskView view = currentView();
                  if (view == TaskView::Completed)
                      return;
                  QStringList links;
                  for (Task* t : m_views->taskList(view).selectedObjects())
                      links << taskLinkFromObjectURI(t->uri());
                  if (!links.isEmpty())
                      QApplication::clipboard()->setText(links.join(QLatin1Char('\n')));
              });
    edit->addSeparator();
    addAction(edit, QStringLiteral("performFindAction"), QStringLiteral("&Find…"), QKeySequence::Find, [this] { performFindAction(); })
        ->setIcon(QIcon::fromTheme(QStringLiteral("edit-find")));
    addAction(edit, QStringLiteral("performFindInAllFoldersAction"), QStringLiteral("Find in All Folders…"),
              QKeySequence(QStringLiteral("Ctrl+Shift+F")), [this] { performFindInAllFoldersAction(); });
    edit->addSeparator();
    QAction* quickEntry = addAction(edit, QStringLiteral("performQuickEntryModeAction"), QStringLiteral("Quick-Entry Mode"),
                                    QKeySequence(QStringLiteral("Ctrl+Alt+E")), [this] {
                                        m_views->performQuickEntryModeAction();
                                        if (QAction* a = action(QStringLiteral("performQuickEntryModeAction")))
                                            a->setChecked(m_preferences.boolForKey("quickEntryMode"));
                                        if (currentView() == TaskView::Contexts || currentView() == TaskView::Projects)
                                            table(currentView()).setFocus(Qt::ShortcutFocusReason);
                                    });
    quickEntry->setCheckable(true);
    quickEntry->setChecked(m_preferences.boolForKey("quickEntryMode"));

    // Task
    QMenu* task = bar->addMenu(QStringLiteral("&Task"));
    task->setObjectName(QStringLiteral("taskMenu"));
    addAction(task, QStringLiteral("performProcessReviewAction"), QStringLiteral("Process/Review…\t@ or Ctrl+R"), QKeySequence(QStringLiteral("Ctrl+R")),
              [&v] { v.performProcessReviewAction(); })
        ->setIcon(vyroIcon(QStringLiteral("toolbar_process.png")));
    task->addSeparator();
    addAction(task, QStringLiteral("performFlagAction"), tableOnly(QStringLiteral("Flag as Next Action"), QStringLiteral("Space")), {},
              [this, &v] { v.performFlagAction(); showListChanges(); })
        ->setIcon(vyroIcon(QStringLiteral("flag.png")));
    addAction(task, QStringLiteral("markAsDone"), tableOnly(QStringLiteral("Mark as Done / Not Done"), QStringLiteral("Shift+Space")), {},
              [this, list] { list().markAsDone(); showListChanges(); });
    addAction(task, QStringLiteral("performMarkAsMaybeAction"), tableOnly(QStringLiteral("Mark as Maybe"), QStringLiteral("Ctrl+Space")), {},
              [this, &v] { v.performMarkAsMaybeAction(); showListChanges(); });
    addAction(task, QStringLiteral("performWaitForTaskAction"), QStringLiteral("Waiting For"), QKeySequence(QStringLiteral("Ctrl+Alt+W")),
              [this, &v] { v.performWaitForTaskAction(); showListChanges(); });
    QMenu* priority = task->addMenu(QStringLiteral("Priority"));
    for (int p = 1; p <= 5; ++p)
        addAction(priority, QStringLiteral("setPriority%1").arg(p), tableOnly(QStringLiteral("Priority %1").arg(p), QString::number(p)), {},
                  [this, list, p] { list().setPriority(p); showListChanges(); });
    QMenu* effort = task->addMenu(QStringLiteral("Effort"));
    addAction(effort, QStringLiteral("increaseEffort"), tableOnly(QStringLiteral("More Effort"), QStringLiteral("+")), {},
              [this, list] { list().increaseEffort(); showListChanges(); });
    addAction(effort, QStringLiteral("decreaseEffort"), tableOnly(QStringLiteral("Less Effort"), QStringLiteral("-")), {},
              [this, list] { list().decreaseEffort(); showListChanges(); });
    QMenu* start = task->addMenu(QStringLiteral("Start Date"));
    using R = TabViewController::Route;
    const struct {
        QMenu* menu;
        const char* name;
        const char* text;
        const char* keys;
        void (TasksArrayController::*command)();
    } dates[] = {
        {start, "setStartDateToToday", "Today", "Ctrl+Alt+T", &TasksArrayController::setStartDateToToday},
        {start, "setStartDateToDayEarlier", "One Day Earlier", "", &TasksArrayController::setStartDateToDayEarlier},
        {start, "setStartDateToDayLater", "One Day Later", "", &TasksArrayController::setStartDateToDayLater},
        {start, "setStartDateToDueDate", "Same as Due Date", "", &TasksArrayController::setStartDateToDueDate},
        {start, "setStartDateToEmpty", "None", "", &TasksArrayController::setStartDateToEmpty},
        {nullptr, "setDueDateToToday", "Today", "Ctrl+Alt+D", &TasksArrayController::setDueDateToToday},
        {nullptr, "setDueDateToDayEarlier", "One Day Earlier", "", &TasksArrayController::setDueDateToDayEarlier},
        {nullptr, "setDueDateToDayLater", "One Day Later", "", &TasksArrayController::setDueDateToDayLater},
        {nullptr, "setDueDateToStartDate", "Same as Start Date", "", &TasksArrayController::setDueDateToStartDate},
        {nullptr, "setDueDateToEmpty", "None", "", &TasksArrayController::setDueDateToEmpty},
        {nullptr, "setBothDatesToDayEarlier", "Both Dates One Day Earlier", "", &TasksArrayController::setBothDatesToDayEarlier},
        {nullptr, "setBothDatesToDayLater", "Both Dates One Day Later", "", &TasksArrayController::setBothDatesToDayLater},
    };
    QMenu* due = task->addMenu(QStringLiteral("Due Date"));
    for (const auto& d : dates) {
        auto command = d.command;
        addAction(d.menu ? d.menu : due, QString::fromLatin1(d.name), QString::fromUtf8(d.text), QKeySequence(QString::fromLatin1(d.keys)),
                  routed(R::Dates, [command](TasksArrayController& l) { (l.*command)(); }));
    }
    task->addSeparator();
    addAction(task, QStringLiteral("performDuplicateAction"), QStringLiteral("&Duplicate"), QKeySequence(QStringLiteral("Ctrl+D")),
              [this, &v] { v.performDuplicateAction(); showListChanges(); });
    addAction(task, QStringLiteral("performPromoteTaskToProjectAction"), QStringLiteral("Promote to Project"), QKeySequence(QStringLiteral("Ctrl+Alt+P")),
              [this] {
                  if (int(currentView()) > 2)
                      return;
                  promoteTaskToProject(m_views->taskList(currentView()));
                  refetchFolderTree(TaskView::Projects);
                  updateDetailPane();
              });
    addAction(task, QStringLiteral("performArchiveTaskAction"), QStringLiteral("Archive…"), QKeySequence(QStringLiteral("Ctrl+Alt+A")), [this] {
        if (currentView() == TaskView::Archive)
            return;
        if (!m_archivingSheet)
            m_archivingSheet = new ArchivingSheet(*m_views, m_window.get());
        m_archivingSheet->showArchivingSheet(m_views->taskList(currentView()));
    });
    addAction(task, QStringLiteral("remove"), tableOnly(QStringLiteral("Delete"), QStringLiteral("Del")), {}, [this, list] {
        list().remove();
        showListChanges();
    })->setIcon(QIcon::fromTheme(QStringLiteral("edit-delete")));
    task->addSeparator();
    addAction(task, QStringLiteral("performCleanUpAction"), QStringLiteral("Clean Up Completed Tasks"), QKeySequence(QStringLiteral("Ctrl+Alt+K")),
              [this, &v] { v.performCleanUpAction(); showListChanges(); });
    m_quickTagsMenu = task->addMenu(QStringLiteral("Quick Tags"));
    m_quickTagsMenu->setObjectName(QStringLiteral("quickTagsMenu"));
    rebuildQuickTagsMenu();

    // View
    QMenu* view = bar->addMenu(QStringLiteral("&View"));
    view->setObjectName(QStringLiteral("viewMenu"));
    auto* views = new QActionGroup(this);
    const char* const viewTitles[] = {"&Contexts", "&Projects", "&To Complete", "C&ompleted", "&Archive"};
    for (int i = 0; i < kTaskViewCount; ++i) {
        QAction* a = addAction(view, QStringLiteral("selectView%1").arg(i), QString::fromUtf8(viewTitles[i]),
                               QKeySequence(QStringLiteral("Ctrl+%1").arg(i + 1)), [&v, i] { v.selectTab(TaskView(i)); });
        a->setCheckable(true);
        views->addAction(a);
    }
    addAction(view, QStringLiteral("selectPreviousTab"), QStringLiteral("Previous View"), QKeySequence(QStringLiteral("Ctrl+PgUp")),
              [&v] { v.selectPreviousTab(); });
    addAction(view, QStringLiteral("selectNextTab"), QStringLiteral("Next View"), QKeySequence(QStringLiteral("Ctrl+PgDown")),
              [&v] { v.selectNextTab(); });
    view->addSeparator();
    auto modeCommand = [this](auto command) {
        return [this, command] {
            command();
            showListChanges();
        };
    };
    addAction(view, QStringLiteral("selectPreviousMode"), QStringLiteral("Previous Time Mode"), QKeySequence(QStringLiteral("Ctrl+[")),
              modeCommand([&v] { v.selectPreviousMode(); }));
    addAction(view, QStringLiteral("selectNextMode"), QStringLiteral("Next Time Mode"), QKeySequence(QStringLiteral("Ctrl+]")),
              modeCommand([&v] { v.selectNextMode(); }));
    addAction(view, QStringLiteral("selectPreviousWaitMode"), QStringLiteral("Previous Owner Mode"), QKeySequence(QStringLiteral("Ctrl+Alt+[")),
              modeCommand([&v] { v.selectPreviousWaitMode(); }));
    addAction(view, QStringLiteral("selectNextWaitMode"), QStringLiteral("Next Owner Mode"), QKeySequence(QStringLiteral("Ctrl+Alt+]")),
              modeCommand([&v] { v.selectNextWaitMode(); }));
    addAction(view, QStringLiteral("switchFlaggedMode"), QStringLiteral("Flagged Only"), QKeySequence(QStringLiteral("Ctrl+Alt+F")),
              modeCommand([&v] { v.switchFlaggedMode(); }));
    addAction(view, QStringLiteral("switchNextActionsMode"), QStringLiteral("Next Actions Only"), QKeySequence(QStringLiteral("Ctrl+Alt+X")),
              modeCommand([&v] { v.switchNextActionsMode(); }));
    view->addSeparator();
    addAction(view, QStringLiteral("toggleNaturalOrderSorting"), QStringLiteral("Own Order"), QKeySequence(QStringLiteral("Ctrl+Alt+O")),
              [this, &v] { v.toggleNaturalOrderSorting(); table(currentView()).showListSelection(); });
    addAction(view, QStringLiteral("expandAllOutlineItems"), QStringLiteral("Expand All Folders"), QKeySequence(QStringLiteral("Ctrl+Alt+=")),
              [this] {
                  if (FolderTreeView* tree = folderPane(currentView()))
                      tree->expandAllFolders();
              });
    addAction(view, QStringLiteral("collapseAllOutlineItems"), QStringLiteral("Collapse All Folders"), QKeySequence(QStringLiteral("Ctrl+Alt+-")),
              [this] {
                  if (FolderTreeView* tree = folderPane(currentView()))
                      tree->collapseAllFolders();
              });
    addAction(view, QStringLiteral("performRefetchAction"), QStringLiteral("Refresh"), QKeySequence::Refresh, [this, &v] {
        v.performRefetchAction();
        for (int i = 0; i < kTaskViewCount; ++i)
            refetchFolderTree(TaskView(i));
    });
    view->addSeparator();
    QAction* toolbarShown = addAction(view, QStringLiteral("toggleToolbarShown"), QStringLiteral("Show Toolbar"), {}, [this] {
        m_toolbar->setVisible(!m_toolbar->isVisibleTo(m_window.get()));
    });
    toolbarShown->setCheckable(true);
    toolbarShown->setChecked(true);
    connect(m_toolbar, &QToolBar::visibilityChanged, toolbarShown, &QAction::setChecked);

    // Window
    QMenu* window = bar->addMenu(QStringLiteral("&Window"));
    window->setObjectName(QStringLiteral("windowMenu"));
    addAction(window, QStringLiteral("jumpToInbox"), QStringLiteral("Go to Inbox"), QKeySequence(QStringLiteral("Ctrl+I")), [this] { jumpToInbox(); })
        ->setIcon(vyroIcon(QStringLiteral("toolbar_inbox.png")));
    addAction(window, QStringLiteral("jumpToNextActionsSmartFolder"), QStringLiteral("Go to Next Actions Folder"),
              QKeySequence(QStringLiteral("Ctrl+Shift+I")), [this] { jumpToNextActionsSmartFolder(); });
    window->addSeparator();
    QAction* floating = addAction(window, QStringLiteral("floatingAction"), QStringLiteral("Keep Above Other Windows"), {}, [this] { floatingAction(); });
    floating->setCheckable(true);
    addAction(window, QStringLiteral("bringAppToFront"), QStringLiteral("Bring Vyro to Front"), {}, [this] { bringAppToFront(); });
    addAction(window, QStringLiteral("minimize"), QStringLiteral("Minimize"), QKeySequence(QStringLiteral("Ctrl+M")), [this] { m_window->showMinimized(); });

    // Help
    QMenu* help = bar->addMenu(QStringLiteral("&Help"));
    help->setObjectName(QStringLiteral("helpMenu"));
    for (const WebLink& link : kHelpLinks) {
        QAction* a = addAction(help, QString::fromLatin1(link.command), QString::fromUtf8(link.title),
                               QString::fromLatin1(link.command) == QLatin1String("openHelp") ? QKeySequence(QKeySequence::HelpContents) : QKeySequence(),
                               [address = webLinkAddress(link)] { QDesktopServices::openUrl(QUrl(address)); });
        if (QString::fromLatin1(link.command) == QLatin1String("openFKeyApplications") || QString::fromLatin1(link.command) == QLatin1String("openWebsite")
            || QString::fromLatin1(link.command) == QLatin1String("mailSupport"))
            help->insertSeparator(a);
    }
    help->addSeparator();
    addAction(help, QStringLiteral("checkForNewVersion"), QStringLiteral("Check for New Version…"), {},
              [this] { versionCheck().checkForNewVersion(); });
    addAction(help, QStringLiteral("about"), QStringLiteral("About Vyro"), {}, [this] {
        QMessageBox::about(m_window.get(), QStringLiteral("About Vyro"),
                           QStringLiteral("<h3>Vyro %1</h3><p>A next-action task manager for the Linux desktop.</p>")
                               .arg(QCoreApplication::applicationVersion()));
    });
}

void MainWindowController::rebuildQuickTagsMenu()
{
    for (int n = 1; n <= 9; ++n) {
        if (QAction* old = m_actions.take(QStringLiteral("performQuickTagAction%1").arg(n)))
            delete old;
    }
    // The filled quick tags, ascending, above the menu's other items (there are none yet).
    QAction* first = m_quickTagsMenu->actions().value(0);
    for (const QuickTagMenuItem& item : quickTagMenuItems(m_preferences)) {
        QAction* action = addAction(nullptr, QStringLiteral("performQuickTagAction%1").arg(item.number), item.title,
                                    QKeySequence(QStringLiteral("Alt+%1").arg(item.number)),
                                    [this, n = item.number] { performQuickTagAction(n); });
        m_quickTagsMenu->insertAction(first, action);
    }
    m_quickTagsMenu->setEnabled(!m_quickTagsMenu->actions().isEmpty());
}
