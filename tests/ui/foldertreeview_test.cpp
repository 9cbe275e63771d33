#include "support/listsfixture.h"

#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/archivecategory.h"
#include "model/smartfolder.h"
#include "ui/foldertreeview.h"
#include "ui/models/foldertreemodel.h"
#include "ui/models/smartfoldermodel.h"
#include "ui/pasteboard.h"

#include <QApplication>
#include <QDropEvent>
#include <QMimeData>

#include <QSignalSpy>
#include <QTest>

class FolderTreeViewTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        home = folder(QStringLiteral("Home"));
        garden = folder(QStringLiteral("Garden"), home);
        work = folder(QStringLiteral("Work"));
        addTask(QStringLiteral("sweep"), home);
        weed = addTask(QStringLiteral("weed"), garden);
        addTask(QStringLiteral("report"), work);
        context->processPendingChanges();
    }
    void select(FolderTreeView& view, const std::vector<Record*>& folders)
    {
        QItemSelection selection;
        for (Record* f : folders) {
            const QModelIndex at = view.folderModel() ? view.folderModel()->indexOf(f)
                                                      : view.smartFolderModel()->indexOf(static_cast<SmartFolder*>(f));
            selection.select(at, at);
        }
        view.selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    }
    QStringList shownTasks(TaskView view) { return names(switcher().taskList(view).arrangedObjects()); }
    static QStringList selectedNames(const FolderTreeView& view)
    {
        QStringList out;
        for (const QModelIndex& i : view.selectionModel()->selectedRows())
            out << i.data().toString();
        out.sort();
        return out;
    }

    Context* home = nullptr;
    Context* garden = nullptr;
    Context* work = nullptr;
    Task* weed = nullptr;
};

TEST_F(FolderTreeViewTest, SelectionReachesTheTaskList)
{
    FolderTreeView view(switcher(), TaskView::Contexts);
    QSignalSpy changed(&view, &FolderTreeView::folderSelectionChanged);

    const struct {
        std::vector<Record*> folders;
        QStringList tasks;
    } cases[] = {
        {{home}, {"sweep"}},
        {{home, work}, {"report", "sweep"}},
        {{garden}, {"weed"}},
        {{}, {}},
    };
    for (const auto& c : cases) {
        select(view, c.folders);
        std::vector<Record*> listed = switcher().contextController().selectedRecords();
        std::sort(listed.begin(), listed.end());
        std::vector<Record*> wanted = c.folders;
        std::sort(wanted.begin(), wanted.end());
        EXPECT_EQ(listed, wanted);
        QStringList tasks = shownTasks(TaskView::Contexts);
        tasks.sort();
        EXPECT_EQ(tasks, c.tasks);
    }
    EXPECT_EQ(changed.count(), 4);
}

TEST_F(FolderTreeViewTest, SmartFolderSelectionNarrowsAllTasks)
{
    auto* all = context->insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
    all->setName(QStringLiteral("All tasks"));
    all->setIsAllPending(true);
    auto* garage = context->insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
    garage->setName(QStringLiteral("Outside"));
    garage->setTags(QStringLiteral("outside"));
    weed->setTags(QStringLiteral("outside"));
    context->processPendingChanges();

    FolderTreeView view(switcher(), TaskView::ToComplete);
    EXPECT_EQ(view.model()->rowCount(), 2);
    select(view, {garage});
    EXPECT_EQ(switcher().smartFolderController().selectedFolder(), garage);
    EXPECT_EQ(shownTasks(TaskView::ToComplete), QStringList{"weed"});
    select(view, {all});
    EXPECT_EQ(shownTasks(TaskView::ToComplete).size(), 3);
}

TEST_F(FolderTreeViewTest, ShowsAndRevealsTheListsOwnSelection)
{
    FolderTreeView view(switcher(), TaskView::Contexts);
    QSignalSpy changed(&view, &FolderTreeView::folderSelectionChanged);
    ContextArrayController& list = switcher().contextController();

    list.selectRecord(garden);
    view.showListSelection();
    EXPECT_EQ(selectedNames(view), QStringList{"Garden"});
    EXPECT_TRUE(view.isExpanded(view.folderModel()->indexOf(home))) << "the parent opens to show the selection";
    EXPECT_EQ(shownTasks(TaskView::Contexts), QStringList{"weed"});
    EXPECT_EQ(changed.count(), 1);

    view.showListSelection();
    EXPECT_EQ(changed.count(), 1) << "the same selection again changes nothing";

    list.switchToNextContext(); // Inbox, Home, Home > Garden, Work
    view.showListSelection();
    EXPECT_EQ(selectedNames(view), QStringList{"Work"});
    EXPECT_EQ(shownTasks(TaskView::Contexts), QStringList{"report"});

    view.selectAllFolders();
    EXPECT_EQ(selectedNames(view), (QStringList{"Garden", "Home", "Inbox", "Work"}));
    EXPECT_EQ(shownTasks(TaskView::Contexts).size(), 3);
}

TEST_F(FolderTreeViewTest, TypeAheadSelectsByName)
{
    prefs->setObject(QStringLiteral("typeAheadCollapseFoldersBefore"), true);
    FolderTreeView view(switcher(), TaskView::Contexts);
    view.expandAllFolders();
    view.keyboardSearch(QStringLiteral("gar"));
    EXPECT_EQ(selectedNames(view), QStringList{"Garden"});
    EXPECT_EQ(switcher().contextController().selectedRecords(), std::vector<Record*>{garden});
    EXPECT_EQ(shownTasks(TaskView::Contexts), QStringList{"weed"});
    EXPECT_TRUE(view.isExpanded(view.folderModel()->indexOf(home)));
}

TEST_F(FolderTreeViewTest, ExpansionAndSelectionSurviveSaveAndRestore)
{
    Context* shed = folder(QStringLiteral("Shed"), work);
    context->processPendingChanges();
    {
        FolderTreeView view(switcher(), TaskView::Contexts);
        view.expand(view.folderModel()->indexOf(home));
        select(view, {shed});
        view.saveState();
    }
    const QStringList saved = prefs->objectForKey(QStringLiteral("contextTreeExpandedIndexes")).toStringList();
    EXPECT_EQ(saved, QStringList{home->uri()});
    EXPECT_EQ(prefs->stringForKey(QStringLiteral("lastSelectedContextObjectID")), shed->uri());

    // A folder deleted since is passed over.
    Context* gone = folder(QStringLiteral("Gone"));
    context->processPendingChanges();
    prefs->setObject(QStringLiteral("contextTreeExpandedIndexes"), QStringList{gone->uri(), home->uri()});
    context->deleteObject(gone);
    context->processPendingChanges();

    switcher().contextController().setSelectedRecords({});
    FolderTreeView restored(switcher(), TaskView::Contexts);
    restored.restoreState();
    EXPECT_TRUE(restored.isExpanded(restored.folderModel()->indexOf(home)));
    EXPECT_TRUE(restored.isExpanded(restored.folderModel()->indexOf(work))) << "opened to show the selection";
    EXPECT_EQ(selectedNames(restored), QStringList{"Shed"});
    EXPECT_EQ(switcher().contextController().selectedRecords(), std::vector<Record*>{shed});

    prefs->setObject(QStringLiteral("lastSelectedContextObjectID"), QStringLiteral("x-coredata://nowhere/context/p99"));
    restored.restoreState();
    EXPECT_EQ(selectedNames(restored), QStringList{"Shed"}) << "an unknown folder leaves the selection alone";

    // Refetching keeps both.
    restored.refetch();
    EXPECT_TRUE(restored.isExpanded(restored.folderModel()->indexOf(home)));
    EXPECT_EQ(selectedNames(restored), QStringList{"Shed"});
}

TEST_F(FolderTreeViewTest, NewAndDeleteGoThroughTheLists)
{
    FolderTreeView view(switcher(), TaskView::Contexts);
    view.show();
    select(view, {home});
    view.newSubfolder();
    Record* made = switcher().contextController().firstSelectedRecord();
    ASSERT_TRUE(made);
    EXPECT_EQ(static_cast<Context*>(made)->parentContext(), home);
    EXPECT_EQ(static_cast<Context*>(made)->name(), QStringLiteral("New context"));
    EXPECT_NE(view.indexWidget(view.folderModel()->indexOf(made)), nullptr) << "the new folder's name is being edited";
    EXPECT_EQ(context->undoManager().undoActionName(), QStringLiteral("New Context"));

    const struct {
        Record* folder;
        bool answer;
        bool deleted;
        QString call;
    } cases[] = {
        {inbox, true, false, "Warning: Inbox context cannot be deleted."},
        {work, false, false, "Confirmation [Delete|Don't delete]"},
        {work, true, true, "Confirmation [Delete|Don't delete]"},
    };
    for (const auto& c : cases) {
        select(view, {c.folder});
        host.answerDefault = c.answer;
        view.deleteSelected();
        EXPECT_EQ(c.folder->isDeleted(), c.deleted) << c.call.toStdString();
        EXPECT_EQ(host.calls.last(), c.call);
    }
    EXPECT_FALSE(view.folderModel()->indexOf(work).isValid());
    EXPECT_TRUE(switcher().contextController().selectedRecords().empty());
}

TEST_F(FolderTreeViewTest, TasksDroppedOnAFolderLeaveTheTable)
{
    FolderTreeView view(switcher(), TaskView::Contexts);
    view.resize(300, 400);
    view.show();
    select(view, {garden, home});
    ASSERT_EQ(shownTasks(TaskView::Contexts).size(), 2);

    const struct {
        const char* what;
        QString type;
        Record* record;
        Record* onto;
        QStringList left;
    } cases[] = {
        {"a task onto another context", PasteboardType::movedRows, weed, work, {"sweep"}},
        {"a folder onto a folder", PasteboardType::movedContexts, garden, work, {"sweep"}},
    };
    for (const auto& c : cases) {
        std::unique_ptr<QMimeData> data(mimeDataForRecords(c.type, {c.record}));
        const QPoint at = view.visualRect(view.folderModel()->indexOf(c.onto)).center();
        QDragEnterEvent enter(at, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view.viewport(), &enter);
        QDragMoveEvent move(at, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view.viewport(), &move);
        QDropEvent drop(at, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view.viewport(), &drop);
        EXPECT_TRUE(drop.isAccepted()) << c.what;
        EXPECT_EQ(shownTasks(TaskView::Contexts), c.left) << c.what;
    }
    EXPECT_EQ(weed->parentContext(), work);
    EXPECT_EQ(garden->parentContext(), work);
}

TEST_F(FolderTreeViewTest, ArchiveCategoriesAreMadeAndDeletedHere)
{
    FolderTreeView view(switcher(), TaskView::Archive);
    view.show();
    view.newFolder();
    auto* year = static_cast<ArchiveCategory*>(switcher().archiveCategoryController().firstSelectedRecord());
    ASSERT_TRUE(year);
    view.newSubfolder();
    auto* month = static_cast<ArchiveCategory*>(switcher().archiveCategoryController().firstSelectedRecord());
    ASSERT_TRUE(month);
    EXPECT_EQ(month->parentCategory(), year);
    EXPECT_EQ(month->name(), QStringLiteral("New category"));

    select(view, {year});
    for (bool answer : {false, true}) {
        host.answerDefault = answer;
        view.deleteSelected();
        EXPECT_EQ(year->isDeleted(), answer);
        EXPECT_EQ(month->isDeleted(), answer) << "the subtree goes with it";
    }
    EXPECT_EQ(view.model()->rowCount(), 0);
    context->undo();
    context->processPendingChanges();
    EXPECT_EQ(view.model()->rowCount(), 1);
}
