#include "support/listsfixture.h"

#include "app/preferencedefaults.h"
#include "lists/taskremindercontroller.h"
#include "store/objectcontext.h"

#include <QCoreApplication>

#include <memory>

// The fixture's clock stands at Sunday 22 November 2026, 10:30 local time.
class TaskReminderTest : public ListsFixture {
protected:
    QDateTime at(int day, int hour, int minute = 0) const { return QDateTime(QDate(2026, 11, day), QTime(hour, minute)); }

    Task* dueTask(const QString& name, const QDateTime& due)
    {
        Task* t = addTask(name, inbox);
        t->setDueDate(due);
        return t;
    }
    TaskReminderController& reminders()
    {
        // The controller's timer needs an application object; the tests never run its event loop.
        static int argc = 1;
        static char name[] = "lists_tests";
        static char* argv[] = {name, nullptr};
        static QCoreApplication app(argc, argv);
        context->processPendingChanges();
        if (!controller) {
            controller = std::make_unique<TaskReminderController>(*context, *prefs, [this](const DesktopNotification& n) { posted.push_back(n); });
            controller->start();
        }
        return *controller;
    }
    // What the checks at each of `moments` posted, one line per notification.
    QStringList checkAt(std::initializer_list<QDateTime> moments)
    {
        QStringList out;
        for (const QDateTime& moment : moments) {
            setNow(moment);
            posted.clear();
            reminders().check();
            for (const DesktopNotification& n : posted)
                out << moment.toString(QStringLiteral("d HH:mm ")) + n.description;
        }
        return out;
    }
    void TearDown() override
    {
        controller.reset();
        ListsFixture::TearDown();
    }

    std::unique_ptr<TaskReminderController> controller;
    std::vector<DesktopNotification> posted;
};

TEST_F(TaskReminderTest, EachDueMomentRemindsOnceWhenItArrives)
{
    prefs->setInteger(PreferenceKey::reminderHourForDueDates, 8);
    dueTask(QStringLiteral("call"), at(22, 14));
    dueTask(QStringLiteral("dateOnly"), QDate(2026, 11, 23).startOfDay());
    dueTask(QStringLiteral("done"), at(22, 12))->setDone(true);
    dueTask(QStringLiteral("archived"), at(22, 12))->setArchived(true);
    dueTask(QStringLiteral("past"), at(22, 10));
    addTask(QStringLiteral("undated"), inbox);
    reminders();
    EXPECT_TRUE(posted.empty()) << "the first run finds nothing to catch up";
    EXPECT_EQ(reminders().nextMoment(), at(22, 14));

    EXPECT_EQ(checkAt({at(22, 13, 59), at(22, 14), at(22, 14, 5), at(23, 7, 59), at(23, 8), at(23, 20)}),
              (QStringList{QStringLiteral("22 14:00 call"), QStringLiteral("23 08:00 dateOnly")}));

    setNow(at(22, 14));
    posted.clear();
    // Checked again at a moment already seen: the clock was set back.
    reminders().check();
    EXPECT_TRUE(posted.empty());
}

TEST_F(TaskReminderTest, AReminderNamesItsTaskAndOpensIt)
{
    Task* call = dueTask(QStringLiteral("call"), at(22, 11));
    reminders();
    checkAt({at(22, 11)});
    ASSERT_EQ(posted.size(), 1u);
    EXPECT_EQ(posted[0].name, QStringLiteral("VyroTaskReminder"));
    EXPECT_EQ(posted[0].description, QStringLiteral("call"));
    EXPECT_EQ(posted[0].clickContext, call->uri());
    EXPECT_EQ(context->objectWithURI(posted[0].clickContext), call);
}

TEST_F(TaskReminderTest, ChangedDueDatesAndStatesMoveTheNextMoment)
{
    Task* call = dueTask(QStringLiteral("call"), at(22, 11));
    reminders();
    EXPECT_EQ(checkAt({at(22, 11)}), QStringList{QStringLiteral("22 11:00 call")});

    call->setDueDate(at(22, 16));
    context->processPendingChanges();
    EXPECT_EQ(reminders().nextMoment(), at(22, 16)) << "a batch alone moves the timer";
    Task* soon = dueTask(QStringLiteral("soon"), at(22, 12));
    context->processPendingChanges();
    EXPECT_EQ(reminders().nextMoment(), at(22, 12));
    soon->setDone(true);
    context->processPendingChanges();
    EXPECT_EQ(checkAt({at(22, 12), at(22, 16)}), QStringList{QStringLiteral("22 16:00 call")}) << "moved later: reminds again; done: never";
    EXPECT_FALSE(reminders().nextMoment().isValid());

    setNow(at(22, 17));
    dueTask(QStringLiteral("set into the past"), at(22, 16, 30));
    context->processPendingChanges();
    EXPECT_TRUE(checkAt({at(22, 17, 1)}).isEmpty()) << "a due time given after it passed";

    prefs->setInteger(PreferenceKey::reminderHourForDueDates, 18);
    dueTask(QStringLiteral("dateOnly"), QDate(2026, 11, 22).startOfDay());
    reminders().reschedule();
    EXPECT_EQ(reminders().nextMoment(), at(22, 18));
}

TEST_F(TaskReminderTest, StartCatchesUpWithOneSummary)
{
    const struct {
        const char* lastCheck; // empty: the first run
        int expected;          // notifications posted at start
        QString description;
    } cases[] = {
        {"", 0, {}},
        {"2026-11-22T10:29:00", 0, {}},
        {"2026-11-22T09:30:00", 1, QStringLiteral("today")},
        {"2026-11-21T10:00:00", 1, QStringLiteral("yesterday\ntoday")},
        {"2026-11-23T10:00:00", 0, {}}, // a check in the future: the clock went back
    };
    dueTask(QStringLiteral("yesterday"), at(21, 12));
    dueTask(QStringLiteral("today"), at(22, 9, 45));
    dueTask(QStringLiteral("tomorrow"), at(23, 12));
    dueTask(QStringLiteral("done"), at(22, 8))->setDone(true);
    for (const auto& c : cases) {
        controller.reset();
        posted.clear();
        if (*c.lastCheck)
            prefs->setString(PreferenceKey::lastReminderCheck, QDateTime::fromString(QString::fromLatin1(c.lastCheck), Qt::ISODate).toString(Qt::ISODateWithMs));
        else
            prefs->removeKey(PreferenceKey::lastReminderCheck);
        reminders();
        ASSERT_EQ(int(posted.size()), c.expected) << c.lastCheck;
        if (c.expected) {
            EXPECT_EQ(posted[0].description, c.description) << c.lastCheck;
        }
        EXPECT_EQ(reminders().nextMoment(), at(23, 12)) << c.lastCheck;
        EXPECT_EQ(QDateTime::fromString(prefs->stringForKey(PreferenceKey::lastReminderCheck), Qt::ISODateWithMs), at(22, 10, 30));
    }
}

TEST_F(TaskReminderTest, ManyAtOnceComeAsOneSummary)
{
    for (int i = 0; i < TaskReminderController::kSeparateReminders + 1; ++i)
        dueTask(QStringLiteral("t%1").arg(i), at(22, 11));
    reminders();
    checkAt({at(22, 11)});
    ASSERT_EQ(posted.size(), 1u);
    EXPECT_EQ(posted[0].description.count(u'\n'), TaskReminderController::kSeparateReminders);
}
