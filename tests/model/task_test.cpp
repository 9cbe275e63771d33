#include "support/modelfixture.h"

#include "model/cleanupcontroller.h"

using TaskTest = ModelFixture;

TEST_F(TaskTest, NamesAreNeverEmptyAndMayBeCapitalised)
{
    Task* t = newTask(QString(), nullptr);
    EXPECT_EQ(t->name(), QStringLiteral("New task"));
    t->setName(QStringLiteral("buy milk"));
    EXPECT_EQ(t->name(), QStringLiteral("buy milk"));
    preferences[QStringLiteral("autoCapitalizeTaskNames")] = true;
    t->setName(QStringLiteral("buy mILK"));
    EXPECT_EQ(t->name(), QStringLiteral("Buy mILK"));
    EXPECT_TRUE(t->setValueForKey(u"name", Value()).isOk());
    EXPECT_EQ(t->name(), QStringLiteral("New task"));
}

TEST_F(TaskTest, StartStaysStrictlyBeforeDue)
{
    Task* t = newTask(QStringLiteral("t"), nullptr);
    t->setDueDate(day(10));
    t->setStartDate(day(12));
    EXPECT_FALSE(t->startDate().isValid()) << "a start after the due date is ignored";
    t->setStartDate(day(10));
    EXPECT_FALSE(t->startDate().isValid()) << "the same instant counts as later";
    t->setStartDate(day(9));
    EXPECT_EQ(t->startDate(), day(9));
    t->setDueDate(day(8));
    EXPECT_EQ(t->dueDate(), day(10)) << "a due date before the start is ignored";
    t->setDueDate(day(9));
    EXPECT_EQ(t->dueDate(), day(10));
    // Clearing one first lets both move anywhere.
    t->setDueDate(QDateTime());
    t->setStartDate(day(20));
    EXPECT_EQ(t->startDate(), day(20));
}

TEST_F(TaskTest, StatusInItsOrder)
{
    Project* p = newProject(QStringLiteral("p"));
    struct Case {
        bool maybe, waiting, delegated, future, firstInProject;
        int status;
    };
    const Case cases[] = {
        {true, true, false, false, false, 4}, {false, true, true, false, false, 2}, {false, false, true, true, false, 3},
        {false, false, false, true, true, 1}, {false, true, false, false, true, 2}, {false, false, false, false, true, 5},
        {false, false, false, false, false, 0},
    };
    for (const Case& c : cases) {
        Task* t = newTask(QStringLiteral("t"), nullptr, c.firstInProject ? p : nullptr);
        t->setMaybe(c.maybe);
        t->setWaitingFor(c.waiting);
        t->setDelegated(c.delegated);
        t->setPositionInProject(c.firstInProject ? 1 : 2);
        if (c.future)
            t->setStartDate(day(23, 0, 0));
        EXPECT_EQ(t->status(), c.status);
    }
    // A task that starts today is not a future task: "Today" is the start of the day.
    Task* today = newTask(QStringLiteral("today"), nullptr);
    today->setStartDate(day(22, 18));
    EXPECT_TRUE(today->future());
    today->setStartDate(day(22, 0));
    EXPECT_FALSE(today->future());
}

TEST_F(TaskTest, CompletingAndReopening)
{
    Context* c = newContext(QStringLiteral("c"));
    std::vector<Task*> tasks;
    for (int i = 0; i < 5; ++i)
        tasks.push_back(addTask(QStringLiteral("t%1").arg(i), c));
    EXPECT_EQ(positionsInContext(tasks), QList<qint64>({1, 2, 3, 4, 5}));

    Task* t = tasks[1];
    t->setNextAction(true);
    t->setDone(true);
    EXPECT_EQ(t->completionDate(), now());
    EXPECT_FALSE(t->nextAction());
    EXPECT_FALSE(t->cleanedUp());
    // Done but not cleaned up: still in the order.
    EXPECT_EQ(positionsInContext(tasks), QList<qint64>({1, 2, 3, 4, 5}));

    t->setCleanedUp(true);
    EXPECT_EQ(positionsInContext({tasks[0], tasks[2], tasks[3], tasks[4]}), QList<qint64>({1, 2, 3, 4}));

    // Re-opened after clean-up: to the end, the completion date kept.
    const QDateTime completed = t->completionDate();
    setNow(day(23));
    t->setDone(false);
    EXPECT_EQ(t->positionInContext(), 5);
    EXPECT_FALSE(t->cleanedUp());
    EXPECT_EQ(t->completionDate(), completed);

    // Re-opening a task that was not cleaned up leaves the positions alone.
    tasks[4]->setDone(true);
    tasks[4]->setDone(false);
    EXPECT_EQ(positionsInContext(tasks), QList<qint64>({1, 5, 2, 3, 4}));

    // Archiving closes the gap too.
    tasks[0]->setArchived(true);
    EXPECT_EQ(positionsInContext({tasks[2], tasks[3], tasks[4], tasks[1]}), QList<qint64>({1, 2, 3, 4}));
}

TEST_F(TaskTest, RowColourAroundMidnight)
{
    struct Case {
        QDateTime due;
        Colour colour;
    };
    const Case cases[] = {
        {day(22, 10), Colour::dueToday()},   {day(20), Colour::dueToday()},          {day(22, 23, 58), Colour::dueToday()},
        {day(22, 23, 59), Colour::black()},  {day(23, 0, 0), Colour::dueTomorrow()}, {day(23, 23, 58), Colour::dueTomorrow()},
        {day(23, 23, 59), Colour::black()},  {day(24, 0, 0), Colour::black()},       {QDateTime(), Colour::black()},
    };
    for (const Case& c : cases) {
        Task* t = newTask(QStringLiteral("t"), nullptr);
        t->setDueDate(c.due);
        EXPECT_EQ(t->colourForTask(), c.colour) << c.due.toString(Qt::ISODate).toStdString();
        t->setDone(true);
        EXPECT_EQ(t->colourForTask(), Colour::done());
    }
}

TEST_F(TaskTest, ListsOfTagsContactsAndLinks)
{
    Task* t = newTask(QStringLiteral("t"), nullptr);
    EXPECT_FALSE(t->displayTags().has_value());
    t->setDisplayTags({QStringLiteral("home"), QStringLiteral("work")});
    EXPECT_EQ(t->tags(), QStringLiteral("home,work"));
    t->setDisplayContact({QStringLiteral("Ann")});
    EXPECT_EQ(*t->displayContact(), QStringList({"Ann"}));

    t->setUrl(QStringLiteral("https://example.org/a b#$#http://[broken#$#file:///tmp/x"));
    EXPECT_EQ(t->urlsFromUrl().size(), 3);
    EXPECT_EQ(*t->displayURL(), QStringList({"https://example.org/a%20b", "file:///tmp/x"}));
    t->setDisplayURL({});
    EXPECT_TRUE(t->primitiveValue(Task::Attr::url).isNull());
    EXPECT_FALSE(t->displayURL().has_value());
}

TEST_F(TaskTest, RecurrenceCountZeroStillGivesAStartDate)
{
    Task* t = newTask(QStringLiteral("t"), nullptr);
    t->setRecurNumber(0);
    EXPECT_FALSE(t->isRecuringTask());
    EXPECT_EQ(t->recurrenceString(), QString());
    EXPECT_EQ(t->startDate(), day(22, 0));
    t->setRecurNumber(2);
    EXPECT_EQ(t->recurrenceString(), QString(QChar(0x267A)));
    EXPECT_EQ(t->colorForRecurrenceString(), Colour::recurrence());
}

TEST_F(TaskTest, TheInboxHearsOfItsOpenTasks)
{
    Context* inbox = newContext(QStringLiteral("Inbox"));
    inbox->setIsInbox(true);
    Context* other = newContext(QStringLiteral("other"));
    int posted = 0;
    auto connection = QObject::connect(&environment(), &ModelEnvironment::inboxCountHasChanged, [&](Record*) { ++posted; });
    Task* t = addTask(QStringLiteral("t"), inbox);
    EXPECT_EQ(posted, 1);
    t->setDone(true);
    t->setCleanedUp(true);
    EXPECT_EQ(posted, 3); // setDone clears cleanedUp too
    Task* elsewhere = addTask(QStringLiteral("u"), other);
    elsewhere->setArchived(true);
    EXPECT_EQ(posted, 3);
    QObject::disconnect(connection);
}
