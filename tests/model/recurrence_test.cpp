#include "support/modelfixture.h"

#include "model/cleanupcontroller.h"
#include "model/recurrenttaskscontroller.h"
#include "model/tasksduplicator.h"

#include <ctime>

class RecurrenceTest : public ModelFixture {
protected:
    Task* recurring(int mode, int n, int type, const QDateTime& start, const QDateTime& due)
    {
        Task* t = addTask(QStringLiteral("water plants"), home);
        t->setStartDate(start);
        t->setDueDate(due);
        t->setRecurMode(mode);
        t->setRecurType(type);
        t->setRecurNumber(n);
        return t;
    }
    void SetUp() override
    {
        ModelFixture::SetUp();
        home = newContext(QStringLiteral("Home"));
    }
    Context* home = nullptr;
};

TEST_F(RecurrenceTest, NextDates)
{
    struct Case {
        const char* what;
        int mode, n, type;
        QDateTime start, due, now;
        QDateTime nextStart, nextDue;
    };
    const QDateTime none;
    const Case cases[] = {
        {"every 2 weeks from its own dates", 1, 2, 0, day(1), day(5), day(22), day(15), day(19)},
        {"every 2 weeks from today keeps the gap", 1, 2, 1, day(1), day(5), day(10, 17), day(24, 0), day(28, 0)},
        {"every 3 days", 0, 3, 0, day(1), day(2), day(22), day(4), day(5)},
        {"monthly from 31 January", 2, 1, 0, QDateTime(QDate(2027, 1, 20), QTime(9, 0)), QDateTime(QDate(2027, 1, 31), QTime(9, 0)), day(22),
         QDateTime(QDate(2027, 2, 20), QTime(9, 0)), QDateTime(QDate(2027, 2, 28), QTime(9, 0))},
        {"monthly across the year's end", 2, 2, 0, day(30, 8), QDateTime(QDate(2026, 12, 31), QTime(8, 0)), day(22),
         QDateTime(QDate(2027, 1, 30), QTime(8, 0)), QDateTime(QDate(2027, 2, 28), QTime(8, 0))},
        {"no due date", 0, 1, 0, day(1), none, day(22), day(2), none},
        {"unknown unit", 3, 1, 0, day(1), day(5), day(22), none, none},
        {"unknown base", 0, 1, 7, day(1), day(5), day(22), none, none},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        setNow(c.now);
        Task* t = recurring(c.mode, c.n, c.type, c.start, c.due);
        Task* next = RecurrentTasksController::handleRecurrenceForTask(t);
        ASSERT_NE(next, nullptr);
        EXPECT_EQ(next->startDate(), c.nextStart);
        EXPECT_EQ(next->dueDate(), c.nextDue);
        EXPECT_EQ(t->startDate(), c.start) << "the finished task is not changed";
        EXPECT_EQ(next->recurNumber(), c.n);
        EXPECT_FALSE(next->done());
    }
    EXPECT_EQ(RecurrentTasksController::handleRecurrenceForTask(addTask(QStringLiteral("once"), home)), nullptr);
}

TEST_F(RecurrenceTest, TimeOfDaySurvivesDaylightSavingChanges)
{
    const QByteArray zone = qgetenv("TZ");
    qputenv("TZ", "Europe/Berlin");
    tzset();
    setNow(QDateTime(QDate(2026, 10, 20), QTime(8, 0)));
    Task* daily = recurring(1, 1, 0, QDateTime(QDate(2026, 10, 20), QTime(9, 0)), QDateTime(QDate(2026, 10, 21), QTime(9, 0)));
    Task* next = RecurrentTasksController::handleRecurrenceForTask(daily);
    EXPECT_EQ(next->startDate().time(), QTime(9, 0));
    EXPECT_EQ(next->startDate().date(), QDate(2026, 10, 27));
    EXPECT_EQ(next->startDate().toSecsSinceEpoch() - daily->startDate().toSecsSinceEpoch(), 7 * 86400 + 3600);
    if (zone.isNull())
        qunsetenv("TZ");
    else
        qputenv("TZ", zone);
    tzset();
}

TEST_F(RecurrenceTest, WhatTheCopyCarries)
{
    Project* p = newProject(QStringLiteral("p"));
    Task* t = recurring(0, 1, 0, day(1), day(2));
    p->addTasksObject(t);
    t->setContent(QStringLiteral("notes"));
    t->setUrl(QStringLiteral("https://example.org"));
    t->setTags(QStringLiteral("garden"));
    t->setContact(QStringLiteral("Ann"));
    t->setNextAction(true);
    t->setSyncID(QStringLiteral("abc"));
    t->setDone(true);
    t->setNextAction(true);

    Task* copy = TasksDuplicator::duplicateTaskFrom(t);
    EXPECT_TRUE(copy->nextAction()) << "a duplicated flagged task keeps its flag";
    EXPECT_EQ(copy->content(), QStringLiteral("notes"));
    EXPECT_TRUE(copy->primitiveValue(Task::Attr::contact).isNull());
    EXPECT_TRUE(copy->primitiveValue(Task::Attr::syncID).isNull());
    // A copy is open, and says so: not absent flags, which the context list would read as hidden.
    EXPECT_EQ(copy->primitiveValue(Task::Attr::done), Value::boolean(false));
    EXPECT_EQ(copy->primitiveValue(Task::Attr::cleanedUp), Value::boolean(false));
    EXPECT_EQ(copy->priority(), 0);
    EXPECT_EQ(copy->parentProject(), p);
    EXPECT_EQ(copy->positionInContext(), 2);
    EXPECT_EQ(copy->positionInProject(), 2);

    preferences[QStringLiteral("copyDetailsFromCompletedTasksToNextRecurrentTasks")] = true;
    Task* kept = RecurrentTasksController::handleRecurrenceForTask(t);
    EXPECT_FALSE(kept->nextAction()) << "the next occurrence is never flagged";
    EXPECT_EQ(kept->tags(), QStringLiteral("garden"));
    EXPECT_EQ(kept->url(), QStringLiteral("https://example.org"));
    EXPECT_TRUE(kept->primitiveValue(Task::Attr::contact).isNull());

    preferences[QStringLiteral("copyDetailsFromCompletedTasksToNextRecurrentTasks")] = false;
    Task* bare = RecurrentTasksController::handleRecurrenceForTask(t);
    for (int attribute : {Task::Attr::content, Task::Attr::url, Task::Attr::tags, Task::Attr::contact})
        EXPECT_EQ(bare->primitiveValue(attribute), Value::string(QStringLiteral("")));
}

TEST_F(RecurrenceTest, CleanUpMakesOneNextOccurrence)
{
    Task* t = recurring(0, 1, 0, day(21), day(22, 18));
    t->setDone(true);
    EXPECT_EQ(CleanUpController::cleanUpTasks(*context), 1);
    const auto open = home->uncompletedTasks();
    ASSERT_EQ(open->size(), 1u);
    EXPECT_NE(open->front(), t);
    EXPECT_EQ(static_cast<Task*>(open->front())->dueDate(), day(23, 18));
    EXPECT_TRUE(t->cleanedUp());
    EXPECT_EQ(CleanUpController::cleanUpTasks(*context), 0);
    EXPECT_EQ(context->countForEntity(QStringLiteral("task")), 2);
}
