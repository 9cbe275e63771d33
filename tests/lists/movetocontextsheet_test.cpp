#include "support/modelfixture.h"

#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/listhost.h"
#include "lists/movetocontextsheetcontroller.h"
#include "lists/movetokeyboardcontrol.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"

#include <algorithm>

namespace {

struct RecordingSheetHost : MoveToSheetHost {
    void showSheet() override { calls << QStringLiteral("show"); }
    void closeSheet() override { calls << QStringLiteral("close"); }
    void focusFirstControl() override { calls << QStringLiteral("focus"); }
    void selectNextKeyView() override { calls << QStringLiteral("next key view"); }
    QStringList calls;
};

// A list over fixed tasks, in name order.
class FixedTasksList : public TasksArrayController {
public:
    FixedTasksList(TabViewController& views, std::vector<Task*> tasks) : TasksArrayController(views, TaskView::ToComplete), m_tasks(std::move(tasks)) {}
    std::vector<Task*> content() const override { return m_tasks; }

private:
    std::vector<Task*> m_tasks;
};

KeyPress key(int k, Qt::KeyboardModifiers modifiers = {}, const QString& text = {})
{
    return {k, modifiers, text};
}
KeyPress letter(const QString& text)
{
    return {Qt::Key_unknown, {}, text};
}

} // namespace

class MoveToSheetTest : public ModelFixture {
protected:
    void SetUp() override
    {
        ModelFixture::SetUp();
        prefs = std::make_unique<Preferences>(path(QStringLiteral("prefs.ini")));
        views = std::make_unique<TabViewController>(*context, *prefs, listHost);
        sheet = std::make_unique<MoveToContextSheetController>(*views, sheetHost);
        inbox = folder(QStringLiteral("Inbox"), true);
        errands = folder(QStringLiteral("Errands"));
        office = folder(QStringLiteral("Office"));
    }

    Context* folder(const QString& name, bool isInbox = false)
    {
        Context* c = newContext(name);
        c->setIsInbox(isInbox);
        return c;
    }

    // Opens the sheet over `tasks` with `selected` selected.
    bool open(std::vector<Task*> tasks, std::vector<Task*> selected)
    {
        list = std::make_unique<FixedTasksList>(*views, std::move(tasks));
        list->setSortDescriptors({SortDescriptor(QStringLiteral("name"))});
        list->setSelectedObjects(std::move(selected));
        return sheet->showMoveToContextSheetForController(*list);
    }

    std::unique_ptr<Preferences> prefs;
    ListHost listHost;
    RecordingSheetHost sheetHost;
    std::unique_ptr<TabViewController> views;
    std::unique_ptr<MoveToContextSheetController> sheet;
    std::unique_ptr<FixedTasksList> list;
    Context* inbox = nullptr;
    Context* errands = nullptr;
    Context* office = nullptr;
};

TEST_F(MoveToSheetTest, WalkOverThreeTasksEndsPastEitherEnd)
{
    struct Case {
        const char* name;
        std::vector<int> keys;
        std::vector<const char*> shown; // after each key
        bool openAtEnd;
    };
    const Case cases[] = {
        {"down, down", {Qt::Key_Down, Qt::Key_Down}, {"c", "c"}, false},
        {"up, up", {Qt::Key_Up, Qt::Key_Up}, {"a", "a"}, false},
        {"down, up, up", {Qt::Key_Down, Qt::Key_Up, Qt::Key_Up}, {"c", "b", "a"}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sheetHost.calls.clear();
        Task* a = addTask(QStringLiteral("a"), office);
        Task* b = addTask(QStringLiteral("b"), errands);
        Task* last = addTask(QStringLiteral("c"), office);
        ASSERT_TRUE(open({last, a, b}, {b}));
        EXPECT_EQ(sheet->task(), b);
        MoveToContextKeyboardControl control(*sheet);
        for (size_t i = 0; i < c.keys.size(); ++i) {
            EXPECT_TRUE(control.keyDown(key(c.keys[i])));
            EXPECT_EQ(sheet->taskNameText(), QString::fromLatin1(c.shown[i])) << "after key " << i;
        }
        EXPECT_EQ(sheet->isOpen(), c.openAtEnd);
        EXPECT_EQ(sheetHost.calls.count(QStringLiteral("show")), 1);
        EXPECT_EQ(sheetHost.calls.count(QStringLiteral("close")), c.openAtEnd ? 0 : 1);
        // One refocus per task brought on show, none when the walk ends.
        EXPECT_EQ(sheetHost.calls.count(QStringLiteral("focus")), 1 + int(c.keys.size()) - (c.openAtEnd ? 0 : 1));
        // The keyboard's own text field follows the task on show; the context label is the sheet's.
        EXPECT_EQ(control.text(), sheet->context()->name());
        EXPECT_EQ(sheet->contextNameText(), sheet->context()->name());
    }
}

TEST_F(MoveToSheetTest, OpensOnlyWithATaskToShow)
{
    Task* a = addTask(QStringLiteral("a"), office);
    EXPECT_FALSE(open({a}, {}));
    EXPECT_FALSE(open({}, {}));
    EXPECT_FALSE(sheet->isOpen());
    EXPECT_EQ(sheet->task(), nullptr);
    EXPECT_TRUE(sheetHost.calls.isEmpty());

    Project* site = newProject(QStringLiteral("Site"), newProject(QStringLiteral("Work")));
    Task* loose = newTask(QStringLiteral("loose"), nullptr, site);
    ASSERT_TRUE(open({a, loose}, {loose}));
    EXPECT_EQ(sheet->contextNameText(), QStringLiteral("(none)"));
    EXPECT_EQ(sheet->contextIndex(), -1);
    EXPECT_EQ(sheet->projectNameText(), QStringLiteral("Work > Site"));
    EXPECT_EQ(sheet->projectIndex(), 1);
}

TEST_F(MoveToSheetTest, ContextKeys)
{
    Context* hardware = folder(QStringLiteral("hardware"));
    folder(QStringLiteral("Home"));
    // In list order: Inbox, Errands, hardware, Home, Office.
    struct Case {
        const char* name;
        Context* start;
        KeyPress press;
        Context* expected;
        QList<qint64> positions; // of the three tasks of the starting context, the one on show first
    };
    const Case cases[] = {
        {"right", errands, key(Qt::Key_Right), hardware, {1, 1, 2}},
        {"left", errands, key(Qt::Key_Left), inbox, {1, 1, 2}},
        // At either end the task still leaves its context and is set back: the others close up, the task
        // keeps its number as the new context is never told to add it.
        {"right on the last", office, key(Qt::Key_Right), office, {1, 1, 2}},
        {"left on the first", inbox, key(Qt::Key_Left), inbox, {1, 1, 2}},
        // The first in list order wins, whatever the case of the letter.
        {"h", errands, letter(QStringLiteral("h")), hardware, {1, 1, 2}},
        {"H", errands, letter(QStringLiteral("H")), hardware, {1, 1, 2}},
        {"ho", errands, letter(QStringLiteral("ho")), hardware, {1, 1, 2}},
        // Choosing by letter adds the task to the end of the chosen context, even the same one.
        {"o in Office", office, letter(QStringLiteral("o")), office, {3, 1, 2}},
        {"no match", errands, letter(QStringLiteral("z")), errands, {1, 2, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Task* t = addTask(QStringLiteral("t"), c.start);
        Task* second = addTask(QStringLiteral("u"), c.start);
        Task* third = addTask(QStringLiteral("v"), c.start);
        ASSERT_TRUE(open({t}, {t}));
        MoveToContextKeyboardControl control(*sheet);
        EXPECT_TRUE(control.keyDown(c.press));
        EXPECT_EQ(t->parentContext(), c.expected);
        EXPECT_EQ(sheet->context(), c.expected);
        const auto contexts = views->contextController().arrangedObjects();
        EXPECT_EQ(contexts[size_t(sheet->contextIndex())], c.expected);
        EXPECT_EQ(control.text(), c.expected->name());
        EXPECT_EQ(positionsInContext({t, second, third}), c.positions);
        for (Task* x : {t, second, third})
            context->deleteObject(x);
    }
}

TEST_F(MoveToSheetTest, ProjectKeys)
{
    Project* alpha = newProject(QStringLiteral("Alpha"));
    Project* beta = newProject(QStringLiteral("Beta"));
    Project* gamma = newProject(QStringLiteral("Gamma"), beta);
    Task* t = addTask(QStringLiteral("t"), office, alpha);
    ASSERT_TRUE(open({t}, {t}));
    EXPECT_EQ(sheet->projectIndex(), 0);
    MoveToProjectKeyboardControl control(*sheet);
    struct Step {
        KeyPress press;
        Project* expected;
        const char* text;
    };
    const Step steps[] = {
        {key(Qt::Key_Left), nullptr, "(none)"},
        {key(Qt::Key_Left), nullptr, "(none)"},
        {key(Qt::Key_Right), alpha, "Alpha"},
        {key(Qt::Key_Right), beta, "Beta"},
        {key(Qt::Key_Right), gamma, "Beta > Gamma"},
        {key(Qt::Key_Right), gamma, "Beta > Gamma"},
        {letter(QStringLiteral("a")), alpha, "Alpha"},
        // The project's own name counts, not its path name.
        {letter(QStringLiteral("g")), gamma, "Beta > Gamma"},
        {letter(QStringLiteral("x")), gamma, "Beta > Gamma"},
    };
    for (size_t i = 0; i < std::size(steps); ++i) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(control.keyDown(steps[i].press));
        EXPECT_EQ(t->parentProject(), steps[i].expected);
        EXPECT_EQ(sheet->project(), steps[i].expected);
        EXPECT_EQ(control.text(), QString::fromLatin1(steps[i].text));
        for (Project* p : {alpha, beta, gamma})
            EXPECT_EQ(std::count(p->tasks().begin(), p->tasks().end(), t), p == steps[i].expected ? 1 : 0) << p->name();
    }
    EXPECT_EQ(sheet->projectIndex(), 2);
}

TEST_F(MoveToSheetTest, StepIntoAnEmptyProjectListFailsAndChangesNothing)
{
    Task* t = addTask(QStringLiteral("t"), office);
    ASSERT_TRUE(open({t}, {t}));
    const quint64 changes = context->changeCount();
    const Status s = sheet->setNextTaskProject();
    EXPECT_FALSE(s.isOk());
    EXPECT_EQ(sheet->projectIndex(), -1);
    EXPECT_EQ(sheet->project(), nullptr);
    MoveToProjectKeyboardControl control(*sheet);
    EXPECT_TRUE(control.keyDown(key(Qt::Key_Right)));
    EXPECT_EQ(control.text(), QStringLiteral("(none)"));
    EXPECT_EQ(context->changeCount(), changes);
    EXPECT_TRUE(sheet->isOpen());
}

TEST_F(MoveToSheetTest, SpaceFlagsAndShiftSpaceCompletes)
{
    struct Case {
        const char* name;
        bool done;
        bool recurring;
        int newTasks;
    };
    const Case cases[] = {
        {"open recurring", false, true, 1},
        {"done recurring", true, true, 0},
        {"open plain", false, false, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Task* t = addTask(QStringLiteral("water plants"), office);
        t->setStartDate(day(20));
        if (c.recurring) {
            t->setRecurMode(1);
            t->setRecurType(0);
            t->setRecurNumber(1);
        }
        t->setDone(c.done);
        ASSERT_TRUE(open({t}, {t}));
        MoveToContextKeyboardControl control(*sheet);
        const qsizetype before = context->countForEntity(QStringLiteral("task"));
        EXPECT_TRUE(control.keyDown(key(Qt::Key_Space, Qt::ShiftModifier, QStringLiteral(" "))));
        EXPECT_EQ(t->done(), !c.done);
        EXPECT_EQ(context->countForEntity(QStringLiteral("task")) - before, c.newTasks);
        if (c.newTasks) {
            EXPECT_EQ(fetch<Task>(QStringLiteral("task"), QStringLiteral("startDate == %@"), {day(27)}).size(), 1u);
        }
    }

    Task* t = addTask(QStringLiteral("call"), office);
    ASSERT_TRUE(open({t}, {t}));
    MoveToContextKeyboardControl control(*sheet);
    for (bool flagged : {true, false}) {
        EXPECT_TRUE(control.keyDown(key(Qt::Key_Space, {}, QStringLiteral(" "))));
        EXPECT_EQ(t->nextAction(), flagged);
        EXPECT_EQ(sheet->isFlagVisible(), flagged);
    }
}

TEST_F(MoveToSheetTest, DeleteShowsTheNextSelectedTaskOrCloses)
{
    for (int k : {Qt::Key_Backspace, Qt::Key_Delete}) {
        sheetHost.calls.clear();
        Task* a = addTask(QStringLiteral("a"), office);
        Task* b = addTask(QStringLiteral("b"), office);
        ASSERT_TRUE(open({a, b}, {a, b}));
        MoveToContextKeyboardControl control(*sheet);
        EXPECT_TRUE(control.keyDown(key(k)));
        EXPECT_TRUE(a->isDeleted());
        EXPECT_EQ(sheet->task(), b);
        EXPECT_TRUE(sheet->isOpen());
        // The deleted task is still in the arrangement until the list re-arranges: never shown again.
        EXPECT_TRUE(control.keyDown(key(Qt::Key_Up)));
        EXPECT_FALSE(sheet->isOpen());
        sheetHost.calls.clear();
        ASSERT_TRUE(open({b}, {b}));
        EXPECT_TRUE(control.keyDown(key(k)));
        EXPECT_TRUE(b->isDeleted());
        EXPECT_FALSE(sheet->isOpen());
        EXPECT_EQ(sheetHost.calls, QStringList({"focus", "show", "close"}));
    }
}

TEST_F(MoveToSheetTest, KeysLeftToTheDialogAndFocus)
{
    Task* t = addTask(QStringLiteral("t"), office);
    ASSERT_TRUE(open({t}, {t}));
    MoveToContextKeyboardControl control(*sheet);
    EXPECT_FALSE(control.isLabelVisible());
    EXPECT_EQ(control.textColour(), Colour::grey());
    control.setFocus(true);
    EXPECT_TRUE(control.isLabelVisible());
    EXPECT_EQ(control.textColour(), (Colour{0.6, 0.2, 0.2, 1}));

    EXPECT_FALSE(control.keyDown(key(Qt::Key_Return, {}, QStringLiteral("\r"))));
    EXPECT_FALSE(control.keyDown(key(Qt::Key_F5)));
    EXPECT_EQ(control.text(), QStringLiteral("Office"));
    EXPECT_TRUE(control.keyDown(key(Qt::Key_Tab, {}, QStringLiteral("\t"))));
    EXPECT_EQ(sheetHost.calls.last(), QStringLiteral("next key view"));
    EXPECT_TRUE(sheet->isOpen());
    EXPECT_TRUE(control.keyDown(key(Qt::Key_Enter, Qt::KeypadModifier, QStringLiteral("\r"))));
    EXPECT_FALSE(sheet->isOpen());
    EXPECT_EQ(t->parentContext(), office);
}
