#include "support/listsfixture.h"

#include "lists/alltasksarraycontroller.h"
#include "lists/archivedtasksarraycontroller.h"
#include "lists/completedtasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tasktablestate.h"
#include "model/archivecategory.h"
#include "model/smartfolder.h"
#include "store/log.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

struct ModeCase {
    const char* label;
    ViewModes modes;
    QString search;
    QStringList shown; // in name order
};

ViewModes modes(int time, int owner = 0, bool flagged = false, bool nextActions = false, bool completed = false)
{
    return {time, owner, flagged, nextActions, completed};
}

} // namespace

class TaskListTest : public ListsFixture {
protected:
    // Shows `list` under each case's modes (for this run only) and compares what it shows.
    void expectViews(TaskView view, const std::vector<ModeCase>& cases)
    {
        TasksArrayController& list = switcher().taskList(view);
        switcher().tableState(view).sortByColumnsWithIdentifiers({u"name"_s}, {u"1"_s});
        for (const ModeCase& c : cases) {
            switcher().setSearchText(c.search);
            switcher().setModesOverride(view, c.modes);
            EXPECT_EQ(names(list.arrangedObjects()), c.shown) << c.label;
        }
    }
};

TEST_F(TaskListTest, ContextViewTermsHideInactiveProjectsInEveryTimeMode)
{
    Context* home = folder(u"Home"_s);
    Project* active = project(u"Active"_s);
    Project* inactive = project(u"Inactive"_s, false);
    Project* singles = project(u"Singles"_s, true, true);
    addTask(u"plain"_s, home);
    addTask(u"inactive"_s, home, inactive);
    addTask(u"seq1"_s, home, active);
    addTask(u"seq2"_s, home, active);
    addTask(u"single0"_s, home, singles);
    addTask(u"single2"_s, home, singles);
    addTask(u"maybe"_s, home)->setMaybe(true);
    addTask(u"future"_s, home)->setStartDate(day(23, 0));
    addTask(u"today"_s, home)->setStartDate(day(22, 0));
    addTask(u"waiting"_s, home)->setWaitingFor(true);
    addTask(u"delegated"_s, home)->setDelegated(true);
    addTask(u"flagged"_s, home)->setNextAction(true);
    addTask(u"neverCleaned"_s, home)->setPrimitiveValue(Task::Attr::cleanedUp, Value());
    addTask(u"cleaned"_s, home)->setCleanedUp(true);
    addTask(u"archived"_s, home)->setArchived(true);
    addTask(u"elsewhere"_s, inbox);
    switcher().contextController().selectRecord(home);

    const QStringList pending{u"delegated"_s, u"flagged"_s, u"future"_s, u"plain"_s, u"seq1"_s, u"seq2"_s, u"single0"_s, u"single2"_s, u"today"_s, u"waiting"_s};
    QStringList withMaybe = pending + QStringList{u"maybe"_s};
    withMaybe.sort();
    QStringList anyTime = withMaybe + QStringList{u"inactive"_s};
    anyTime.sort();
    const std::vector<ModeCase> cases = {
        {"pending", modes(0), {}, pending},
        {"current: no start date or today", modes(1), {}, QStringList(pending).filter(QRegularExpression(u"^(?!future)"_s))},
        {"future", modes(2), {}, {u"future"_s}},
        {"maybe", modes(3), {}, {u"maybe"_s}},
        {"everything: maybe too, inactive projects still not", modes(4), {}, withMaybe},
        {"unknown time mode adds no term", modes(9), {}, anyTime},
        {"mine", modes(0, 1), {}, QStringList(pending).filter(QRegularExpression(u"^(?!waiting|delegated)"_s))},
        {"waiting for", modes(0, 2), {}, {u"waiting"_s}},
        {"delegated", modes(0, 3), {}, {u"delegated"_s}},
        {"flagged", modes(0, 0, true), {}, {u"flagged"_s}},
        {"next actions: no project, single tasks, first of a sequence", modes(0, 0, false, true), {},
         QStringList(pending).filter(QRegularExpression(u"^(?!seq2)"_s))},
        {"search is the last term", modes(4), u"FLAG"_s, {u"flagged"_s}},
    };
    expectViews(TaskView::Contexts, cases);
}

TEST_F(TaskListTest, ProjectViewTestsNeitherActiveNorANeverSetCleanUp)
{
    Project* dormant = project(u"Dormant"_s, false);
    addTask(u"plain"_s, inbox, dormant);
    addTask(u"maybe"_s, inbox, dormant)->setMaybe(true);
    addTask(u"future"_s, inbox, dormant)->setStartDate(day(24));
    addTask(u"neverCleaned"_s, inbox, dormant)->setPrimitiveValue(Task::Attr::cleanedUp, Value());
    addTask(u"cleaned"_s, inbox, dormant)->setCleanedUp(true);
    addTask(u"archived"_s, inbox, dormant)->setArchived(true);
    addTask(u"waiting"_s, inbox, dormant)->setWaitingFor(true);
    switcher().projectController().selectRecord(dormant);

    const std::vector<ModeCase> cases = {
        {"pending", modes(0), {}, {u"future"_s, u"neverCleaned"_s, u"plain"_s, u"waiting"_s}},
        {"current", modes(1), {}, {u"neverCleaned"_s, u"plain"_s, u"waiting"_s}},
        {"everything: maybe and future together", modes(4), {}, {u"future"_s, u"maybe"_s, u"neverCleaned"_s, u"plain"_s, u"waiting"_s}},
        {"completed mode shows cleaned-up tasks", modes(0, 0, false, false, true), {}, {u"cleaned"_s, u"future"_s, u"neverCleaned"_s, u"plain"_s, u"waiting"_s}},
        {"owner waiting", modes(0, 2), {}, {u"waiting"_s}},
    };
    expectViews(TaskView::Projects, cases);
}

TEST_F(TaskListTest, ToCompleteViewNeedsASmartFolderToFilter)
{
    Project* dormant = project(u"Dormant"_s, false);
    addTask(u"plain"_s, inbox);
    addTask(u"maybe"_s, inbox)->setMaybe(true);
    addTask(u"dormant"_s, inbox, dormant);
    addTask(u"flagged"_s, inbox)->setNextAction(true);
    addTask(u"cleaned"_s, inbox)->setCleanedUp(true);
    auto* all = context->insertNewObject<SmartFolder>(u"smartFolder"_s);
    all->setName(u"All tasks"_s);
    all->setIsAllPending(true);

    expectViews(TaskView::ToComplete, {{"no smart folder: everything, whatever the modes", modes(3, 2, true),
                                        {}, {u"cleaned"_s, u"dormant"_s, u"flagged"_s, u"maybe"_s, u"plain"_s}}});
    switcher().smartFolderController().setSelectedFolder(all);
    expectViews(TaskView::ToComplete, {
                                          {"All tasks, pending", modes(0), {}, {u"flagged"_s, u"plain"_s}},
                                          {"All tasks, maybe", modes(3), {}, {u"maybe"_s}},
                                          {"All tasks, flagged", modes(4, 0, true), {}, {u"flagged"_s}},
                                      });
    EXPECT_EQ(switcher().allTasks().currentTasksFolderName(), u"All tasks"_s);
}

TEST_F(TaskListTest, CompletedAndArchiveViews)
{
    auto* category = context->insertNewObject<ArchiveCategory>(u"archiveCategory"_s);
    category->setName(u"2026"_s);
    addTask(u"open"_s, inbox);
    addTask(u"done"_s, inbox)->setDone(true);
    Task* cleaned = addTask(u"done and cleaned"_s, inbox);
    cleaned->setDone(true);
    cleaned->setCleanedUp(true);
    for (const char* name : {"filed", "filed and flagged"}) {
        Task* t = addTask(QString::fromLatin1(name), inbox);
        t->setDone(true);
        t->setArchived(true);
        category->addTasksObject(t);
    }
    ASSERT_TRUE(category->tasks().back()->setValueForKey(u"nextAction"_s, Value::boolean(true)).isOk());
    switcher().archiveCategoryController().selectRecord(category);

    expectViews(TaskView::Completed, {{"done, cleaned up or not, not archived", {}, {}, {u"done"_s, u"done and cleaned"_s}},
                                      {"search only", {}, u"CLEAN"_s, {u"done and cleaned"_s}}});
    expectViews(TaskView::Archive, {{"archived entries", {}, {}, {u"filed"_s, u"filed and flagged"_s}},
                                    {"flagged", modes(0, 0, true), {}, {u"filed and flagged"_s}}});
    EXPECT_EQ(switcher().archivedTasks().currentTasksFolderName(), u"2026"_s);
    EXPECT_EQ(switcher().completedTasks().currentTasksFolderName(), u""_s);
}

TEST_F(TaskListTest, StoredModesAndTodayTakenWhenThePredicateIsBuilt)
{
    Context* home = folder(u"Home"_s);
    addTask(u"starts tomorrow"_s, home)->setStartDate(day(23, 0));
    prefs->setInteger(u"timeModeControlForContextsState"_s, 1);
    switcher().contextController().selectRecord(home);
    ContextTasksArrayController& list = switcher().contextTasks();
    list.updatePredicate();
    EXPECT_TRUE(list.arrangedObjects().empty());

    setNow(QDateTime(QDate(2026, 11, 23), QTime(8, 0)));
    list.rearrangeObjects();
    EXPECT_TRUE(list.arrangedObjects().empty()) << "yesterday's date stays until the predicate is rebuilt";
    list.updatePredicate();
    EXPECT_EQ(names(list.arrangedObjects()), QStringList{u"starts tomorrow"_s});
}

TEST_F(TaskListTest, NewTaskInTheContextTable)
{
    struct Case {
        const char* label;
        bool copyContainer, copyPriority, select;
        int timeMode, ownerMode;
        bool expectProject;
        qint64 expectPriority;
        bool expectMaybe, expectWaiting;
    };
    const Case cases[] = {
        {"copies project and priority of the selected task", true, true, true, 0, 0, true, 5, false, false},
        {"preferences off", false, false, true, 0, 0, false, 3, false, false},
        {"nothing selected", true, true, false, 0, 0, false, 3, false, false},
        {"made maybe in the maybe mode", false, false, false, 3, 0, false, 3, true, false},
        {"made waiting in the waiting mode", false, false, false, 4, 2, false, 3, false, true},
    };
    Context* home = folder(u"Home"_s);
    Project* garden = project(u"Garden"_s);
    garden->setDefaultTags(u"outside"_s);
    Task* selected = addTask(u"dig"_s, home, garden);
    selected->setPriority(5);
    switcher().contextController().selectRecord(home);
    for (const Case& c : cases) {
        prefs->setBool(u"copyContainerToNewTasks"_s, c.copyContainer);
        prefs->setBool(u"copyPriorityToNewTasks"_s, c.copyPriority);
        switcher().setModesOverride(TaskView::Contexts, modes(c.timeMode, c.ownerMode));
        ContextTasksArrayController& list = switcher().contextTasks();
        list.selectObject(c.select ? selected : nullptr);
        ASSERT_EQ(list.selectedObject() != nullptr, c.select) << c.label;
        Task* made = list.insertNewTask();
        EXPECT_EQ(made->name(), u"New task"_s) << c.label;
        EXPECT_EQ(made->parentContext(), home) << c.label;
        EXPECT_EQ(made->parentProject() == garden, c.expectProject) << c.label;
        EXPECT_EQ(made->tags(), c.expectProject ? u"outside"_s : u""_s) << c.label;
        EXPECT_EQ(made->priority(), c.expectPriority) << c.label;
        EXPECT_EQ(made->maybe(), c.expectMaybe) << c.label;
        EXPECT_EQ(made->waitingFor(), c.expectWaiting) << c.label;
        EXPECT_EQ(made->effort(), 1) << c.label;
        EXPECT_TRUE(made->newInContext() && made->newInProject()) << c.label;
        EXPECT_EQ(list.selectedObjects(), std::vector<Task*>{made}) << c.label;
        EXPECT_EQ(host.calls.last(), u"edit name"_s) << c.label;
        EXPECT_TRUE(host.notifications.empty());
    }
}

TEST_F(TaskListTest, NewTaskLandsBelowTheSelectedRowInNaturalOrder)
{
    Context* home = folder(u"Home"_s);
    for (const char* name : {"one", "two", "three"})
        addTask(QString::fromLatin1(name), home);
    switcher().contextController().selectRecord(home);
    switcher().tableState(TaskView::Contexts).sortByColumnsWithIdentifiers({u""_s}, {u""_s});
    ContextTasksArrayController& list = switcher().contextTasks();
    ASSERT_TRUE(list.isNaturalOrdered());
    list.selectObject(list.arrangedObjects()[0]);
    list.insertNewTask();
    EXPECT_EQ(names(list.arrangedObjects()), QStringList({u"one"_s, u"New task"_s, u"two"_s, u"three"_s}));
    EXPECT_EQ(positionsInContext(list.arrangedObjects()), QList<qint64>({1, 2, 3, 4}));
}

TEST_F(TaskListTest, NoGuiAdditionPostsItsNotification)
{
    QLocale::setDefault(QLocale::c());
    Context* home = folder(u"Home"_s);
    Project* garden = project(u"Garden"_s);
    switcher().setModesOverride(TaskView::Contexts, modes(3, 2));
    const QString longNote(120, u'n');
    Task* t = switcher().contextTasks().addNewTask(u"Buy seeds"_s, home, garden, longNote, {}, std::nullopt, day(23), {}, u"shop"_s, true);
    EXPECT_FALSE(t->maybe()) << "the modes only shape tasks made in the window";
    EXPECT_FALSE(t->waitingFor());
    EXPECT_EQ(t->tags(), u"shop"_s) << "explicit tags win over the project's";
    ASSERT_EQ(host.notifications.size(), 1u);
    const DesktopNotification& n = host.notifications.front();
    EXPECT_EQ(n.title, u"Task added to Vyro"_s);
    EXPECT_EQ(n.name, u"VyroNewTaskAdded"_s);
    EXPECT_EQ(n.iconName, u"Vyro.icns"_s);
    EXPECT_TRUE(n.description.startsWith(u"Buy seeds\nContext: Home\nProject: Garden\nStart date: "_s));
    EXPECT_TRUE(n.description.endsWith(u"\n\n"_s + QString(100, u'n') + u"..."_s));
    EXPECT_FALSE(host.calls.contains(u"edit name"_s));
}

TEST_F(TaskListTest, NewTaskInTheProjectTableChoosesItsContext)
{
    Context* home = folder(u"Home"_s);
    Context* office = folder(u"Office"_s);
    Project* plain = project(u"Plain"_s);
    Project* withDefault = project(u"With default"_s);
    withDefault->setDefaultContext(office);
    withDefault->setDefaultTags(u"work"_s);
    Task* atHome = addTask(u"at home"_s, home, withDefault);
    atHome->setPriority(1);

    ProjectTasksArrayController& list = switcher().projectTasks();
    prefs->setBool(u"copyContainerToNewTasks"_s, true);
    prefs->setBool(u"copyPriorityToNewTasks"_s, true);
    switcher().projectController().selectRecord(withDefault);
    list.updatePredicate();
    list.selectObject(atHome);
    Task* t = list.insertNewTask();
    EXPECT_EQ(t->parentContext(), home);
    EXPECT_EQ(t->priority(), 1);
    EXPECT_EQ(t->tags(), u"work"_s);
    EXPECT_EQ(host.calls.filter(u"view"_s).last(), u"view 1"_s);

    prefs->setBool(u"copyContainerToNewTasks"_s, false);
    list.selectObject(atHome);
    EXPECT_EQ(list.insertNewTask()->parentContext(), office);

    switcher().projectController().selectRecord(plain);
    list.updatePredicate();
    Task* third = list.insertNewTask();
    EXPECT_EQ(third->parentContext(), inbox);
    EXPECT_EQ(third->priority(), 3);
    EXPECT_EQ(third->parentProject(), plain);
}

TEST_F(TaskListTest, ArchiveEntriesAndPastedTasks)
{
    auto* category = context->insertNewObject<ArchiveCategory>(u"archiveCategory"_s);
    category->setName(u"Receipts"_s);
    switcher().archiveCategoryController().selectRecord(category);
    Task* entry = switcher().archivedTasks().insertNewTask();
    EXPECT_EQ(entry->name(), u"New archive entry"_s);
    EXPECT_TRUE(entry->archived());
    EXPECT_EQ(entry->parentArchiveCategory(), category);
    EXPECT_EQ(entry->parentContext(), nullptr);
    EXPECT_TRUE(entry->primitiveValue(Task::Attr::cleanedUp).isNull());
    EXPECT_EQ(switcher().archivedTasks().selectedObject(), entry);

    Context* home = folder(u"Home"_s);
    switcher().contextController().selectRecord(home);
    switcher().contextTasks().handlePastedTask(entry);
    EXPECT_EQ(entry->parentContext(), home);
    EXPECT_FALSE(entry->archived());
    switcher().archivedTasks().handlePastedTask(entry);
    EXPECT_TRUE(entry->archived());
}

TEST_F(TaskListTest, FolderListsOrderStepAndCreate)
{
    Context* b = folder(u"beta"_s);
    Context* a = folder(u"Alpha"_s);
    a->computePathNamesForContextAndSubcontexts();
    b->computePathNamesForContextAndSubcontexts();
    inbox->computePathNamesForContextAndSubcontexts();
    ContextArrayController& contexts = switcher().contextController();
    EXPECT_EQ(contexts.arrangedObjects(), (std::vector<Context*>{inbox, a, b}));
    contexts.switchToNextContext();
    EXPECT_EQ(contexts.selectedObject(), nullptr);
    contexts.selectRecord(inbox);
    contexts.switchToPreviousContext();
    EXPECT_EQ(contexts.selectedObject(), b);
    contexts.switchToNextContext();
    EXPECT_EQ(contexts.selectedObject(), inbox);

    a->setSynchronizable(true);
    Context* child = contexts.addNewContext(u"child"_s, a);
    EXPECT_EQ(child->parentContext(), a);
    EXPECT_TRUE(child->synchronizable());
    EXPECT_FALSE(child->isInbox());

    Project* parent = project(u"Parent"_s);
    parent->setDefaultContext(a);
    parent->setDefaultTags(u"t"_s);
    parent->setHasSingleTasks(true);
    Project* sub = switcher().projectController().addNewProject(u"Sub"_s, parent);
    EXPECT_EQ(sub->parentProject(), parent);
    EXPECT_EQ(sub->defaultContext(), a);
    EXPECT_EQ(sub->defaultTags(), u"t"_s);
    EXPECT_TRUE(sub->hasSingleTasks());
    EXPECT_TRUE(sub->active());
    EXPECT_FALSE(sub->completed());
}

TEST_F(TaskListTest, DeletingFoldersAsksFirst)
{
    Context* home = folder(u"Home"_s);
    addTask(u"t"_s, home);
    Project* p = project(u"P"_s);
    Task* kept = addTask(u"kept"_s, inbox, p);
    ContextArrayController& contexts = switcher().contextController();
    ProjectArrayController& projects = switcher().projectController();

    contexts.selectRecord(inbox);
    contexts.remove();
    EXPECT_FALSE(inbox->isDeleted());
    EXPECT_EQ(host.calls.last(), u"Warning: Inbox context cannot be deleted."_s);

    contexts.selectRecord(home);
    host.answerDefault = false;
    contexts.remove();
    EXPECT_FALSE(home->isDeleted());
    EXPECT_EQ(host.calls.last(), u"Confirmation [Delete|Don't delete]"_s);
    host.answerDefault = true;
    contexts.remove();
    EXPECT_TRUE(home->isDeleted());

    // For a project the safe answer is the default button.
    projects.selectRecord(p);
    projects.remove();
    EXPECT_FALSE(p->isDeleted());
    EXPECT_EQ(host.calls.last(), u"Confirmation [Don't delete|Delete]"_s);
    host.answerDefault = false;
    projects.remove();
    EXPECT_TRUE(p->isDeleted());
    EXPECT_FALSE(kept->isDeleted());
    EXPECT_EQ(kept->parentProject(), nullptr);
}

TEST_F(TaskListTest, RepairOldProjects)
{
    Project* top = project(u"Top"_s, false);
    Project* sub = project(u"Sub"_s, false);
    top->addSubprojectsObject(sub);
    top->setPrimitiveValue(Project::Attr::name, Value()); // an old store's project without a name
    std::FILE* log = std::tmpfile();
    setLogSink(log);
    switcher().projectController().repairOldProjects();
    setLogSink(nullptr);
    std::rewind(log);
    QByteArray text(4096, '\0');
    text.truncate(qsizetype(std::fread(text.data(), 1, size_t(text.size()), log)));
    std::fclose(log);
    EXPECT_EQ(QString::fromUtf8(text).split(u'\n', Qt::SkipEmptyParts), QStringList({u"Controlling old projects..."_s, u"Repairing old projects..."_s, u"Creating path names for old projects..."_s}));
    EXPECT_TRUE(top->active() && sub->active());
    EXPECT_EQ(sub->pathName(), u" > Sub"_s);
}

// Each command is one undo step with the name the Edit menu shows, and undoing it gives the state back.
TEST_F(TaskListTest, CommandsAreNamedUndoSteps)
{
    Context* home = folder(u"Home"_s);
    for (const char* name : {"one", "two", "three"})
        addTask(QString::fromLatin1(name), home);
    switcher().contextController().selectRecord(home);
    ContextTasksArrayController& list = switcher().contextTasks();
    struct Case {
        const char* name;
        std::function<void()> command;
    };
    const Case cases[] = {
        {"Complete Task", [&] { list.markAsDone(); }},
        {"Reopen Task", [&] { list.markAsDone(); }},
        {"Flag as Next Action", [&] { list.flagAsNextAction(); }},
        {"Set Priority", [&] { list.setPriority(1); }},
        {"Set Due Date", [&] { list.setDueDateToToday(); }},
        {"Delete Task", [&] { list.remove(); }},
    };
    for (const Case& c : cases) {
        context->processPendingChanges();
        list.selectObject(list.arrangedObjects()[0]);
        const QJsonObject before = storeToJson(*context);
        c.command();
        context->processPendingChanges();
        EXPECT_EQ(context->undoManager().undoActionName(), QString::fromLatin1(c.name));
        context->undo();
        EXPECT_EQ(storeToJson(*context), before) << c.name;
        context->redo();
    }
}

// Searching letter by letter arranges the whole list at every key; from the second key on the list
// filters its content kept in order. What it shows must stay what a fresh list shows, also after the
// store changed between two keys.
TEST_F(TaskListTest, SearchKeyByKeyShowsWhatAFreshListShows)
{
    const QStringList taskNames = {u"Call Rebecca"_s, u"call the bank"_s, u"Repair bike"_s, u"read mail"_s, u"Rent car"_s,
                               u"Recycle"_s, u"Buy bread"_s, u"reply to Ann"_s, u"Prepare talk"_s, u"zebra"_s};
    for (const QString& n : taskNames)
        addTask(n, inbox);
    switcher().contextController().selectRecord(inbox);
    ContextTasksArrayController& list = switcher().contextTasks();
    list.updatePredicate();

    auto fresh = [this](const QString& search) {
        RecordingListHost otherHost;
        TabViewController other(*context, *prefs, otherHost);
        other.contextController().selectRecord(inbox);
        other.setSearchText(search);
        other.contextTasks().updatePredicate();
        return names(other.contextTasks().arrangedObjects());
    };
    auto type = [&](const QString& search) {
        switcher().setSearchText(search);
        list.updatePredicate();
        return names(list.arrangedObjects());
    };
    for (const QString& search : {u"r"_s, u"re"_s, u"rec"_s, u"re"_s, u"r"_s, u""_s, u"e"_s})
        EXPECT_EQ(type(search), fresh(search)) << search.toStdString();

    // A rename between two keys moves the task in the order; a new task joins.
    static_cast<Task*>(list.arrangedObjects().front())->setName(u"zz last"_s);
    addTask(u"Reread notes"_s, inbox);
    context->processPendingChanges();
    for (const QString& search : {u"r"_s, u"re"_s, u"r"_s})
        EXPECT_EQ(type(search), fresh(search)) << "after the change: " << search.toStdString();

    // Readied before the first key (the search field got the focus), after another change.
    addTask(u"Rewind the tape"_s, inbox);
    context->processPendingChanges();
    list.prepareForNewFilters();
    for (const QString& search : {u"rew"_s, u"r"_s})
        EXPECT_EQ(type(search), fresh(search)) << "readied: " << search.toStdString();
}
