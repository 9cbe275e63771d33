#include "support/appfixture.h"

#include "lists/contextarraycontroller.h"
#include "model/project.h"
#include "platform/globalhotkeys.h"
#include "ui/datefield.h"
#include "ui/desktopservices.h"
#include "ui/folderchooser.h"
#include "ui/mainwindow.h"
#include "ui/quickaddwindow.h"
#include "ui/quicktypeinwindow.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>

class EntryWindowsTest : public AppFixture {
protected:
    void SetUp() override
    {
        AppFixture::SetUp();
        home = newContext(QStringLiteral("Home"));
        garden = store().insertNewObject<Project>(QStringLiteral("project"));
        garden->setName(QStringLiteral("Garden"));
        garden->setActive(true);
        garden->setDefaultContext(home);
        ASSERT_TRUE(store().save().isOk());
        views().performRefetchAction();
    }

    Context* inbox() { return views().contextController().inboxContext(); }
    QuickAddWindow& quickAdd()
    {
        app->showQuickAddWindow();
        EXPECT_NE(app->quickAddWindow(), nullptr);
        return *app->quickAddWindow();
    }
    QuickTypeInWindow& quickTypeIn()
    {
        app->showQuickTypeInWindow();
        EXPECT_NE(app->quickTypeInWindow(), nullptr);
        return *app->quickTypeInWindow();
    }

    Context* home = nullptr;
    Project* garden = nullptr;
};

TEST_F(EntryWindowsTest, EachShowCommandTogglesItsWindowWithoutMakingATask)
{
    QuickAddWindow& add = quickAdd();
    EXPECT_TRUE(add.isVisible());
    EXPECT_TRUE(add.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    add.nameField()->setText(QStringLiteral("typed, then the key again"));
    app->showQuickAddWindow();
    EXPECT_FALSE(add.isVisible());

    QuickTypeInWindow& typeIn = quickTypeIn();
    EXPECT_TRUE(typeIn.isVisible());
    typeIn.taskField()->setText(QStringLiteral("typed"));
    app->showQuickTypeInWindow();
    EXPECT_FALSE(typeIn.isVisible());
    EXPECT_TRUE(tasks().empty());
}

TEST_F(EntryWindowsTest, EveryShowingStartsFromClearedFields)
{
    QuickAddWindow& add = quickAdd();
    add.nameField()->setText(QStringLiteral("x"));
    add.contextField()->setCurrentFolder(home);
    add.projectField()->setCurrentFolder(garden);
    add.priorityGroup()->button(0)->click();
    add.dueDateField()->setDate(QDateTime(QDate(2030, 1, 2), QTime(0, 0)));
    add.noteField()->setPlainText(QStringLiteral("n"));
    add.tagsField()->setText(QStringLiteral("t"));
    add.contactsField()->setText(QStringLiteral("c"));
    add.reject();
    app->showQuickAddWindow();
    EXPECT_TRUE(add.nameField()->text().isEmpty());
    EXPECT_EQ(add.contextField()->currentFolder(), nullptr);
    EXPECT_EQ(add.contextField()->currentText(), QStringLiteral("Inbox"));
    EXPECT_EQ(add.projectField()->currentFolder(), nullptr);
    EXPECT_EQ(add.priorityGroup()->checkedId(), 2);
    EXPECT_FALSE(add.dueDateField()->date().isValid());
    EXPECT_TRUE(add.noteField()->toPlainText().isEmpty());
    EXPECT_TRUE(add.tagsField()->text().isEmpty());
    EXPECT_TRUE(add.contactsField()->text().isEmpty());

    QuickTypeInWindow& typeIn = quickTypeIn();
    typeIn.taskField()->setText(QStringLiteral("x"));
    typeIn.reject();
    app->showQuickTypeInWindow();
    EXPECT_TRUE(typeIn.taskField()->text().isEmpty());
}

TEST_F(EntryWindowsTest, QuickAddOKMakesTheTaskFromTheFields)
{
    struct Case {
        const char* name;
        int segment;
        bool chooseHome;
        const char* tags;
        qint64 priority;
        const char* storedTags;
    };
    const Case cases[] = {
        {"first segment", 0, false, "", 1, ""},
        {"last segment", 4, true, " a , b c ", 5, "a,b c"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QuickAddWindow& add = quickAdd();
        add.nameField()->setText(QString::fromUtf8(c.name));
        add.priorityGroup()->button(c.segment)->click();
        if (c.chooseHome)
            add.contextField()->setCurrentFolder(home);
        add.tagsField()->setText(QString::fromUtf8(c.tags));
        const size_t before = tasks().size();
        QTest::keyClick(add.nameField(), Qt::Key_Return);
        EXPECT_FALSE(add.isVisible());
        ASSERT_EQ(tasks().size(), before + 1);
        Task* made = tasks().back();
        EXPECT_EQ(made->name(), QString::fromUtf8(c.name));
        EXPECT_EQ(made->priority(), c.priority);
        // The context field's "Inbox" is only text: the Inbox comes from choosing nothing.
        EXPECT_EQ(made->parentContext(), c.chooseHome ? home : inbox());
        EXPECT_EQ(made->tags(), QString::fromUtf8(c.storedTags));
    }
}

TEST_F(EntryWindowsTest, TabLeavesTheNoteInsteadOfTypingATab)
{
    QuickAddWindow& add = quickAdd();
    add.activateWindow();
    add.noteField()->setFocus();
    QTest::keyClick(add.noteField(), Qt::Key_Tab);
    EXPECT_FALSE(add.noteField()->toPlainText().contains(QLatin1Char('\t')));
    EXPECT_NE(QApplication::focusWidget(), add.noteField());
    add.noteField()->setFocus();
    QTest::keyClick(add.noteField(), Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(add.noteField()->toPlainText().isEmpty());
    EXPECT_NE(QApplication::focusWidget(), add.noteField());
}

TEST_F(EntryWindowsTest, QuickTypeInFilesTheLineOrStaysOpen)
{
    // Where the line goes is the controller's; the window closes only once a task is made.
    struct Case {
        const char* line;
        bool closes;
    };
    const Case cases[] = {{"", false}, {"@home#x y", false}, {"plain", true}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        QuickTypeInWindow& typeIn = quickTypeIn();
        typeIn.taskField()->setText(QString::fromUtf8(c.line));
        const size_t before = tasks().size();
        QTest::keyClick(typeIn.taskField(), Qt::Key_Return);
        EXPECT_EQ(typeIn.isVisible(), !c.closes);
        ASSERT_EQ(tasks().size(), before + (c.closes ? 1 : 0));
        if (c.closes) {
            EXPECT_EQ(tasks().back()->name(), QString::fromUtf8(c.line));
            EXPECT_EQ(tasks().back()->parentContext(), inbox());
            EXPECT_FALSE(store().hasChanges()) << "quick type-in saves";
        } else {
            typeIn.reject();
        }
    }
}

TEST_F(EntryWindowsTest, WithoutTheWindowPreferenceANotificationTellsOfTheTask)
{
    struct Case {
        const char* preference;
        bool showGUI;
        bool notified;
    };
    const Case cases[] = {
        {"showGUIAfterQuickTypeInWindow", false, true},
        {"showGUIAfterQuickAddWindow", true, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.preference << " " << c.showGUI);
        prefs->setObject(c.preference, c.showGUI);
        // The main window shows a notification's text on its status line.
        app->mainWindowController()->postNotification({QStringLiteral("-"), QStringLiteral("-"), {}, {}, 0, false, {}});
        if (QLatin1String(c.preference) == QLatin1String("showGUIAfterQuickAddWindow")) {
            QuickAddWindow& add = quickAdd();
            add.nameField()->setText(QStringLiteral("noted"));
            add.accept();
        } else {
            QuickTypeInWindow& typeIn = quickTypeIn();
            typeIn.taskField()->setText(QStringLiteral("noted"));
            typeIn.accept();
        }
        auto* statusText = app->mainWindowController()->window().findChild<QLabel*>(QStringLiteral("statusText"));
        ASSERT_NE(statusText, nullptr);
        const QString status = statusText->text();
        EXPECT_EQ(status.contains(QLatin1String("noted")), c.notified) << status.toStdString();
    }
}

TEST_F(EntryWindowsTest, TheFileMenuOpensBothWindows)
{
    app->mainWindowController()->action(QStringLiteral("showQuickAddWindow"))->trigger();
    ASSERT_NE(app->quickAddWindow(), nullptr);
    EXPECT_TRUE(app->quickAddWindow()->isVisible());
    app->mainWindowController()->action(QStringLiteral("showQuickTypeInWindow"))->trigger();
    ASSERT_NE(app->quickTypeInWindow(), nullptr);
    EXPECT_TRUE(app->quickTypeInWindow()->isVisible());
}

TEST(HotKeyPreferences, StoredCodesBecomeTheThreeKeys)
{
    struct Case {
        int capture, quickAdd, quickTypeIn;
        QList<HotKey> keys;
    };
    const Case cases[] = {
        {97, 98, 100, {{1, Qt::Key_F6}, {2, Qt::Key_F7}, {3, Qt::Key_F8}}},
        {97, 98, 0, {{1, Qt::Key_F6}, {2, Qt::Key_F7}}},
        {-1, 10, 122, {{3, Qt::Key_F1}}},
    };
    QTemporaryDir dir;
    for (const Case& c : cases) {
        Preferences prefs(dir.filePath(QStringLiteral("p.ini")));
        prefs.setObject("currentAppToVyroKeyboardShortcut", c.capture);
        prefs.setObject("quickAddKeyboardShortcut", c.quickAdd);
        prefs.setObject("quickTypeInKeyboardShortcut", c.quickTypeIn);
        EXPECT_EQ(DesktopServices::hotKeysFromPreferences(prefs), c.keys) << c.capture << " " << c.quickAdd << " " << c.quickTypeIn;
    }
}
