#include "support/listsfixture.h"

#include "capture/quickaddcontroller.h"
#include "capture/quicktypeincontroller.h"
#include "lists/contexttasksarraycontroller.h"

class QuickEntryTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        home = folder(QStringLiteral("Home"));
        errands = folder(QStringLiteral("Errands"));
        garden = project(QStringLiteral("Garden"));
        garden->setDefaultContext(home);
        ASSERT_TRUE(context->save().isOk());
    }

    Context* home = nullptr;
    Context* errands = nullptr;
    Project* garden = nullptr;
};

TEST_F(QuickEntryTest, QuickAddTakesEachFieldAsTheWindowHoldsIt)
{
    struct Case {
        const char* what;
        QuickAddValues values;
        const char* name;
        Context* const* context; // where the expected context is kept (it is made in SetUp)
        qint64 priority;
        const char* tags;
        const char* contact;
    };
    Context* const inboxRef = nullptr;
    auto fields = [](const char* name, int segment, Context* in = nullptr, Project* project = nullptr) {
        QuickAddValues v;
        v.name = QString::fromUtf8(name);
        v.prioritySegment = segment;
        v.context = in;
        v.project = project;
        return v;
    };
    QuickAddValues full = fields("e", 2, errands);
    full.content = QStringLiteral("note");
    full.dueDate = day(30);
    full.tags = QStringList{QStringLiteral("buy"), QStringLiteral("big one")};
    full.contacts = QStringList{QStringLiteral("Ann Lee"), QStringLiteral("Bob")};
    const Case cases[] = {
        // The model stores an empty name as its placeholder; the window does not refuse it.
        {"empty name", fields("", 2), "New task", &inboxRef, 3, "", ""},
        {"first segment", fields("a", 0), "a", &inboxRef, 1, "", ""},
        {"last segment", fields("b", 4), "b", &inboxRef, 5, "", ""},
        {"chosen context", fields("c", 2, home), "c", &home, 3, "", ""},
        {"a project's default context is not used", fields("d", 2, nullptr, garden), "d", &inboxRef, 3, "", ""},
        {"tokens joined without spaces", full, "e", &errands, 3, "buy,big one", "Ann Lee,Bob"},
    };
    QuickAddController quick(switcher().contextTasks(), *prefs);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Task* task = quick.quickAddDone(c.values);
        ASSERT_NE(task, nullptr);
        EXPECT_EQ(task->name(), QString::fromUtf8(c.name));
        EXPECT_EQ(task->parentContext(), *c.context ? *c.context : inbox);
        EXPECT_EQ(task->parentProject(), c.values.project);
        EXPECT_EQ(task->priority(), c.priority);
        EXPECT_EQ(task->tags(), QString::fromUtf8(c.tags));
        EXPECT_EQ(task->contact(), QString::fromUtf8(c.contact));
        EXPECT_EQ(task->content(), c.values.content);
        EXPECT_EQ(task->dueDate(), c.values.dueDate);
        EXPECT_TRUE(task->url().isEmpty());
    }
    // Quick add leaves the saving to the next save.
    EXPECT_TRUE(context->hasChanges());
}

TEST_F(QuickEntryTest, TheShowGUIPreferencesChooseWindowOrNotification)
{
    struct Case {
        bool showGUI;
        bool quickAdd;
        size_t notifications;
    };
    const Case cases[] = {{false, true, 1}, {true, true, 0}, {false, false, 1}, {true, false, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "showGUI " << c.showGUI << " quickAdd " << c.quickAdd);
        host.notifications.clear();
        prefs->setObject(c.quickAdd ? "showGUIAfterQuickAddWindow" : "showGUIAfterQuickTypeInWindow", c.showGUI);
        QuickAddValues values;
        values.name = QStringLiteral("x");
        if (c.quickAdd) {
            QuickAddController(switcher().contextTasks(), *prefs).quickAddDone(values);
        } else {
            ASSERT_NE(*QuickTypeInController(*context).quickTypeInDone(QStringLiteral("x"), switcher().contextTasks(), *prefs), nullptr);
        }
        ASSERT_EQ(host.notifications.size(), c.notifications);
        if (c.notifications) {
            EXPECT_EQ(host.notifications.front().title, QStringLiteral("Task added to Vyro"));
        }
    }
}

TEST_F(QuickEntryTest, QuickTypeInFilesTheTaskByTheContextRule)
{
    struct Case {
        const char* line;
        const char* name;
        Context* const* context;
        bool withProject;
    };
    Context* const inboxRef = nullptr;
    const Case cases[] = {
        {"weed", "weed", &inboxRef, false},
        {"[Garden] weed", "weed", &home, true},
        {"@errands [Garden] weed", "weed", &errands, true},
        {"@nowhere weed", "weed", &inboxRef, false},
    };
    QuickTypeInController quick(*context);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        auto made = quick.quickTypeInDone(QString::fromUtf8(c.line), switcher().contextTasks(), *prefs);
        ASSERT_TRUE(made.isOk()) << made.status();
        Task* task = *made;
        ASSERT_NE(task, nullptr);
        EXPECT_EQ(task->name(), QString::fromUtf8(c.name));
        EXPECT_EQ(task->parentContext(), *c.context ? *c.context : inbox);
        EXPECT_EQ(task->parentProject(), c.withProject ? garden : nullptr);
        // The type-in path saves.
        EXPECT_FALSE(context->hasChanges());
    }
}

TEST_F(QuickEntryTest, QuickTypeInWithNothingOrAnUnreadableLineMakesNoTask)
{
    const size_t before = context->allObjects(QStringLiteral("task")).size();
    QuickTypeInController quick(*context);
    auto empty = quick.quickTypeInDone(QString(), switcher().contextTasks(), *prefs);
    ASSERT_TRUE(empty.isOk());
    EXPECT_EQ(*empty, nullptr);
    EXPECT_FALSE(quick.quickTypeInDone(QStringLiteral("@home#x y"), switcher().contextTasks(), *prefs).isOk());
    EXPECT_EQ(context->allObjects(QStringLiteral("task")).size(), before);
    EXPECT_TRUE(host.notifications.empty());
}

TEST(QuickAddTokens, SplitAndJoin)
{
    struct Case {
        const char* text;
        QStringList tokens;
        const char* joined;
    };
    const Case cases[] = {
        {"", {}, ""},
        {"a", {"a"}, "a"},
        {" a , b c ,", {"a", "b c"}, "a,b c"},
        {",,x,,", {"x"}, "x"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const QStringList tokens = QuickAddController::splitTokens(QString::fromUtf8(c.text));
        EXPECT_EQ(tokens, c.tokens);
        EXPECT_EQ(QuickAddController::joinTokens(tokens), QString::fromUtf8(c.joined));
    }
}
