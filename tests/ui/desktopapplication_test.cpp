#include "support/appfixture.h"

#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "model/project.h"
#include "ui/maintoolbar.h"
#include "ui/mainwindow.h"

#include <QCoreApplication>
#include <QLineEdit>
#include <QProcess>
#include <QTest>

#include <sqlite3.h>

using DesktopApplicationTest = AppFixture;

TEST_F(DesktopApplicationTest, StartsWithTheSpecialRecordsAndTheLastView)
{
    ASSERT_NE(views().contextController().inboxContext(), nullptr);
    EXPECT_EQ(views().contextController().selectedObject(), views().contextController().inboxContext()) << "a first start shows the Inbox";
    EXPECT_EQ(views().selectedTab(), TaskView::Contexts);
    EXPECT_EQ(window().toolbar().selectedItemIdentifier(), QStringLiteral("mainToolbarContexts"));
    EXPECT_TRUE(window().window().isVisible());
}

TEST_F(DesktopApplicationTest, ViewCommandsMoveTheToolbarSelectionAlong)
{
    const struct {
        const char* command;
        TaskView view;
        const char* item;
    } steps[] = {
        {"selectView4", TaskView::Archive, "mainToolbarArchive"},
        {"selectNextTab", TaskView::Contexts, "mainToolbarContexts"}, // wraps around
        {"selectPreviousTab", TaskView::Archive, "mainToolbarArchive"},
        {"selectView2", TaskView::ToComplete, "mainToolbarNextActions"},
        {"selectView1", TaskView::Projects, "mainToolbarProjects"},
    };
    for (const auto& s : steps) {
        trigger(QString::fromLatin1(s.command));
        EXPECT_EQ(views().selectedTab(), s.view) << s.command;
        EXPECT_EQ(window().toolbar().selectedItemIdentifier(), QString::fromLatin1(s.item)) << s.command;
    }
    trigger(QStringLiteral("selectView3"));
    window().toolbar().itemAction(QStringLiteral("mainToolbarInbox"))->trigger();
    EXPECT_EQ(views().selectedTab(), TaskView::Contexts) << "the Inbox item jumps to the Inbox";
    EXPECT_EQ(views().contextController().selectedObject(), views().contextController().inboxContext());
}

TEST_F(DesktopApplicationTest, NewTaskGoesToTheListOfTheCurrentView)
{
    auto* house = store().insertNewObject<Project>(QStringLiteral("project"));
    house->setName(QStringLiteral("House"));
    house->setActive(true);
    store().processPendingChanges();
    views().projectController().selectRecord(house);

    trigger(QStringLiteral("selectView1"));
    trigger(QStringLiteral("performNewTaskAction"));
    ASSERT_EQ(house->tasks().size(), 1u) << "the projects view makes the task in the selected project";

    trigger(QStringLiteral("selectView3"));
    Context* inbox = views().contextController().inboxContext();
    const size_t before = inbox->tasks().size();
    views().contextController().selectRecord(inbox);
    trigger(QStringLiteral("performNewTaskAction"));
    EXPECT_EQ(inbox->tasks().size(), before + 1) << "from the completed view the task goes to the selected context";
    EXPECT_EQ(views().selectedTab(), TaskView::Contexts);

    QCoreApplication::processEvents();
    EXPECT_EQ(window().action(QStringLiteral("undo"))->text(), QStringLiteral("&Undo New Task"));
    trigger(QStringLiteral("undo"));
    EXPECT_EQ(inbox->tasks().size(), before) << "Edit > Undo reaches the store";
}

TEST_F(DesktopApplicationTest, QuitThatCannotSaveAsksAndCancelKeepsTheChanges)
{
    Context* inbox = views().contextController().inboxContext();
    inbox->setName(QStringLiteral("In tray"));
    // Another connection holds the file's write lock, so the save fails as busy.
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(app->appDelegate().currentDataFilePath().toUtf8().constData(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);

    dialogs.answer = false;
    EXPECT_FALSE(app->applicationShouldTerminate());
    ASSERT_EQ(dialogs.asked.size(), 1);
    EXPECT_EQ(dialogs.asked[0], QStringLiteral("Could not save changes while quitting. Quit anyway? [Quit anyway|Cancel]"));
    EXPECT_TRUE(store().hasChanges()) << "Cancel leaves the changes pending";

    dialogs.answer = true;
    EXPECT_TRUE(app->applicationShouldTerminate()) << "Quit anyway";

    sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(other);
    EXPECT_TRUE(app->applicationShouldTerminate());
    EXPECT_FALSE(store().hasChanges());
}

TEST_F(DesktopApplicationTest, ViewAndFolderSelectionComeBackAfterARestart)
{
    Context* home = store().insertNewObject<Context>(QStringLiteral("context"));
    home->setName(QStringLiteral("Home"));
    store().processPendingChanges();
    trigger(QStringLiteral("selectView0"));
    views().contextController().selectRecord(home);
    trigger(QStringLiteral("selectView1"));
    ASSERT_TRUE(app->applicationShouldTerminate());
    app.reset();

    start();
    EXPECT_EQ(views().selectedTab(), TaskView::Projects);
    Context* selected = views().contextController().selectedObject();
    ASSERT_NE(selected, nullptr);
    EXPECT_EQ(selected->name(), QStringLiteral("Home"));
}

TEST(DesktopStart, WithoutADisplayOneClearLine)
{
    QProcess vyro;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        env.remove(QString::fromLatin1(name));
    QTemporaryDir home;
    env.insert(QStringLiteral("XDG_DATA_HOME"), home.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path());
    vyro.setProcessEnvironment(env);
    vyro.start(QStringLiteral(VYRO_BINARY), {QStringLiteral("--data-dir"), home.filePath(QStringLiteral("data"))});
    ASSERT_TRUE(vyro.waitForFinished(20000));
    EXPECT_EQ(vyro.exitCode(), 1);
    const QString err = QString::fromLocal8Bit(vyro.readAllStandardError());
    EXPECT_EQ(err.count(QLatin1Char('\n')), 1) << err.toStdString();
    EXPECT_TRUE(err.startsWith(QStringLiteral("vyro: no display"))) << err.toStdString();

    env.insert(QStringLiteral("DISPLAY"), QStringLiteral(":987"));
    vyro.setProcessEnvironment(env);
    vyro.start(QStringLiteral(VYRO_BINARY), {QStringLiteral("--data-dir"), home.filePath(QStringLiteral("data"))});
    ASSERT_TRUE(vyro.waitForFinished(20000));
    EXPECT_EQ(vyro.exitCode(), 1);
    EXPECT_TRUE(QString::fromLocal8Bit(vyro.readAllStandardError()).startsWith(QStringLiteral("vyro: cannot open the display \":987\"")));
}

TEST_F(DesktopApplicationTest, ReturnInTheSearchFieldGoesToTheFirstResult)
{
    Context* inbox = views().contextController().inboxContext();
    for (const char* name : {"Water the plants", "Wash the car", "Call Anna"}) {
        auto* t = store().insertNewObject<Task>(QStringLiteral("task"));
        t->setName(QString::fromLatin1(name));
        t->setDone(false);
        t->setCleanedUp(false);
        t->setArchived(false);
        t->setMaybe(false);
        inbox->addTasksObject(t);
    }
    store().processPendingChanges();
    window().window().activateWindow();
    trigger(QStringLiteral("performFindAction"));
    QLineEdit* search = window().toolbar().searchField();
    QTest::keyClicks(search, QStringLiteral("wa"));
    QTest::keyClick(search, Qt::Key_Return);
    const std::vector<Task*> selected = views().contextTasks().selectedObjects();
    ASSERT_EQ(selected.size(), 1u);
    EXPECT_EQ(selected.front()->name(), QStringLiteral("Wash the car")) << "the first of the two matches by name";
}
