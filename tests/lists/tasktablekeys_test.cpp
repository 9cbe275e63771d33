#include "support/modelfixture.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/listhost.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasktablekeys.h"
#include "lists/tasktablestate.h"

#include <algorithm>

namespace {

using C = TaskTableCommand;
using K = TaskTableKind;

constexpr auto kShift = Qt::ShiftModifier;
constexpr auto kCtrl = Qt::ControlModifier;
constexpr auto kAlt = Qt::AltModifier;

KeyPress key(int k, Qt::KeyboardModifiers modifiers = {})
{
    return {k, modifiers, k == Qt::Key_Space ? QStringLiteral(" ") : QString()};
}

// A character key as Qt reports it: the key code of a Latin-1 key is its upper-case character.
KeyPress typed(const QString& text, Qt::KeyboardModifiers modifiers = {})
{
    return {int(text.front().toUpper().unicode()), modifiers, text};
}

// A task selected in a sorted table, with a context and a project.
constexpr TaskTableKeyState kSorted{false, true, true, true, false};
constexpr TaskTableKeyState kNatural{true, true, true, true, false};
constexpr TaskTableKeyState kNoTask{true, false, false, false, false};
constexpr TaskTableKeyState kNoProject{true, true, false, true, false};
constexpr TaskTableKeyState kFolderTypeAhead{true, true, true, true, true};

struct KeyCase {
    const char* what;
    TaskTableKind kind;
    KeyPress key;
    TaskTableKeyState state;
    TaskTableCommand expected;
};

const KeyCase kKeyCases[] = {
    // The context table, rule by rule.
    {"@", K::ContextTasks, typed("@", kShift), kNatural, C::ProcessAndReviewTasks},
    {"+ on the keypad", K::ContextTasks, typed("+", Qt::KeypadModifier), kNatural, C::IncreaseEffort},
    {"Shift+Return", K::ContextTasks, key(Qt::Key_Return, kShift), kNatural, C::InsertNewTask},
    {"Return alone edits", K::ContextTasks, key(Qt::Key_Return), kNatural, C::Unhandled},
    {"Backspace is not forward Delete", K::ContextTasks, key(Qt::Key_Backspace), kNatural, C::Unhandled},
    {"Ctrl+Shift+Space: Shift first", K::ContextTasks, key(Qt::Key_Space, kShift | kCtrl), kNatural, C::MarkAsDone},
    {"Ctrl+Space", K::ContextTasks, key(Qt::Key_Space, kCtrl), kNatural, C::MarkAsMaybe},
    {"Alt+Space", K::ContextTasks, key(Qt::Key_Space, kAlt), kNatural, C::FlagAsNextAction},
    {"> with a project", K::ContextTasks, typed(">", kShift), kNatural, C::JumpToProject},
    {"> without a project", K::ContextTasks, typed(">", kShift), kNoProject, C::Unhandled},
    {"> without a selection", K::ContextTasks, typed(">", kShift), kNoTask, C::Unhandled},
    {"< is the project table's", K::ContextTasks, typed("<"), kNatural, C::Unhandled},
    {"Alt+Right still the project", K::ContextTasks, key(Qt::Key_Right, kAlt), kNatural, C::NextProjectOfTask},
    {"Ctrl+Alt+Up in natural order", K::ContextTasks, key(Qt::Key_Up, kCtrl | kAlt), kNatural, C::MoveToTop},
    {"Ctrl+Alt+Up sorted", K::ContextTasks, key(Qt::Key_Up, kCtrl | kAlt), kSorted, C::SelectPreviousFolder},
    {"Ctrl+Alt+Shift+Down sorted", K::ContextTasks, key(Qt::Key_Down, kCtrl | kAlt | kShift), kSorted, C::CarryTaskToNextFolder},
    {"Ctrl+Alt+Down in natural order", K::ContextTasks, key(Qt::Key_Down, kCtrl | kAlt), kNatural, C::MoveToBottom},
    {"Alt+Down in natural order", K::ContextTasks, key(Qt::Key_Down, kAlt), kNatural, C::MoveDown},
    {"Alt+Up sorted moves the selection", K::ContextTasks, key(Qt::Key_Up, kAlt), kSorted, C::Unhandled},
    {"6", K::ContextTasks, typed("6"), kNatural, C::Unhandled},
    {"v (stored after w)", K::ContextTasks, typed("v"), kNatural, C::TaskTypeAhead},
    {"full stop always for folders", K::ContextTasks, typed("."), kFolderTypeAhead, C::FolderTypeAhead},
    {"accented letter", K::ContextTasks, typed(QStringLiteral("é")), kNatural, C::Unhandled},
    {"Ctrl+B gives a control character", K::ContextTasks, typed(QStringLiteral("\x02"), kCtrl), kNatural, C::Unhandled},

    {"project >", K::ProjectTasks, typed(">"), kNatural, C::Unhandled},
    {"project Left", K::ProjectTasks, key(Qt::Key_Left), kNatural, C::PreviousContextOfTask},
    {"project Ctrl+Shift+Up", K::ProjectTasks, key(Qt::Key_Up, kCtrl | kShift), kNatural, C::CarryTaskToPreviousFolder},

    {"to-complete <", K::AllTasks, typed("<"), kSorted, C::JumpToContext},
    {"to-complete Alt+Left", K::AllTasks, key(Qt::Key_Left, kAlt), kSorted, C::PreviousContextOfTask},
    {"to-complete Ctrl+Shift+Down carries nothing", K::AllTasks, key(Qt::Key_Down, kCtrl | kShift), kSorted, C::SelectNextFolder},
    {"to-complete Alt+Up", K::AllTasks, key(Qt::Key_Up, kAlt), kNatural, C::Unhandled},
    {"to-complete Shift+Return", K::AllTasks, key(Qt::Key_Return, kShift), kSorted, C::Unhandled},

    {"completed Space", K::CompletedTasks, key(Qt::Key_Space), kSorted, C::Unhandled},
    {"completed @", K::CompletedTasks, typed("@"), kSorted, C::Unhandled},
    {"completed Alt+Right", K::CompletedTasks, key(Qt::Key_Right, kAlt), kSorted, C::NextContextOfTask},
    {"completed b despite the preference", K::CompletedTasks, typed("b"), kFolderTypeAhead, C::TaskTypeAhead},
    {"completed B", K::CompletedTasks, typed("B"), kFolderTypeAhead, C::Unhandled},

    {"archive Shift+Enter", K::ArchivedTasks, key(Qt::Key_Enter, kShift | Qt::KeypadModifier), kSorted, C::InsertNewTask},
    {"archive Shift+Space", K::ArchivedTasks, key(Qt::Key_Space, kShift), kSorted, C::Unhandled},
    {"archive +", K::ArchivedTasks, typed("+"), kSorted, C::Unhandled},
    {"archive Left", K::ArchivedTasks, key(Qt::Key_Left), kSorted, C::Unhandled},
    {"archive Ctrl+Shift+Down", K::ArchivedTasks, key(Qt::Key_Down, kCtrl | kShift), kSorted, C::CarryTaskToNextFolder},
    {"archive R", K::ArchivedTasks, typed("R"), kSorted, C::FolderTypeAhead},
};

} // namespace

TEST(TaskTableKeyRules, FirstMatchingRuleWins)
{
    for (const KeyCase& c : kKeyCases)
        EXPECT_EQ(int(taskTableCommandForKey(c.kind, c.key, c.state)), int(c.expected)) << c.what;
}

TEST(TaskTableTypeAhead, KeysWithinHalfASecondBuildOneText)
{
    struct Step {
        char character;
        double time;
        const char* buffer;
    };
    const Step steps[] = {
        {'a', 100.0, "a"},
        {'b', 100.5, "ab"}, // exactly half a second still continues
        {'c', 100.9, "abc"},
        {'d', 101.41, "d"},
        {'.', 101.6, "d."},
    };
    TypeAhead typeAhead;
    for (const Step& s : steps)
        EXPECT_EQ(typeAhead.type(QChar(s.character), s.time), QString::fromLatin1(s.buffer)) << s.character << " at " << s.time;
}

TEST(TaskTableSlider, ClickPositionGivesWholeSteps)
{
    struct Case {
        double x;
        int maximum;
        int expected;
    };
    const Case cases[] = {{100, 5, 1}, {150, 5, 5}, {95, 5, 1}, {180, 5, 5}, {109.9, 5, 1}, {110, 5, 2}, {150, 4, 4}, {125, 4, 3}};
    for (const Case& c : cases)
        EXPECT_EQ(sliderValueForClick(c.x, 100, 50, c.maximum), c.expected) << c.x << " of max " << c.maximum;
    EXPECT_EQ(sliderValueForClick(100, 100, 0, 5), 1) << "a cell of no width";
}

class TaskTableKeysTest : public ModelFixture {
protected:
    void SetUp() override
    {
        ModelFixture::SetUp();
        prefs = std::make_unique<Preferences>(path(QStringLiteral("prefs.ini")));
        prefs->setBool(PreferenceKey::typeAheadAlwaysForFolders, false);
        inbox = newContext(QStringLiteral("Inbox"));
        inbox->setIsInbox(true);
        home = newContext(QStringLiteral("Home"));
        home->setIsInbox(false);
        work = newContext(QStringLiteral("Work"));
        work->setIsInbox(false);
        alpha = newProject(QStringLiteral("Alpha"));
        beta = newProject(QStringLiteral("Beta"));
        gamma = newProject(QStringLiteral("Gamma"));
        views = std::make_unique<TabViewController>(*context, *prefs, host);
        contextKeys = std::make_unique<TaskTableKeys>(*views, TaskTableKind::ContextTasks);
        projectKeys = std::make_unique<TaskTableKeys>(*views, TaskTableKind::ProjectTasks);
    }

    void show(Context* c)
    {
        views->contextController().selectRecord(c);
        views->contextTasks().updatePredicate();
    }
    void show(Project* p)
    {
        views->projectController().selectRecord(p);
        views->projectTasks().updatePredicate();
    }
    QStringList selectedNames(const TasksArrayController& list) const
    {
        QStringList names;
        for (Task* t : list.selectedObjects())
            names << t->name();
        return names;
    }
    // The first task on show whose name begins with `prefix`, ignoring case.
    static Task* firstShown(const TasksArrayController& list, const QString& prefix)
    {
        for (Task* t : list.arrangedObjects())
            if (t->name().startsWith(prefix, Qt::CaseInsensitive))
                return t;
        return nullptr;
    }

    ListHost host;
    std::unique_ptr<Preferences> prefs;
    std::unique_ptr<TabViewController> views;
    std::unique_ptr<TaskTableKeys> contextKeys;
    std::unique_ptr<TaskTableKeys> projectKeys;
    Context* inbox = nullptr;
    Context* home = nullptr;
    Context* work = nullptr;
    Project* alpha = nullptr;
    Project* beta = nullptr;
    Project* gamma = nullptr;
};

TEST_F(TaskTableKeysTest, TypeAheadFindsTasksByBeginningThenInside)
{
    for (const char* name : {"Apple pie", "buzz saw", "Buy milk", "buy bread", "Mow lawn", "Fix the axqzb gate", "wash car"})
        addTask(QString::fromLatin1(name), home);
    show(home);
    ContextTasksArrayController& list = views->contextTasks();
    ASSERT_EQ(list.arrangedObjects().size(), 7u);

    EXPECT_TRUE(contextKeys->keyDown(typed("b"), 10.0));
    EXPECT_EQ(list.selectedObjects(), std::vector<Task*>{firstShown(list, QStringLiteral("b"))});
    contextKeys->keyDown(typed("u"), 10.3);
    contextKeys->keyDown(typed("y"), 10.6);
    EXPECT_EQ(contextKeys->typeAhead().buffer(), QStringLiteral("buy"));
    ASSERT_NE(firstShown(list, QStringLiteral("buy")), nullptr);
    EXPECT_EQ(list.selectedObjects(), std::vector<Task*>{firstShown(list, QStringLiteral("buy"))});

    contextKeys->keyDown(typed("m"), 11.2);
    EXPECT_EQ(contextKeys->typeAhead().buffer(), QStringLiteral("m"));
    EXPECT_EQ(selectedNames(list), QStringList{QStringLiteral("Mow lawn")});

    // Two letters that begin nothing leave the selection alone, even though a name contains them.
    list.setSelectedObjects({});
    contextKeys->keyDown(typed("x"), 20.0);
    contextKeys->keyDown(typed("q"), 20.1);
    EXPECT_TRUE(list.selectedObjects().empty());
    contextKeys->keyDown(typed("z"), 20.2);
    EXPECT_EQ(selectedNames(list), QStringList{QStringLiteral("Fix the axqzb gate")});
    contextKeys->keyDown(typed("z"), 20.3);
    EXPECT_EQ(selectedNames(list), QStringList{QStringLiteral("Fix the axqzb gate")}) << "no match keeps the last one";
}

TEST_F(TaskTableKeysTest, FolderTypeAheadGoesToTheTreeBesideTheTable)
{
    addTask(QStringLiteral("wash car"), home);
    addTask(QStringLiteral("write report"), work);
    auto* receipts = context->insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
    receipts->setName(QStringLiteral("Receipts"));
    auto* nextWeek = context->insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
    nextWeek->setName(QStringLiteral("Next week"));
    show(home);
    views->contextTasks().setSelectedObjects({});

    prefs->setBool(PreferenceKey::typeAheadAlwaysForFolders, true);
    EXPECT_TRUE(contextKeys->keyDown(typed("w"), 1.0));
    EXPECT_EQ(views->contextController().selectedObject(), work);
    EXPECT_EQ(namesOf(views->contextTasks().arrangedObjects()), QStringList{QStringLiteral("write report")});

    // A name that contains the text is found when none begins with it.
    contextKeys->keyDown(typed("b"), 5.0);
    contextKeys->keyDown(typed("o"), 5.1);
    EXPECT_EQ(views->contextController().selectedObject(), inbox);

    prefs->setBool(PreferenceKey::typeAheadAlwaysForFolders, false);
    projectKeys->keyDown(typed("G", kShift), 10.0);
    EXPECT_EQ(views->projectController().selectedObject(), gamma);
    TaskTableKeys archive(*views, TaskTableKind::ArchivedTasks);
    archive.keyDown(typed("R", kShift), 10.0);
    EXPECT_EQ(views->archiveCategoryController().selectedObject(), receipts);
    TaskTableKeys toComplete(*views, TaskTableKind::AllTasks);
    toComplete.keyDown(typed("N", kShift), 10.0);
    EXPECT_EQ(views->smartFolderController().selectedFolder(), nextWeek);
    // Nothing matches: the selection stays.
    toComplete.keyDown(typed("Q", kShift), 20.0);
    EXPECT_EQ(views->smartFolderController().selectedFolder(), nextWeek);
}

TEST_F(TaskTableKeysTest, EffortStaysOnItsScale)
{
    struct Case {
        qint64 effort;
        const char* key;
        qint64 expected;
    };
    const Case cases[] = {{4, "+", 4}, {3, "+", 4}, {1, "+", 2}, {1, "-", 1}, {2, "-", 1}, {4, "-", 3}};
    Task* task = addTask(QStringLiteral("Paint fence"), home);
    show(home);
    for (const Case& c : cases) {
        task->setEffort(c.effort);
        views->contextTasks().selectObject(task);
        EXPECT_TRUE(contextKeys->keyDown(typed(QString::fromLatin1(c.key)), 0));
        EXPECT_EQ(task->effort(), c.expected) << c.key << " on " << c.effort;
    }
}

TEST_F(TaskTableKeysTest, ShiftSpaceTogglesDone)
{
    Task* task = addTask(QStringLiteral("Post letter"), home);
    task->setDone(true);
    show(home);
    views->contextTasks().selectObject(task);
    EXPECT_TRUE(contextKeys->keyDown(key(Qt::Key_Space, kShift), 0));
    EXPECT_FALSE(task->done());
    contextKeys->keyDown(key(Qt::Key_Space, kShift), 0);
    EXPECT_TRUE(task->done());
}

TEST_F(TaskTableKeysTest, ArrowsStepTheProjectThroughNone)
{
    Task* task = addTask(QStringLiteral("Order paint"), home, gamma);
    task->setNewInProject(false);
    show(home);
    views->contextTasks().selectObject(task);

    struct Step {
        int key;
        Project* expected;
    };
    const Step steps[] = {
        {Qt::Key_Right, nullptr}, // after the last: none
        {Qt::Key_Right, alpha},   // then the first
        {Qt::Key_Right, beta},
        {Qt::Key_Left, alpha},
        {Qt::Key_Left, nullptr},
        {Qt::Key_Left, gamma}, // before none: the last
    };
    for (const Step& s : steps) {
        EXPECT_TRUE(contextKeys->keyDown(key(s.key), 0));
        EXPECT_EQ(task->parentProject(), s.expected) << (s.expected ? s.expected->name() : QStringLiteral("none"));
        for (Project* p : {alpha, beta, gamma}) {
            const bool listed = std::ranges::count(p->tasks(), static_cast<Record*>(task)) > 0;
            EXPECT_EQ(listed, p == s.expected) << p->name();
        }
    }
    EXPECT_TRUE(task->newInProject());
    EXPECT_EQ(views->contextTasks().selectedObject(), task);
}

TEST_F(TaskTableKeysTest, ProjectTableArrowsWrapThroughTheContexts)
{
    Task* task = addTask(QStringLiteral("Draft plan"), inbox, alpha);
    show(alpha);
    views->projectTasks().selectObject(task);

    EXPECT_TRUE(projectKeys->keyDown(key(Qt::Key_Left), 0));
    EXPECT_EQ(task->parentContext(), work);
    EXPECT_EQ(std::ranges::count(inbox->tasks(), static_cast<Record*>(task)), 0);
    EXPECT_EQ(std::ranges::count(work->tasks(), static_cast<Record*>(task)), 1);
    projectKeys->keyDown(key(Qt::Key_Right), 0);
    EXPECT_EQ(task->parentContext(), inbox);
    projectKeys->keyDown(key(Qt::Key_Right), 0);
    EXPECT_EQ(task->parentContext(), home);
    EXPECT_EQ(task->parentProject(), alpha);
}

TEST_F(TaskTableKeysTest, DigitSetsThePriorityOfEverySelectedTask)
{
    std::vector<Task*> tasks;
    for (const char* name : {"One", "Two", "Three", "Four"}) {
        tasks.push_back(addTask(QString::fromLatin1(name), home));
        tasks.back()->setPriority(1);
    }
    show(home);
    views->contextTasks().setSelectedObjects({tasks[0], tasks[2], tasks[3]});
    EXPECT_TRUE(contextKeys->keyDown(typed("5"), 0));
    EXPECT_EQ(tasks[0]->priority(), 5);
    EXPECT_EQ(tasks[1]->priority(), 1);
    EXPECT_EQ(tasks[2]->priority(), 5);
    EXPECT_EQ(tasks[3]->priority(), 5);
}

TEST_F(TaskTableKeysTest, CtrlArrowsSelectTheNeighbourFolderAndShiftCarriesTheTask)
{
    Task* task = addTask(QStringLiteral("Fix tap"), home);
    addTask(QStringLiteral("Weed beds"), home);
    show(home);
    ContextTasksArrayController& list = views->contextTasks();
    list.selectObject(task);

    EXPECT_TRUE(contextKeys->keyDown(key(Qt::Key_Down, kCtrl | kShift), 0));
    EXPECT_EQ(views->contextController().selectedObject(), work);
    EXPECT_EQ(task->parentContext(), work);
    EXPECT_EQ(list.arrangedObjects(), std::vector<Task*>{task});
    EXPECT_EQ(list.selectedObject(), task);

    contextKeys->keyDown(key(Qt::Key_Up, kCtrl), 0);
    EXPECT_EQ(views->contextController().selectedObject(), home);
    EXPECT_EQ(task->parentContext(), work);
    EXPECT_EQ(namesOf(list.arrangedObjects()), QStringList{QStringLiteral("Weed beds")});
    EXPECT_TRUE(list.selectedObjects().empty());

    // Nothing selected: Shift only steps the folder.
    contextKeys->keyDown(key(Qt::Key_Up, kCtrl | kShift), 0);
    EXPECT_EQ(views->contextController().selectedObject(), inbox);
    EXPECT_TRUE(inbox->tasks().empty());

    // The project table carries the task into the project.
    Task* planned = addTask(QStringLiteral("Plan"), home, alpha);
    show(alpha);
    views->projectTasks().selectObject(planned);
    projectKeys->keyDown(key(Qt::Key_Down, kCtrl | kShift), 0);
    EXPECT_EQ(planned->parentProject(), beta);
    EXPECT_EQ(views->projectTasks().selectedObject(), planned);
}

TEST_F(TaskTableKeysTest, NaturalOrderMovesOnlyInNaturalOrder)
{
    Task* a = addTask(QStringLiteral("a"), home);
    Task* b = addTask(QStringLiteral("b"), home);
    Task* c = addTask(QStringLiteral("c"), home);
    show(home);
    ContextTasksArrayController& list = views->contextTasks();
    ASSERT_FALSE(list.isNaturalOrdered());
    list.selectObject(c);
    EXPECT_FALSE(contextKeys->keyDown(key(Qt::Key_Up, kAlt), 0));
    EXPECT_EQ(positionsInContext({a, b, c}), (QList<qint64>{1, 2, 3}));

    views->tableState(TaskView::Contexts).toggleNaturalOrderSorting();
    ASSERT_TRUE(list.isNaturalOrdered());
    list.selectObject(c);
    EXPECT_TRUE(contextKeys->keyDown(key(Qt::Key_Up, kAlt), 0));
    EXPECT_EQ(list.arrangedObjects(), (std::vector<Task*>{a, c, b}));
    EXPECT_TRUE(contextKeys->keyDown(key(Qt::Key_Up, kCtrl | kAlt), 0));
    EXPECT_EQ(list.arrangedObjects(), (std::vector<Task*>{c, a, b}));
    EXPECT_EQ(views->contextController().selectedObject(), home) << "no folder step in natural order";
}

TEST_F(TaskTableKeysTest, JumpToTheTaskProjectBringsItsViewForward)
{
    Task* task = addTask(QStringLiteral("Call builder"), home, beta);
    Task* loose = addTask(QStringLiteral("Call mum"), home);
    show(home);
    views->contextTasks().selectObject(loose);
    EXPECT_FALSE(contextKeys->keyDown(typed(">", kShift), 0)) << "a task without a project";
    views->contextTasks().selectObject(task);
    EXPECT_TRUE(contextKeys->keyDown(typed(">", kShift), 0));
    EXPECT_EQ(views->projectController().selectedObject(), beta);
    EXPECT_EQ(views->projectTasks().selectedObject(), task);
    EXPECT_EQ(views->selectedTab(), TaskView::Projects);

    EXPECT_TRUE(projectKeys->keyDown(typed("<"), 0));
    EXPECT_EQ(views->contextController().selectedObject(), home);
    EXPECT_EQ(views->contextTasks().selectedObject(), task);
    EXPECT_EQ(views->selectedTab(), TaskView::Contexts);
}

TEST_F(TaskTableKeysTest, DoneCellKeepsASelectionAfterAnImmediateCleanUp)
{
    Task* first = addTask(QStringLiteral("a first"), home);
    Task* middle = addTask(QStringLiteral("b middle"), home);
    Task* last = addTask(QStringLiteral("c last"), home);
    prefs->setBool(PreferenceKey::cleanUpImmediately, true);
    show(home);
    ContextTasksArrayController& list = views->contextTasks();
    list.selectObject(middle);

    middle->setDone(true); // the cell's own toggle
    EXPECT_TRUE(contextKeys->clickedCell(QStringLiteral("done"), middle, 0, 0, 20, {}));
    EXPECT_TRUE(middle->cleanedUp());
    EXPECT_EQ(list.arrangedObjects(), (std::vector<Task*>{first, last}));
    EXPECT_EQ(list.selectedObject(), last) << "the row the task left";
}

TEST_F(TaskTableKeysTest, OtherCellClicks)
{
    Task* task = addTask(QStringLiteral("Book hall"), home, alpha);
    Task* other = addTask(QStringLiteral("Buy stamps"), home);
    task->setNewInProject(false);
    show(home);
    ContextTasksArrayController& list = views->contextTasks();
    list.selectObject(other);

    EXPECT_TRUE(contextKeys->clickedCell(QStringLiteral("nextaction"), task, 0, 0, 20, {}));
    EXPECT_TRUE(task->nextAction());
    EXPECT_FALSE(other->nextAction()) << "the click selects its own row";
    EXPECT_TRUE(contextKeys->clickedCell(QStringLiteral("status"), task, 0, 0, 20, {}));
    EXPECT_TRUE(task->waitingFor());

    EXPECT_FALSE(contextKeys->clickedCell(QStringLiteral("project"), task, 0, 0, 20, {}));
    EXPECT_TRUE(task->newInProject());

    EXPECT_FALSE(contextKeys->clickedCell(QStringLiteral("name"), task, 0, 0, 20, {}));
    EXPECT_EQ(views->selectedTab(), TaskView::Contexts);
    EXPECT_FALSE(contextKeys->clickedCell(QStringLiteral("name"), other, 0, 0, 20, kAlt)) << "no project to jump to";
    EXPECT_TRUE(contextKeys->clickedCell(QStringLiteral("name"), task, 0, 0, 20, kAlt));
    EXPECT_EQ(views->selectedTab(), TaskView::Projects);
    EXPECT_EQ(views->projectTasks().selectedObject(), task);

    // The slider cells, at both edges of a cell from 200 to 280.
    EXPECT_TRUE(contextKeys->clickedCell(QStringLiteral("priority"), task, 280, 200, 80, {}));
    EXPECT_TRUE(contextKeys->clickedCell(QStringLiteral("effort"), task, 200, 200, 80, {}));
    EXPECT_EQ(task->priority(), 5);
    EXPECT_EQ(task->effort(), 1);

    TaskTableKeys projectTable(*views, TaskTableKind::ProjectTasks);
    EXPECT_FALSE(projectTable.clickedCell(QStringLiteral("nextaction"), task, 0, 0, 20, {})) << "only the context table's cells act";
}
