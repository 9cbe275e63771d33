#include "support/modelfixture.h"

#include "model/cleanupcontroller.h"
#include "model/startupdata.h"
#include "store/log.h"

#include <cstdio>

using FoldersTest = ModelFixture;

TEST_F(FoldersTest, PathNamesFollowRenamesAndMoves)
{
    Context* top = newContext(QStringLiteral("Top"));
    Context* middle = newContext(QStringLiteral("Middle"), top);
    Context* leaf = newContext(QStringLiteral("Leaf"), middle);
    EXPECT_EQ(leaf->pathName(), QStringLiteral("Top > Middle > Leaf"));
    EXPECT_EQ(leaf->displayPathNameForList(), QStringLiteral("  Leaf"));
    top->setName(QString());
    EXPECT_EQ(top->name(), QStringLiteral("New context"));
    EXPECT_EQ(leaf->pathName(), QStringLiteral("New context > Middle > Leaf"));
    middle->setParentContext(nullptr);
    EXPECT_EQ(leaf->pathName(), QStringLiteral("Middle > Leaf"));
    // A move under its own descendant would make a loop and is refused.
    middle->setParentContext(leaf);
    EXPECT_EQ(middle->parentContext(), nullptr);

    EXPECT_EQ(top->subcontextsCountLabel(), QString());
    EXPECT_EQ(middle->subcontextsCountLabel(), QStringLiteral("1 child"));
    newContext(QStringLiteral("Second"), middle);
    EXPECT_EQ(middle->subcontextsCountLabel(), QStringLiteral("2 children"));

    Project* house = newProject(QStringLiteral("House"));
    Project* roof = newProject(QStringLiteral("Roof"), house);
    house->setName(QStringLiteral(""));
    EXPECT_EQ(roof->pathName(), QStringLiteral("New project > Roof"));
}

TEST_F(FoldersTest, InboxIconFollowsItsLoad)
{
    preferences[QStringLiteral("displayRedIconForInboxWithMoreTasksThan")] = 5;
    Context* inbox = newContext(QStringLiteral("Inbox"));
    inbox->setIsInbox(true);
    Context* home = newContext(QStringLiteral("Home"));
    home->setSpecialIndex(3);
    Context* sub = newContext(QStringLiteral("Sub"), home);
    sub->setSpecialIndex(4);
    for (int i = 0; i < 5; ++i)
        addTask(QStringLiteral("t%1").arg(i), inbox);
    EXPECT_EQ(inbox->displaySpecialIndex(), -1);
    addTask(QStringLiteral("sixth"), inbox);
    EXPECT_EQ(inbox->displaySpecialIndex(), -2);
    EXPECT_EQ(home->displaySpecialIndex(), 3);
    EXPECT_EQ(sub->displaySpecialIndex(), std::nullopt);
}

TEST_F(FoldersTest, CountersFollowTheirResets)
{
    Context* home = newContext(QStringLiteral("Home"));
    Context* garden = newContext(QStringLiteral("Garden"), home);
    Project* dormant = newProject(QStringLiteral("Dormant"), nullptr, false);
    Task* open = addTask(QStringLiteral("open"), garden);
    Task* done = addTask(QStringLiteral("done"), garden);
    Task* parked = addTask(QStringLiteral("parked"), garden, dormant);
    parked->setNextAction(true);
    parked->setDueDate(day(21)); // yesterday counts as due today
    Task* late = addTask(QStringLiteral("late"), home);
    late->setDueDate(day(23, 12));
    done->setDone(true);

    // Done but not cleaned up: still pending. A task of an inactive project: not pending, but a next
    // action and due all the same.
    EXPECT_EQ(garden->pendingTasksCountArray(), std::make_pair(qint64(2), qint64(2)));
    EXPECT_EQ(home->pendingTasksCountArray(), std::make_pair(qint64(1), qint64(3)));
    EXPECT_EQ(garden->savedNextActionTasksCount(), 1);
    EXPECT_TRUE(garden->hasDueTodayTasks());
    EXPECT_FALSE(home->hasDueTodayTasks());
    EXPECT_TRUE(home->hasDueTodayTasksIncludingSubcontexts());
    EXPECT_TRUE(home->hasDueTomorrowTasks());
    EXPECT_EQ(home->colourForContext(), Colour::dueToday());
    EXPECT_EQ(dormant->pendingTasksCount(), 1);
    EXPECT_FALSE(dormant->hasPendingTasks());
    EXPECT_EQ(dormant->colourForProject(), Colour::grey());

    // A change below resets the counters of every ancestor; the subtree list is the concatenation.
    CleanUpController::cleanUpTasks(*context);
    EXPECT_FALSE(home->isCounterComputed(TaskCounter::Pending, true));
    EXPECT_EQ(home->pendingTasksCountArray(), std::make_pair(qint64(1), qint64(2)));
    EXPECT_EQ(home->pendingTasksIncludingSubcontexts()->size(), 2u);
    EXPECT_EQ(positionsInContext({open, parked}), QList<qint64>({1, 2}));

    // Deliberately kept: changing `maybe` resets nothing, the counter stays as computed until the next
    // reset of its kind.
    open->setMaybe(true);
    EXPECT_EQ(garden->savedPendingTasksCount(), 1);
    EXPECT_EQ(garden->pendingTasksCount(), 0);
    garden->resetCounterForPendingTasks();
    EXPECT_EQ(garden->savedPendingTasksCount(), 0);
}

TEST_F(FoldersTest, ProjectFlagsRunDownTheTree)
{
    Project* root = newProject(QStringLiteral("Root"));
    Project* child = newProject(QStringLiteral("Child"), root);
    Project* grandchild = newProject(QStringLiteral("Grandchild"), child);
    grandchild->setActive(false);
    root->setActive(false);
    EXPECT_FALSE(child->active());
    root->setActive(true);
    EXPECT_TRUE(child->active());
    EXPECT_TRUE(grandchild->active()) << "reactivating reactivates also what was inactive before";
    root->setCompleted(true);
    EXPECT_TRUE(grandchild->completed());

    Project* idle = newProject(QStringLiteral("Idle"), nullptr, false);
    Project* moved = newProject(QStringLiteral("Moved"));
    Project* below = newProject(QStringLiteral("Below"), moved);
    moved->setParentProject(idle);
    EXPECT_FALSE(moved->active());
    EXPECT_FALSE(below->active());
    moved->setParentProject(nullptr);
    EXPECT_FALSE(moved->active()) << "a move to the root keeps the project's own flag";
    EXPECT_EQ(moved->pathName(), QStringLiteral("Moved"));
}

TEST_F(FoldersTest, SequentialProjectsOfferTheirFirstTask)
{
    Context* c = newContext(QStringLiteral("c"));
    Project* p = newProject(QStringLiteral("p"));
    p->setHasSingleTasks(false);
    std::vector<Task*> tasks;
    for (int i = 1; i <= 3; ++i)
        tasks.push_back(addTask(QStringLiteral("step %1").arg(i), c, p));
    const Predicate nextActions = Predicate::fromFormat(QStringLiteral("(parentProject == NULL) or (parentProject.hasSingleTasks == 1) or (positionInProject == 1)"));
    EXPECT_EQ(namesOf(filteredArray(tasks, nextActions)), QStringList({"step 1"}));
    tasks[0]->setDone(true);
    CleanUpController::cleanUpTasks(*context);
    std::vector<Task*> rest = {tasks[1], tasks[2]};
    EXPECT_EQ(namesOf(filteredArray(rest, nextActions)), QStringList({"step 2"}));
    EXPECT_EQ(tasks[1]->status(), 5);

    // A task flagged again after it was cleaned up counts in the project's next actions, not the
    // context's.
    tasks[0]->setNextAction(true);
    EXPECT_EQ(p->nextActionTasksCount(), 1);
    EXPECT_EQ(c->nextActionTasksCount(), 0);
}

TEST_F(FoldersTest, SmartFolderFilters)
{
    Context* c = newContext(QStringLiteral("c"));
    auto task = [&](const char* name, const char* tags, std::optional<int> dueDay) {
        Task* t = addTask(QLatin1String(name), c);
        if (tags)
            t->setTags(QLatin1String(tags));
        if (dueDay)
            t->setDueDate(day(*dueDay, 15));
        return t;
    };
    std::vector<Task*> tasks = {task("work only", "work", std::nullopt), task("both", "home,work", 23), task("homework", "homework", 21),
                                task("yesterday", nullptr, 21), task("today", nullptr, 22), task("day after", nullptr, 24),
                                task("three days on", nullptr, 25)};
    Task* finished = task("finished", "home", std::nullopt);
    finished->setDone(true);
    finished->setCleanedUp(true);
    tasks.push_back(finished);

    struct Case {
        const char* tags;
        int mode;
        int days;
        bool overdue;
        QStringList expected;
    };
    const Case cases[] = {
        {"home,work", 0, 0, false, {"both", "finished", "homework", "work only"}},
        {"home,work", 1, 0, false, {"both", "homework"}},
        {nullptr, 0, 3, false, {"both", "day after", "today"}},
        {nullptr, 0, 3, true, {"both", "day after", "homework", "today", "yesterday"}},
        {"work", 0, 1, false, {}},
        {"work", 0, 2, false, {"both"}},
        {nullptr, 0, 0, false, {"both", "day after", "homework", "three days on", "today", "work only", "yesterday"}},
        {"", 0, -1, false, {"both", "day after", "homework", "three days on", "today", "work only", "yesterday"}},
    };
    for (const Case& k : cases) {
        auto* folder = context->insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
        if (k.tags)
            folder->setTags(QLatin1String(k.tags));
        folder->setTagsQueryMode(k.mode);
        if (k.days)
            folder->setDueDateDaysNumber(k.days);
        folder->setIncludeOverdueTasks(k.overdue);
        QStringList expected = k.expected;
        expected.sort();
        EXPECT_EQ(namesOf(filteredArray(tasks, folder->predicateForFolder())), expected) << folder->predicateForFolder().predicateFormat().toStdString();
    }
}

TEST_F(FoldersTest, ArchivingFilesTasksAway)
{
    Context* c = newContext(QStringLiteral("c"));
    Project* p = newProject(QStringLiteral("p"));
    std::vector<Task*> tasks;
    for (int i = 0; i < 4; ++i)
        tasks.push_back(addTask(QStringLiteral("t%1").arg(i), c, p));
    tasks[1]->setTags(QStringLiteral("keep"));
    tasks[2]->setDone(true);
    auto* shelf = context->insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
    shelf->setName(QString());
    EXPECT_EQ(shelf->name(), QStringLiteral("New category"));
    auto* sub = context->insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
    sub->setParentCategory(shelf);

    EXPECT_EQ(c->savedPendingTasksCount(), 4);
    archiveTaskTo({tasks[1], tasks[2]}, sub, QString(""));
    for (Task* t : {tasks[1], tasks[2]}) {
        EXPECT_TRUE(t->archived());
        EXPECT_EQ(t->tags(), QString(""));
        EXPECT_EQ(t->parentContext(), nullptr);
        EXPECT_EQ(t->parentProject(), nullptr);
        EXPECT_EQ(t->parentArchiveCategory(), sub);
    }
    EXPECT_EQ(c->savedPendingTasksCount(), 2);
    EXPECT_EQ(positionsInContext({tasks[0], tasks[3]}), QList<qint64>({1, 2}));
    EXPECT_EQ(tasks[3]->positionInProject(), 2);
    // A category counts its done entries as pending too.
    EXPECT_EQ(sub->pendingTasksCountArray(), std::make_pair(qint64(2), qint64(2)));
    EXPECT_EQ(shelf->pendingTasksCountArray(), std::make_pair(qint64(0), qint64(2)));
}

TEST_F(FoldersTest, StartUpMakesTheSpecialRecords)
{
    std::FILE* log = std::tmpfile();
    setLogSink(log);
    auto* renamed = context->insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
    renamed->setName(QStringLiteral("Everything"));
    renamed->setIsAllPending(true);
    auto* old = context->insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
    old->setName(QStringLiteral("Next actions"));
    old->setIsNextAction(true);
    save();

    prepareStoreForWork(*context);
    prepareStoreForWork(*context); // nothing more the second time
    setLogSink(nullptr);

    EXPECT_EQ(namesOf(fetch(QStringLiteral("context"), QStringLiteral("isInbox == 1"))), QStringList({"Inbox"}));
    EXPECT_EQ(namesOf(context->allObjects(QStringLiteral("smartFolder"))), QStringList({"All tasks"}));
    EXPECT_TRUE(old->isDeleted());
    std::rewind(log);
    char buffer[256] = {};
    const size_t n = std::fread(buffer, 1, sizeof buffer - 1, log);
    std::fclose(log);
    EXPECT_EQ(QString::fromUtf8(buffer, qsizetype(n)), QStringLiteral("Cleaning up tasks at startup...\nCleaning up tasks at startup...\n"));
    reopen();
    EXPECT_EQ(context->countForEntity(QStringLiteral("context")), 1);
}

namespace {

template <typename Folder>
void resetAll(Folder* folder)
{
    for (int kind = 0; kind < kTaskCounterKinds; ++kind)
        folder->resetCounter(TaskCounter(kind));
}

// Every saved counter of `folder` against the length of its query, run afresh.
template <typename Folder>
void expectCountersMatchQueries(const Folder* folder)
{
    SCOPED_TRACE(folder->pathName().toStdString());
    for (int kind = 0; kind < kTaskCounterKinds; ++kind) {
        SCOPED_TRACE(kind);
        EXPECT_EQ(folder->savedCount(TaskCounter(kind), false), qint64(folder->taskQuery(TaskCounter(kind))->size()));
        EXPECT_EQ(folder->savedCount(TaskCounter(kind), true), qint64(folder->taskQueryIncludingSubtree(TaskCounter(kind))->size()));
    }
}

} // namespace

// Counting many folders at once (after every counter was reset) gives each folder the numbers of its
// own queries, and leaves alone the counters still computed, stale or not.
TEST_F(FoldersTest, CountersOfManyFoldersAtOnce)
{
    Context* home = newContext(QStringLiteral("Home"));
    Context* garden = newContext(QStringLiteral("Garden"), home);
    Context* kitchen = newContext(QStringLiteral("Kitchen"), home);
    Context* office = newContext(QStringLiteral("Office"));
    Context* calls = newContext(QStringLiteral("Calls"), office);
    Context* evening = newContext(QStringLiteral("Evening"), calls);
    const std::vector<Context*> contexts = {home, garden, kitchen, office, calls, evening};
    Project* root = newProject(QStringLiteral("Root"));
    Project* child = newProject(QStringLiteral("Child"), root);
    Project* grandchild = newProject(QStringLiteral("Grandchild"), child);
    Project* dormant = newProject(QStringLiteral("Dormant"), nullptr, false);
    Project* sleeper = newProject(QStringLiteral("Sleeper"), dormant);
    const std::vector<Project*> projects = {root, child, grandchild, dormant, sleeper};

    // Every mix of the flags and dates the queries read, spread over the folders; a few tasks without a
    // project, and a few deleted.
    std::vector<Task*> tasks;
    for (int i = 0; i < 288; ++i) {
        Project* project = i % 6 == 5 ? nullptr : projects[size_t(i) % projects.size()];
        Task* t = addTask(QStringLiteral("t%1").arg(i), contexts[size_t(i / 2) % contexts.size()], project);
        if (i % 2)
            t->setMaybe(true);
        if (i / 2 % 3 == 1)
            t->setNextAction(true);
        if (i / 6 % 4 == 1)
            t->setDueDate(day(21, 8));
        else if (i / 6 % 4 == 2)
            t->setDueDate(day(22, 23, 59));
        else if (i / 6 % 4 == 3)
            t->setDueDate(day(23, 0));
        if (i / 24 % 3 == 1)
            t->setDone(true);
        else if (i / 24 % 3 == 2)
            t->setArchived(true);
        if (i / 72 % 2 == 1 && t->done())
            t->setCleanedUp(true);
        tasks.push_back(t);
    }
    for (int i = 0; i < 288; i += 37)
        context->deleteObject(tasks[size_t(i)]);

    for (Context* c : contexts)
        resetAll(c);
    for (Project* p : projects)
        resetAll(p);
    home->savedPendingTasksCount();
    // One read filled the own counters of every context.
    for (Context* c : contexts)
        EXPECT_TRUE(c->isCounterComputed(TaskCounter::DueTomorrow, false)) << c->name();
    for (Context* c : contexts)
        expectCountersMatchQueries(c);
    for (Project* p : projects)
        expectCountersMatchQueries(p);

    // After one change only the folders of the task are counted again, each by itself.
    tasks[10]->setDone(true);
    tasks[11]->setDueDate(day(23, 12));
    for (Context* c : contexts)
        expectCountersMatchQueries(c);
    for (Project* p : projects)
        expectCountersMatchQueries(p);

    // Changing `maybe` resets nothing: Garden and Grandchild keep their pending counts. Then every other
    // counter is reset, and of theirs only the due-today one.
    Task* parked = nullptr;
    for (Task* t : tasks)
        if (!t->isDeleted() && t->parentContext() == garden && t->parentProject() == grandchild && !t->maybe() && !t->done() && !t->archived())
            parked = t;
    ASSERT_NE(parked, nullptr);
    const qint64 gardenPending = garden->savedPendingTasksCount();
    const qint64 grandchildPending = grandchild->savedPendingTasksCount();
    parked->setMaybe(true);
    ASSERT_EQ(garden->pendingTasksCount(), gardenPending - 1);
    ASSERT_EQ(grandchild->pendingTasksCount(), grandchildPending - 1);
    for (Context* c : contexts)
        if (c != garden)
            resetAll(c);
    for (Project* p : projects)
        if (p != grandchild)
            resetAll(p);
    garden->resetCounterForDueTodayTasks();
    grandchild->resetCounterForDueTodayTasks();
    office->savedPendingTasksCount();
    root->savedPendingTasksCount();
    EXPECT_EQ(garden->savedPendingTasksCount(), gardenPending);
    EXPECT_EQ(grandchild->savedPendingTasksCount(), grandchildPending);
    EXPECT_EQ(child->savedPendingTasksCountIncludingSubprojects(), child->savedPendingTasksCount() + grandchildPending);
    EXPECT_EQ(home->savedPendingTasksCountIncludingSubcontexts(),
              home->savedPendingTasksCount() + gardenPending + kitchen->savedPendingTasksCountIncludingSubcontexts());
    EXPECT_EQ(garden->savedDueTodayTasksCount(), qint64(garden->dueTodayTasks()->size()));
    EXPECT_EQ(grandchild->savedDueTodayTasksCount(), qint64(grandchild->dueTodayTasks()->size()));
    for (Context* c : {home, kitchen, office, calls, evening})
        EXPECT_EQ(c->savedPendingTasksCount(), c->pendingTasksCount()) << c->name();
    for (Project* p : {root, child, dormant, sleeper})
        EXPECT_EQ(p->savedPendingTasksCount(), p->pendingTasksCount()) << p->name();
}
