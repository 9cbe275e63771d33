#include "support/listsfixture.h"

#include "lists/smartfoldersarraycontroller.h"
#include "model/archivecategory.h"
#include "model/smartfolder.h"
#include "store/undostack.h"
#include "ui/models/foldertreemodel.h"
#include "ui/models/smartfoldermodel.h"
#include "ui/pasteboard.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QSignalSpy>

#include <functional>
#include <memory>
#include <random>

namespace {

// "Inbox, Home(Garden, Kitchen), Work": the tree as the model shows it.
QString shape(const QAbstractItemModel& model, const QModelIndex& parent = {})
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex at = model.index(row, 0, parent);
        QString text = at.data().toString();
        if (model.rowCount(at) > 0)
            text += QLatin1Char('(') + shape(model, at) + QLatin1Char(')');
        rows << text;
    }
    return rows.join(QStringLiteral(", "));
}

// Whether `folder` lies in the subtree of `root` (itself included).
bool folderTreeContains(const Context* root, const Context* folder)
{
    for (const Context* f = folder; f; f = f->parentContext())
        if (f == root)
            return true;
    return false;
}

struct Steps {
    explicit Steps(QAbstractItemModel& model)
        : inserted(&model, &QAbstractItemModel::rowsInserted), removed(&model, &QAbstractItemModel::rowsRemoved),
          moved(&model, &QAbstractItemModel::rowsMoved), reset(&model, &QAbstractItemModel::modelReset)
    {
    }
    QString counts() const { return QStringLiteral("+%1 -%2 >%3 reset %4").arg(inserted.count()).arg(removed.count()).arg(moved.count()).arg(reset.count()); }
    void clear()
    {
        inserted.clear();
        removed.clear();
        moved.clear();
        reset.clear();
    }
    QSignalSpy inserted, removed, moved, reset;
};

} // namespace

class FolderTreeModelTest : public ListsFixture {
protected:
    ArchiveCategory* category(const QString& name, ArchiveCategory* parent = nullptr)
    {
        auto* c = context->insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
        c->setName(name);
        if (parent)
            parent->addSubcategoriesObject(c);
        return c;
    }
    // Drops `records` as `type` onto `target` (nullptr: the empty area).
    bool drop(FolderTreeModel& model, const QString& type, const std::vector<Record*>& records, Record* target)
    {
        std::unique_ptr<QMimeData> data(mimeDataForRecords(type, records));
        const QModelIndex onto = model.indexOf(target);
        const bool allowed = model.canDropMimeData(data.get(), Qt::MoveAction, -1, 0, onto);
        const bool done = model.dropMimeData(data.get(), Qt::MoveAction, -1, 0, onto);
        EXPECT_EQ(allowed, done) << "the drop does what its check promised";
        return done;
    }
};

TEST_F(FolderTreeModelTest, FollowsTheStoreWithRangedSteps)
{
    Context* home = folder(QStringLiteral("Home"));
    Context* kitchen = folder(QStringLiteral("Kitchen"), home);
    Context* garden = folder(QStringLiteral("Garden"), home);
    Context* work = folder(QStringLiteral("work"));
    context->processPendingChanges();

    FolderTreeModel model(switcher(), TaskView::Contexts);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_EQ(shape(model), QStringLiteral("Inbox, Home(Garden, Kitchen), work"));
    Steps steps(model);
    const QPersistentModelIndex inboxRow = model.indexOf(inbox);
    Context* attic = nullptr;

    const struct {
        const char* what;
        std::function<void()> change;
        QString shape;
        QString steps;
    } cases[] = {
        {"insert under a folder", [&] { attic = folder(QStringLiteral("Attic"), home); }, "Inbox, Home(Attic, Garden, Kitchen), work", "+1 -0 >0 reset 0"},
        {"rename into another place", [&] { kitchen->setName(QStringLiteral("Cellar")); }, "Inbox, Home(Attic, Cellar, Garden), work", "+0 -0 >1 reset 0"},
        {"rename in place", [&] { work->setName(QStringLiteral("Work")); }, "Inbox, Home(Attic, Cellar, Garden), Work", "+0 -0 >0 reset 0"},
        {"rename to the end", [&] { attic->setName(QStringLiteral("Loft")); }, "Inbox, Home(Cellar, Garden, Loft), Work", "+0 -0 >1 reset 0"},
        {"move under another parent", [&] { garden->setParentContext(work); }, "Inbox, Home(Cellar, Loft), Work(Garden)", "+0 -0 >1 reset 0"},
        {"move a parent under its former child", [&] {
             garden->setParentContext(nullptr);
             work->setParentContext(garden);
         },
         "Inbox, Garden(Work), Home(Cellar, Loft)", "+0 -0 >2 reset 0"},
        {"delete a subtree", [&] { garden->deleteWithSubtree(); }, "Inbox, Home(Cellar, Loft)", "+0 -1 >0 reset 0"},
        {"undo the delete", [&] { context->undo(); }, "Inbox, Garden(Work), Home(Cellar, Loft)", "+2 -0 >0 reset 0"},
        {"redo the delete", [&] { context->redo(); }, "Inbox, Home(Cellar, Loft)", "+0 -1 >0 reset 0"},
        {"undo twice", [&] {
             context->undo();
             context->processPendingChanges();
             context->undo();
         },
         "Inbox, Home(Cellar, Loft), Work(Garden)", "+2 -0 >2 reset 0"},
        {"delete a leaf", [&] { attic->deleteWithSubtree(); }, "Inbox, Home(Cellar), Work(Garden)", "+0 -1 >0 reset 0"},
    };
    for (const auto& c : cases) {
        steps.clear();
        c.change();
        context->processPendingChanges();
        EXPECT_EQ(shape(model), c.shape) << c.what;
        EXPECT_EQ(steps.counts(), c.steps) << c.what;
        EXPECT_TRUE(inboxRow.isValid() && inboxRow.row() == 0) << c.what;
    }

    steps.clear();
    model.refetch();
    EXPECT_EQ(steps.reset.count(), 1);
    EXPECT_EQ(shape(model), QStringLiteral("Inbox, Home(Cellar), Work(Garden)"));
}

TEST_F(FolderTreeModelTest, RenameThroughTheModelIsOneUndoStep)
{
    Context* home = folder(QStringLiteral("Home"));
    context->processPendingChanges();
    FolderTreeModel model(switcher(), TaskView::Contexts);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);

    ASSERT_TRUE(model.setData(model.indexOf(home), QStringLiteral("Abroad")));
    EXPECT_EQ(home->name(), QStringLiteral("Abroad"));
    EXPECT_EQ(shape(model), QStringLiteral("Inbox, Abroad"));
    EXPECT_EQ(context->undoManager().undoActionName(), QStringLiteral("Rename Context"));
    context->undo();
    context->processPendingChanges();
    EXPECT_EQ(shape(model), QStringLiteral("Inbox, Home"));
}

TEST_F(FolderTreeModelTest, CountersIconsAndColoursFollowTheTasks)
{
    prefs->setObject(QStringLiteral("displayRedIconForInboxWithMoreTasksThan"), 1);
    Context* home = folder(QStringLiteral("Home"));
    Context* garden = folder(QStringLiteral("Garden"), home);
    home->setSpecialIndex(1);
    garden->setSpecialIndex(1);
    addTask(QStringLiteral("sweep"), home);
    addTask(QStringLiteral("sort mail"), inbox);
    context->processPendingChanges();

    FolderTreeModel model(switcher(), TaskView::Contexts);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);

    auto row = [&](Record* r, int role) { return model.indexOf(r).data(role); };
    EXPECT_EQ(row(home, FolderTreeModel::CountTextRole).toString(), QStringLiteral("1"));
    EXPECT_EQ(row(garden, FolderTreeModel::CountTextRole).toString(), QString()) << "no badge without tasks";
    EXPECT_EQ(row(inbox, FolderTreeModel::ImageRole).toString(), QStringLiteral("bt_up.png"));
    EXPECT_EQ(row(home, FolderTreeModel::ImageRole).toString(), QStringLiteral("context_home.png"));
    EXPECT_EQ(row(garden, FolderTreeModel::ImageRole).toString(), QString()) << "a subcontext has no icon of its own";

    Task* weed = addTask(QStringLiteral("weed"), garden);
    weed->setDueDate(day(21));
    addTask(QStringLiteral("pay bills"), inbox);
    context->processPendingChanges();

    const struct {
        Record* folder;
        int role;
        QVariant expected;
    } cases[] = {
        {home, FolderTreeModel::CountRole, 1},
        {home, FolderTreeModel::SubtreeCountRole, 2},
        {home, FolderTreeModel::CountTextRole, QStringLiteral("1/2")},
        {home, FolderTreeModel::DueTodayCountRole, 1}, // overdue counts as due today, from below too
        {garden, FolderTreeModel::CountTextRole, QStringLiteral("1")},
        {inbox, FolderTreeModel::CountRole, 2},
        {inbox, FolderTreeModel::ImageRole, QStringLiteral("bt_red_up.png")},
    };
    for (const auto& c : cases)
        EXPECT_EQ(row(c.folder, c.role), c.expected) << row(c.folder, Qt::DisplayRole).toString().toStdString() << " role " << c.role;
    EXPECT_TRUE(row(garden, Qt::ForegroundRole).value<QColor>().isValid()) << "due today shows in the row's colour";

    QSet<QString> told;
    for (const auto& args : changed)
        told << args.at(0).value<QModelIndex>().data().toString();
    EXPECT_EQ(told, (QSet<QString>{QStringLiteral("Home"), QStringLiteral("Garden"), QStringLiteral("Inbox")}));
}

TEST_F(FolderTreeModelTest, ProjectsAndCategoriesAreTreesToo)
{
    Project* house = project(QStringLiteral("House"));
    Project* roof = project(QStringLiteral("Roof"));
    ArchiveCategory* y2025 = category(QStringLiteral("2025"));
    category(QStringLiteral("Taxes"), y2025);
    context->processPendingChanges();
    FolderTreeModel projects(switcher(), TaskView::Projects);
    FolderTreeModel categories(switcher(), TaskView::Archive);
    QAbstractItemModelTester t1(&projects, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QAbstractItemModelTester t2(&categories, QAbstractItemModelTester::FailureReportingMode::Fatal);

    roof->setParentProject(house);
    context->processPendingChanges();
    EXPECT_EQ(shape(projects), QStringLiteral("House(Roof)"));
    EXPECT_EQ(projects.indexOf(roof).data(FolderTreeModel::ImageRole).toString(), QStringLiteral("attention.png"));
    EXPECT_EQ(shape(categories), QStringLiteral("2025(Taxes)"));
    context->undo();
    context->processPendingChanges();
    EXPECT_EQ(shape(projects), QStringLiteral("House, Roof"));
}

TEST_F(FolderTreeModelTest, DropsMoveTasksAndFolders)
{
    Context* home = folder(QStringLiteral("Home"));
    Context* garden = folder(QStringLiteral("Garden"), home);
    Context* shed = folder(QStringLiteral("Shed"), garden);
    Context* work = folder(QStringLiteral("Work"));
    Project* house = project(QStringLiteral("House"));
    Project* roof = project(QStringLiteral("Roof"));
    ArchiveCategory* y2025 = category(QStringLiteral("2025"));
    Task* sweep = addTask(QStringLiteral("sweep"), home);
    Task* paint = addTask(QStringLiteral("paint"), home, house);
    paint->setTags(QStringLiteral("colour,outside"));
    context->processPendingChanges();

    FolderTreeModel contexts(switcher(), TaskView::Contexts);
    FolderTreeModel projects(switcher(), TaskView::Projects);
    FolderTreeModel archive(switcher(), TaskView::Archive);
    QAbstractItemModelTester t1(&contexts, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QAbstractItemModelTester t2(&projects, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QAbstractItemModelTester t3(&archive, QAbstractItemModelTester::FailureReportingMode::Fatal);

    const struct {
        const char* what;
        FolderTreeModel* model;
        QString type;
        std::vector<Record*> records;
        Record* target;
        bool accepted;
        QString undoName;
        std::function<bool()> done;
        QString contextShape;
    } cases[] = {
        {"tasks onto a context", &contexts, PasteboardType::movedRows, {sweep, paint}, work, true, "Move to Context",
         [&] { return sweep->parentContext() == work && paint->parentContext() == work; }, "Inbox, Home(Garden(Shed)), Work"},
        {"tasks need a folder", &contexts, PasteboardType::movedRows, {sweep}, nullptr, false, "", [&] { return sweep->parentContext() == work; }, "Inbox, Home(Garden(Shed)), Work"},
        {"task onto a project", &projects, PasteboardType::movedRows, {sweep}, roof, true, "Move to Project",
         [&] { return sweep->parentProject() == roof && sweep->parentContext() == work; }, "Inbox, Home(Garden(Shed)), Work"},
        {"task onto a category", &archive, PasteboardType::movedRows, {paint}, y2025, true, "Archive",
         [&] { return paint->archived() && paint->parentArchiveCategory() == y2025 && paint->tags() == QStringLiteral("colour,outside"); },
         "Inbox, Home(Garden(Shed)), Work"},
        {"folder onto itself", &contexts, PasteboardType::movedContexts, {garden}, garden, false, "", [&] { return garden->parentContext() == home; }, "Inbox, Home(Garden(Shed)), Work"},
        {"folder onto its own child", &contexts, PasteboardType::movedContexts, {home}, shed, false, "", [&] { return home->parentContext() == nullptr; }, "Inbox, Home(Garden(Shed)), Work"},
        {"the Inbox under a context", &contexts, PasteboardType::movedContexts, {inbox}, work, false, "", [&] { return inbox->parentContext() == nullptr; }, "Inbox, Home(Garden(Shed)), Work"},
        {"folder onto another folder", &contexts, PasteboardType::movedContexts, {garden}, work, true, "Move Folder",
         [&] { return garden->parentContext() == work; }, "Inbox, Home, Work(Garden(Shed))"},
        {"folder onto the empty area", &contexts, PasteboardType::movedContexts, {shed}, nullptr, true, "Move Folder",
         [&] { return shed->parentContext() == nullptr; }, "Inbox, Home, Shed, Work(Garden)"},
        {"folders of another tree", &contexts, PasteboardType::movedProjects, {house}, work, false, "", [&] { return house->parentProject() == nullptr; }, "Inbox, Home, Shed, Work(Garden)"},
        {"a project under a project", &projects, PasteboardType::movedProjects, {roof}, house, true, "Move Folder",
         [&] { return roof->parentProject() == house; }, "Inbox, Home, Shed, Work(Garden)"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(drop(*c.model, c.type, c.records, c.target), c.accepted) << c.what;
        EXPECT_TRUE(c.done()) << c.what;
        EXPECT_EQ(shape(contexts), c.contextShape) << c.what;
        if (c.accepted) {
            EXPECT_EQ(context->undoManager().undoActionName(), c.undoName) << c.what;
        }
    }

    // Each drop is one undo step: undoing the last three brings the archived task back to its context.
    for (int i = 0; i < 3; ++i) {
        context->undo();
        context->processPendingChanges();
    }
    EXPECT_EQ(shape(contexts), QStringLiteral("Inbox, Home(Garden(Shed)), Work"));
    EXPECT_EQ(roof->parentProject(), nullptr);
    context->undo();
    context->processPendingChanges();
    EXPECT_FALSE(paint->archived());
    EXPECT_EQ(paint->parentContext(), work);
}

TEST_F(FolderTreeModelTest, DraggedFoldersTravelAsTheirTreesType)
{
    Context* home = folder(QStringLiteral("Home"));
    context->processPendingChanges();
    FolderTreeModel model(switcher(), TaskView::Contexts);
    const QModelIndex row = model.indexOf(home);
    std::unique_ptr<QMimeData> data(model.mimeData({row, row}));
    ASSERT_TRUE(data);
    EXPECT_EQ(recordsFromMimeData(*context, *data, PasteboardType::movedContexts), std::vector<Record*>{home});
}

TEST_F(FolderTreeModelTest, SmartFoldersInListOrder)
{
    auto smart = [&](const QString& name, bool all = false) {
        auto* f = context->insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
        f->setName(name);
        f->setIsAllPending(all);
        return f;
    };
    smart(QStringLiteral("zebra"));
    SmartFolder* all = smart(QStringLiteral("All tasks"), true);
    SmartFolder* mango = smart(QStringLiteral("Mango"));
    context->processPendingChanges();

    SmartFolderModel model(switcher());
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    Steps steps(model);
    SmartFolder* apple = nullptr;
    const struct {
        const char* what;
        std::function<void()> change;
        QString shape;
        QString steps;
    } cases[] = {
        {"insert", [&] { apple = smart(QStringLiteral("apple")); }, "All tasks, apple, Mango, zebra", "+1 -0 >0 reset 0"},
        {"rename to the end", [&] { ASSERT_TRUE(model.setData(model.indexOf(apple), QStringLiteral("zoo"))); }, "All tasks, Mango, zebra, zoo", "+0 -0 >1 reset 0"},
        {"delete", [&] { context->deleteObject(mango); }, "All tasks, zebra, zoo", "+0 -1 >0 reset 0"},
        {"undo", [&] { context->undo(); }, "All tasks, Mango, zebra, zoo", "+1 -0 >0 reset 0"},
    };
    for (const auto& c : cases) {
        steps.clear();
        c.change();
        context->processPendingChanges();
        EXPECT_EQ(shape(model), c.shape) << c.what;
        EXPECT_EQ(steps.counts(), c.steps) << c.what;
    }
    EXPECT_EQ(model.indexOf(all).data(Qt::DisplayRole).toString(), QStringLiteral("All tasks"));
}

// Many mixed edits, each batch followed step by step: the tree must always equal one built afresh.
TEST_F(FolderTreeModelTest, ManyEditsAgreeWithAFreshTree)
{
    std::vector<Context*> folders;
    for (int i = 0; i < 12; ++i)
        folders.push_back(folder(QStringLiteral("f%1").arg(i, 2, 10, QLatin1Char('0')), i > 3 ? folders[size_t(i % 4)] : nullptr));
    context->processPendingChanges();
    FolderTreeModel model(switcher(), TaskView::Contexts);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

    std::mt19937 random(7);
    auto pick = [&]() -> Context* {
        std::vector<Context*> live;
        for (Context* c : folders)
            if (!c->isDeleted())
                live.push_back(c);
        return live.empty() ? nullptr : live[random() % live.size()];
    };
    for (int step = 0; step < 300; ++step) {
        const int edits = 1 + int(random() % 3); // several edits may share one batch
        for (int e = 0; e < edits; ++e) {
            Context* c = pick();
            switch (random() % 6) {
            case 0:
                folders.push_back(folder(QStringLiteral("n%1").arg(step), random() % 2 ? c : nullptr));
                break;
            case 1:
                if (c)
                    c->setName(QStringLiteral("r%1").arg(random() % 100));
                break;
            case 2: {
                Context* to = pick();
                if (c && to && !folderTreeContains(c, to))
                    c->setParentContext(random() % 4 ? to : nullptr);
                break;
            }
            case 3:
                if (c && random() % 2)
                    c->deleteWithSubtree();
                break;
            case 4:
                context->processPendingChanges();
                context->undo();
                break;
            default:
                context->processPendingChanges();
                context->redo();
                break;
            }
        }
        context->processPendingChanges();
        FolderTreeModel fresh(switcher(), TaskView::Contexts);
        ASSERT_EQ(shape(model), shape(fresh)) << "step " << step;
    }
    EXPECT_EQ(reset.count(), 0);
}
