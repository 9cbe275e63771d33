#include "exchange/calendartaskmapping.h"

#include "model/cleanupcontroller.h"
#include "support/modelfixture.h"

#include <array>
#include <functional>

namespace {

class CalendarMappingTest : public ModelFixture {
protected:
    void SetUp() override
    {
        ModelFixture::SetUp();
        home = newContext(QStringLiteral("Home"));
        garden = newProject(QStringLiteral("Garden"));
        gardening = newProject(QStringLiteral("Gardening"));
        house = newProject(QStringLiteral("House"));
    }

    // The lines a pull writes to the sync's log.
    QStringList pull(Task& task, CalendarField field, const CalendarTaskFields& remote)
    {
        QStringList lines;
        pullCalendarField(task, field, remote, [&lines](const QString& line) { lines << line; });
        return lines;
    }

    int taskCount() const { return int(context->allObjects(QStringLiteral("task")).size()); }

    Context* home = nullptr;
    Project* garden = nullptr;
    Project* gardening = nullptr;
    Project* house = nullptr;
};

CalendarTaskFields summaryOnly(const QString& summary, int priority = 9)
{
    CalendarTaskFields f;
    f.summary = summary;
    f.priority = priority;
    return f;
}

TEST_F(CalendarMappingTest, TaskAsPushed)
{
    using SetUp = std::function<void(Task&)>;
    CalendarTaskFields detailed = summaryOnly(QStringLiteral("Call Bob"));
    detailed.description = QStringLiteral("about the fence");
    detailed.completed = true;
    detailed.due = QDate(2026, 11, 25);
    detailed.url = QStringLiteral("https://example.org/fence");
    const struct {
        const char* name;
        SetUp setUp;
        int projectNameMode;
        CalendarTaskFields expected;
    } cases[] = {
        {"no priority", [](Task&) {}, 0, summaryOnly(QStringLiteral("Call Bob"))},
        {"priority 0", [](Task& t) { t.setPriority(0); }, 0, summaryOnly(QStringLiteral("Call Bob"))},
        {"priority 1", [](Task& t) { t.setPriority(1); }, 0, summaryOnly(QStringLiteral("Call Bob"), 1)},
        {"priority 2", [](Task& t) { t.setPriority(2); }, 0, summaryOnly(QStringLiteral("Call Bob"), 5)},
        {"priority 3", [](Task& t) { t.setPriority(3); }, 0, summaryOnly(QStringLiteral("Call Bob"))},
        {"project, mode 0", [this](Task& t) { t.moveToProject(garden); }, 0, summaryOnly(QStringLiteral("Call Bob [Garden]"))},
        {"project, mode 1", [this](Task& t) { t.moveToProject(garden); }, 1, summaryOnly(QStringLiteral("[Garden] Call Bob"))},
        {"every other field",
         [](Task& t) {
             t.setContent(QStringLiteral("about the fence"));
             t.setDone(true);
             t.setDueDate(QDateTime(QDate(2026, 11, 25), QTime(17, 0)));
             t.setUrl(Task::urlFromUrls({QStringLiteral("https://example.org/fence"), QStringLiteral("file:///home/me/plan.pdf")}));
         },
         0, detailed},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Task* t = addTask(QStringLiteral("Call Bob"), home);
        c.setUp(*t);
        const CalendarTaskFields pushed = calendarFieldsForTask(*t, c.projectNameMode);
        EXPECT_EQ(pushed, c.expected) << pushed.summary << " " << pushed.priority << " " << pushed.url;
    }
}

TEST_F(CalendarMappingTest, WhichTasksEachSyncModePushes)
{
    using SetUp = std::function<void(Task&)>;
    // Modes 0 to 3, then a value that is not listed.
    const struct {
        const char* name;
        SetUp setUp;
        std::array<bool, 5> pushed;
    } cases[] = {
        {"open", [](Task&) {}, {true, true, true, false, true}},
        {"next action", [](Task& t) { t.setNextAction(true); }, {true, true, true, true, true}},
        {"done next action",
         [](Task& t) {
             t.setDone(true);
             t.setNextAction(true);
         },
         {true, false, false, false, true}},
        {"maybe next action",
         [](Task& t) {
             t.setMaybe(true);
             t.setNextAction(true);
         },
         {true, false, false, false, true}},
        {"waiting-for next action",
         [](Task& t) {
             t.setWaitingFor(true);
             t.setNextAction(true);
         },
         {true, false, false, false, true}},
        // Mode 3 asks nothing of the start date.
        {"future next action",
         [](Task& t) {
             t.setStartDate(day(30));
             t.setNextAction(true);
         },
         {true, true, false, true, true}},
        {"starts today", [](Task& t) { t.setStartDate(DateAnchors::today(day(22))); }, {true, true, true, false, true}},
        {"delegated", [](Task& t) { t.setDelegated(true); }, {true, true, true, false, true}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Task* t = addTask(QStringLiteral("t"), home);
        c.setUp(*t);
        const int modes[] = {0, 1, 2, 3, 4};
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(isPushedBySyncMode(*t, modes[i]), c.pushed[i]) << "mode " << modes[i];
    }
}

TEST(SyncSummary, TakenApart)
{
    const struct {
        const char* summary;
        const char* name;
        const char* project;
    } cases[] = {
        {"Call Bob [Garden]", "Call Bob", "Garden"},
        {"[Garden] Call Bob", "Call Bob", "Garden"},
        {"Call Bob", "Call Bob", ""},
        {"  Call Bob   [[Garden]]", "Call Bob   [", "Garden"},
        {"[Garden]Call Bob", "Call Bob", "Garden"},
        {"x [ Garden ]", "x", " Garden "},
        {"[a] b [c]", "[a] b", "c"},
        {"x [a]b]", "x", "a]b"},
        {"[a]b]", "", "a]b"},
        {"Call [Bob] now", "Call [Bob] now", ""},
        {"a ]", "a ]", ""},
        {"[x", "[x", ""},
        {"[]", "", ""},
        {"", "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.summary);
        const SyncSummary parsed = parseSyncSummary(QString::fromUtf8(c.summary));
        EXPECT_EQ(parsed.name, QString::fromUtf8(c.name));
        EXPECT_EQ(parsed.projectName, QString::fromUtf8(c.project));
    }
}

TEST_F(CalendarMappingTest, PulledSummarySetsNameAndProject)
{
    const QString change = QStringLiteral("Change summary = ");
    const QString searching = QStringLiteral("Searching project...");
    const QString setting = QStringLiteral("Setting parent project...");
    const struct {
        const char* summary;
        const char* name;
        Project* project;
        QStringList log; // after the "Change" line
    } cases[] = {
        {"Call Bob [garden]", "Call Bob", garden, {searching, setting, QStringLiteral("Garden")}},
        {"[GARDEN] Call Bob", "Call Bob", garden, {searching, setting, QStringLiteral("Garden")}},
        // Wildcards of the LIKE match: the first project found in the store's order.
        {"Call Bob [Gard*]", "Call Bob", garden, {searching, setting, QStringLiteral("Garden")}},
        {"Call Bob [G?rdening]", "Call Bob", gardening, {searching, setting, QStringLiteral("Gardening")}},
        {"Call Bob [Gard]", "Call Bob", house, {searching, QStringLiteral("No parent project found for [name]")}},
        {"Call Bob", "Call Bob", house, {}},
        {"[]", "New task", house, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.summary);
        Task* t = addTask(QStringLiteral("old"), home, house);
        Task* next = addTask(QStringLiteral("next in house"), home, house);
        const QStringList log = pull(*t, CalendarField::Summary, summaryOnly(QString::fromUtf8(c.summary)));
        EXPECT_EQ(t->name(), QString::fromUtf8(c.name));
        EXPECT_EQ(t->parentProject(), c.project);
        EXPECT_EQ(log, QStringList{change + QString::fromUtf8(c.summary)} + c.log);
        if (c.project != house) {
            // Moved as the lists move tasks: the house closes up, the task goes to the project's end.
            EXPECT_EQ(next->positionInProject(), 1);
            EXPECT_EQ(t->positionInProject(), c.project->uncompletedTasksCount());
        }
        t->moveToProject(nullptr);
        next->moveToProject(nullptr);
    }
}

TEST_F(CalendarMappingTest, PulledFieldsChangeTheTask)
{
    using SetUp = std::function<void(Task&)>;
    auto remote = [](auto set) {
        CalendarTaskFields f;
        set(f);
        return f;
    };
    auto withUrl = [remote](const char* url) { return remote([url](CalendarTaskFields& f) { f.url = QString::fromUtf8(url); }); };
    auto withPriority = [remote](int p) { return remote([p](CalendarTaskFields& f) { f.priority = p; }); };
    auto withDue = [remote](QDate d) { return remote([d](CalendarTaskFields& f) { f.due = d; }); };
    auto urls = [](const char* list) { return [list](Task& t) { t.setUrl(QString::fromUtf8(list)); }; };
    const SetUp nothing = [](Task&) {};
    const CalendarTaskFields completed = remote([](CalendarTaskFields& f) { f.completed = true; });
    const struct {
        const char* name;
        SetUp setUp;
        CalendarField field;
        CalendarTaskFields remote;
        const char* expected;
        const char* logged;
    } cases[] = {
        {"description", nothing, CalendarField::Description,
         remote([](CalendarTaskFields& f) { f.description = QStringLiteral("two\nlines"); }), "two\nlines", "Change description = two\nlines"},
        {"description removed", [](Task& t) { t.setContent(QStringLiteral("old")); }, CalendarField::Description, {}, "", "Change description = (null)"},
        {"completed", nothing, CalendarField::Status, completed, "done", "Change status = completed"},
        {"needs action", [](Task& t) { t.setDone(true); }, CalendarField::Status, {}, "open", "Change status = needsaction"},
        {"priority 1", nothing, CalendarField::Priority, withPriority(1), "1", "Change priority = 1"},
        {"priority 5", nothing, CalendarField::Priority, withPriority(5), "2", nullptr},
        {"priority 9", [](Task& t) { t.setPriority(1); }, CalendarField::Priority, withPriority(9), "3", nullptr},
        {"no priority", [](Task& t) { t.setPriority(1); }, CalendarField::Priority, withPriority(0), "3", nullptr},
        {"due date", nothing, CalendarField::Due, withDue(QDate(2026, 12, 1)), "2026-12-01T00:00:00", "Change due date = 2026-12-01"},
        {"due date moved", [](Task& t) { t.setDueDate(day(25, 17)); }, CalendarField::Due, withDue(QDate(2026, 12, 1)),
         "2026-12-01T00:00:00", nullptr},
        // The calendar carries the day only; the task's time on that day stays.
        {"due date, same day", [](Task& t) { t.setDueDate(day(25, 17)); }, CalendarField::Due, withDue(QDate(2026, 11, 25)),
         "2026-11-25T17:00:00", nullptr},
        {"due date removed", [](Task& t) { t.setDueDate(day(25, 17)); }, CalendarField::Due, {}, "(absent)", "Change due date = (null)"},
        {"url to a task without", nothing, CalendarField::Url, withUrl("https://x.org"), "https://x.org", "Change url = https://x.org"},
        {"url replaces the first", urls("https://a.org#$#file:///b"), CalendarField::Url, withUrl("https://c.org"),
         "https://c.org#$#file:///b", nullptr},
        {"url removed, others stay", urls("https://a.org#$#file:///b"), CalendarField::Url, {}, "file:///b", "Change url = (null)"},
        {"only url removed", urls("https://a.org"), CalendarField::Url, {}, "(absent)", nullptr},
        {"no url, none given", nothing, CalendarField::Url, {}, "(absent)", nullptr},
    };
    auto valueOf = [](const Task& t, CalendarField field) -> QString {
        switch (field) {
        case CalendarField::Description: return t.content();
        case CalendarField::Status: return t.done() ? QStringLiteral("done") : QStringLiteral("open");
        case CalendarField::Priority: return QString::number(t.priority());
        case CalendarField::Due: return t.dueDate().isValid() ? t.dueDate().toString(Qt::ISODate) : QStringLiteral("(absent)");
        case CalendarField::Url: return t.primitiveValue(Task::Attr::url).isNull() ? QStringLiteral("(absent)") : t.url();
        case CalendarField::Summary: break;
        }
        return {};
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Task* t = addTask(QStringLiteral("t"), home);
        c.setUp(*t);
        const QStringList log = pull(*t, c.field, c.remote);
        EXPECT_EQ(valueOf(*t, c.field), QString::fromUtf8(c.expected));
        if (c.logged) {
            EXPECT_EQ(log, QStringList{QString::fromUtf8(c.logged)});
        }
    }
}

TEST_F(CalendarMappingTest, CompletingARecurringTaskMakesItsNextOccurrenceOnce)
{
    Task* t = addTask(QStringLiteral("Water the plants"), home);
    t->setDueDate(day(25, 8));
    t->setRecurMode(1);
    t->setRecurType(0);
    t->setRecurNumber(1);
    CalendarTaskFields completed;
    completed.completed = true;
    const int before = taskCount();

    pull(*t, CalendarField::Status, completed);
    EXPECT_TRUE(t->done());
    ASSERT_EQ(taskCount(), before + 1);
    Task* next = nullptr;
    for (Record* r : context->allObjects(QStringLiteral("task")))
        if (r != t && static_cast<Task*>(r)->name() == t->name())
            next = static_cast<Task*>(r);
    ASSERT_TRUE(next);
    EXPECT_FALSE(next->done());
    EXPECT_EQ(next->dueDate(), day(2, 8, 0, 12)) << next->dueDate().toString(Qt::ISODate);

    // Told again that it is completed, or cleaned up later: nothing more to do.
    pull(*t, CalendarField::Status, completed);
    CleanUpController::cleanUpTasks(*context);
    EXPECT_EQ(taskCount(), before + 1);
}

} // namespace
