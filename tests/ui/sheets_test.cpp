#include "support/listsfixture.h"
#include "support/widgetlookup.h"

#include "lists/alltasksarraycontroller.h"
#include "lists/folderarraycontroller.h"
#include "model/archivecategory.h"
#include "model/smartfolder.h"
#include "ui/archivingsheet.h"
#include "ui/movetokeyfield.h"
#include "ui/movetosheet.h"
#include "ui/smartfolderpropertiesdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

// A list over fixed tasks, in name order.
class FixedTasksList : public TasksArrayController {
public:
    FixedTasksList(TabViewController& views, std::vector<Task*> tasks) : TasksArrayController(views, TaskView::Contexts), m_tasks(std::move(tasks))
    {
        setSortDescriptors({SortDescriptor(u"name"_s)});
    }
    std::vector<Task*> content() const override { return m_tasks; }
    bool contentContains(const Task& t) const override { return std::find(m_tasks.begin(), m_tasks.end(), &t) != m_tasks.end(); }

private:
    std::vector<Task*> m_tasks;
};


} // namespace

class SheetsTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        errands = folder(u"Errands"_s);
        home = folder(u"Home"_s);
        roof = project(u"Roof"_s);
        garden = project(u"Garden"_s);
        a = addTask(u"a"_s, errands);
        b = addTask(u"b"_s, errands);
        c = addTask(u"c"_s, home);
        for (Task* t : {a, b, c})
            t->setPriority(3);
        context->processPendingChanges();
        context->undoManager().removeAllActions();
        list = std::make_unique<FixedTasksList>(switcher(), std::vector<Task*>{a, b, c});
    }
    void TearDown() override
    {
        list.reset();
        ListsFixture::TearDown();
    }

    Context* errands = nullptr;
    Context* home = nullptr;
    Project* roof = nullptr;
    Project* garden = nullptr;
    Task* a = nullptr;
    Task* b = nullptr;
    Task* c = nullptr;
    std::unique_ptr<FixedTasksList> list;
};

TEST_F(SheetsTest, MoveToSheetWalksTheListByKeysOneUndoStepPerChange)
{
    QWidget window;
    MoveToSheet sheet(switcher(), &window);
    list->setSelectedObjects({b});
    ASSERT_TRUE(sheet.open(*list));
    ASSERT_TRUE(sheet.isVisible());
    EXPECT_EQ(child<QLabel>(sheet, u"moveToTaskName"_s)->text(), u"b"_s);
    EXPECT_EQ(sheet.contextField()->text(), u"Errands"_s);
    EXPECT_EQ(sheet.projectField()->text(), u"(none)"_s);

    MoveToKeyField* ctx = sheet.contextField();
    MoveToKeyField* prj = sheet.projectField();
    const struct {
        const char* step;
        MoveToKeyField* field;
        int key;
        Qt::KeyboardModifiers modifiers;
        QString undoName; // empty: the key changes no record
        std::function<bool()> check;
    } steps[] = {
        {"right: next context", ctx, Qt::Key_Right, {}, u"Move to Context"_s,
         [&] { return b->parentContext() == home && ctx->text() == u"Home"_s; }},
        {"letter e: Errands", ctx, Qt::Key_E, {}, u"Move to Context"_s, [&] { return b->parentContext() == errands; }},
        {"letter z: no such context", ctx, Qt::Key_Z, {}, {}, [&] { return b->parentContext() == errands; }},
        {"right in projects: first project", prj, Qt::Key_Right, {}, u"Move to Project"_s,
         [&] { return b->parentProject() == garden && prj->text() == u"Garden"_s; }},
        {"left in projects: none", prj, Qt::Key_Left, {}, u"Move to Project"_s, [&] { return b->parentProject() == nullptr; }},
        {"space flags", ctx, Qt::Key_Space, {}, u"Flag Task"_s,
         [&] { return b->nextAction() && child<QLabel>(sheet, u"moveToFlag"_s)->isVisibleTo(&sheet); }},
        {"shift-space completes", ctx, Qt::Key_Space, Qt::ShiftModifier, u"Complete Task"_s,
         [&] { return b->done() && !b->nextAction(); }},
        {"down: the next task", ctx, Qt::Key_Down, {}, {},
         [&] { return sheet.controller().task() == c && child<QLabel>(sheet, u"moveToTaskName"_s)->text() == u"c"_s; }},
        {"delete: gone, back to the selection", ctx, Qt::Key_Delete, {}, u"Delete Task"_s,
         [&] { return c->isDeleted() && sheet.controller().task() == b && sheet.isVisible(); }},
        {"up: the task before", ctx, Qt::Key_Up, {}, {}, [&] { return sheet.controller().task() == a; }},
        {"up past the start ends the walk", ctx, Qt::Key_Up, {}, {}, [&] { return !sheet.isVisible() && !sheet.controller().isOpen(); }},
    };
    QString lastUndo;
    for (const auto& s : steps) {
        SCOPED_TRACE(s.step);
        QTest::keyClick(s.field, Qt::Key(s.key), s.modifiers);
        EXPECT_TRUE(s.check());
        const QString undoName = context->undoManager().undoActionName();
        if (s.undoName.isEmpty())
            EXPECT_EQ(undoName, lastUndo);
        else
            EXPECT_EQ(undoName, s.undoName);
        lastUndo = undoName;
        context->processPendingChanges();
    }
    context->undo(); // the deletion
    EXPECT_FALSE(c->isDeleted());
    context->undo(); // the completion
    EXPECT_FALSE(b->done());
}

TEST_F(SheetsTest, MoveToSheetEndsOnReturnKeypadEnterAndEscape)
{
    QWidget window;
    MoveToSheet sheet(switcher(), &window);
    const struct {
        const char* key;
        int code;
        Qt::KeyboardModifiers modifiers;
    } keys[] = {
        {"Return (the Done button)", Qt::Key_Return, {}},
        {"keypad Enter", Qt::Key_Enter, Qt::KeypadModifier},
        {"Escape", Qt::Key_Escape, {}},
    };
    for (const auto& k : keys) {
        SCOPED_TRACE(k.key);
        list->setSelectedObjects({a});
        ASSERT_TRUE(sheet.open(*list));
        QTest::keyClick(sheet.contextField(), Qt::Key(k.code), k.modifiers);
        EXPECT_FALSE(sheet.isVisible());
        EXPECT_FALSE(sheet.controller().isOpen());
    }
    list->setSelectedObjects({});
    EXPECT_FALSE(sheet.open(*list)) << "nothing selected: no sheet";
    EXPECT_FALSE(sheet.isVisible());
}

TEST_F(SheetsTest, MoveToSheetPriorityControlFollowsAndSetsTheTask)
{
    QWidget window;
    MoveToSheet sheet(switcher(), &window);
    b->setPriority(5);
    list->setSelectedObjects({a});
    ASSERT_TRUE(sheet.open(*list));
    auto* priority = child<QComboBox>(sheet, u"moveToPriority"_s);
    EXPECT_EQ(priority->currentText(), u"3"_s);
    QTest::keyClick(sheet.contextField(), Qt::Key_Down);
    EXPECT_EQ(priority->currentText(), u"5"_s);
    priority->setCurrentIndex(0);
    Q_EMIT priority->activated(0);
    EXPECT_EQ(b->priority(), 1);
    EXPECT_EQ(context->undoManager().undoActionName(), u"Change Priority"_s);
}

TEST_F(SheetsTest, ArchivingSheetFilesTheSelectionWithTheSheetsTags)
{
    auto* books = context->insertNewObject<ArchiveCategory>(u"archiveCategory"_s);
    books->setName(u"Books"_s);
    auto* old = context->insertNewObject<ArchiveCategory>(u"archiveCategory"_s);
    old->setName(u"Old"_s);
    a->setTags(u"x,y"_s);
    b->setTags(u"z"_s);
    context->processPendingChanges();
    context->undoManager().removeAllActions();

    QWidget window;
    ArchivingSheet sheet(switcher(), &window);
    const struct {
        const char* selection;
        std::vector<Task*> selected;
        QString startTags;
    } openings[] = {
        {"one task: its tags", {a}, u"x, y"_s},
        {"two tasks: none", {a, b}, QString()},
    };
    for (const auto& o : openings) {
        SCOPED_TRACE(o.selection);
        list->setSelectedObjects(o.selected);
        sheet.showArchivingSheet(*list);
        EXPECT_TRUE(sheet.isVisible());
        EXPECT_EQ(sheet.tagsField()->text(), o.startTags);
    }

    QComboBox* categories = sheet.categoryChooser();
    ASSERT_EQ(categories->count(), 2);
    categories->setCurrentIndex(categories->findText(u"Old"_s));
    EXPECT_EQ(switcher().archiveCategoryController().selectedObject(), old) << "the chooser is the tree's selection";
    sheet.tagsField()->setText(u"filed, 2026"_s);
    child<QPushButton>(sheet, u"archiveButton"_s)->click();

    EXPECT_FALSE(sheet.isVisible());
    for (Task* t : {a, b}) {
        EXPECT_TRUE(t->archived());
        EXPECT_EQ(t->tags(), u"filed,2026"_s);
        EXPECT_EQ(t->parentArchiveCategory(), old);
        EXPECT_EQ(t->parentContext(), nullptr);
    }
    EXPECT_FALSE(c->archived());
    EXPECT_EQ(context->undoManager().undoActionName(), u"Archive"_s);
    context->undo();
    EXPECT_FALSE(a->archived());
    EXPECT_FALSE(b->archived());
    EXPECT_EQ(b->parentContext(), errands);

    list->setSelectedObjects({c});
    sheet.showArchivingSheet(*list);
    child<QPushButton>(sheet, u"archiveCancel"_s)->click();
    EXPECT_FALSE(sheet.isVisible());
    EXPECT_FALSE(c->archived());
}

TEST_F(SheetsTest, SmartFolderPropertiesChangeTheAllTasksFilter)
{
    auto* folder = context->insertNewObject<SmartFolder>(u"smartFolder"_s);
    folder->setName(u"Chores"_s);
    a->setTags(u"home"_s);
    b->setTags(u"work"_s);
    c->setTags(u"home,work"_s);
    c->setDueDate(day(23));
    context->processPendingChanges();
    context->undoManager().removeAllActions();
    switcher().smartFolderController().setSelectedFolder(folder);
    AllTasksArrayController& all = switcher().allTasks();
    all.setSortDescriptors({SortDescriptor(u"name"_s)});
    all.updatePredicate();

    QWidget window;
    SmartFolderPropertiesDialog dialog(switcher(), &window);
    const struct {
        const char* change;
        QString tags;
        int mode;
        int days;
        QStringList shown;
    } cases[] = {
        {"any of two tags", u"home, work"_s, 0, 0, {u"a"_s, u"b"_s, u"c"_s}},
        {"all of two tags", u"home, work"_s, 1, 0, {u"c"_s}},
        {"a tag and a due window", u"home"_s, 0, 2, {u"c"_s}},
        {"no criteria", QString(), 0, 0, {u"a"_s, u"b"_s, u"c"_s}},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.change);
        dialog.showProperties(folder);
        child<QLineEdit>(dialog, u"smartFolderTags"_s)->setText(k.tags);
        child<QComboBox>(dialog, u"smartFolderTagsMode"_s)->setCurrentIndex(k.mode);
        child<QSpinBox>(dialog, u"smartFolderDueDays"_s)->setValue(k.days);
        child<QPushButton>(dialog, u"smartFolderOk"_s)->click();
        EXPECT_FALSE(dialog.isVisible());
        EXPECT_EQ(names(all.arrangedObjects()), k.shown);
        context->processPendingChanges();
    }
    EXPECT_EQ(folder->tags(), QString());

    dialog.showProperties(folder);
    child<QLineEdit>(dialog, u"smartFolderName"_s)->setText(u"Errands"_s);
    child<QLineEdit>(dialog, u"smartFolderPredicateText"_s)->setText(u"kept only"_s);
    child<QPushButton>(dialog, u"smartFolderCancel"_s)->click();
    EXPECT_EQ(folder->name(), u"Chores"_s) << "Cancel changes nothing";

    dialog.showProperties(folder);
    child<QLineEdit>(dialog, u"smartFolderName"_s)->setText(u"Errands"_s);
    child<QLineEdit>(dialog, u"smartFolderPredicateText"_s)->setText(u"kept only"_s);
    child<QPushButton>(dialog, u"smartFolderOk"_s)->click();
    EXPECT_EQ(folder->name(), u"Errands"_s);
    EXPECT_EQ(folder->predicateText(), u"kept only"_s);
    EXPECT_EQ(context->undoManager().undoActionName(), u"Change Smart Folder"_s);
    context->undo();
    EXPECT_EQ(folder->name(), u"Chores"_s);
    EXPECT_EQ(folder->predicateText(), QString()) << "one step for both";
}
