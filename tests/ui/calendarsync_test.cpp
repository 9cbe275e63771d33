#include "app/coredataappdelegate.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/calendartask.h"
#include "exchange/synccontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/context.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "support/appfixture.h"
#include "support/calendarpeer.h"
#include "support/radicaleserver.h"
#include "support/widgetlookup.h"
#include "ui/desktopapplication.h"
#include "ui/desktopservices.h"
#include "ui/dialogs.h"
#include "ui/mainwindow.h"
#include "ui/mainwindowcontroller.h"
#include "ui/maintoolbar.h"
#include "ui/statuslabel.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

struct QuietDialogs : Dialogs {
    bool confirm(QWidget*, const QString&, const QString&, const QString&, const QString&) override { return true; }
    void warn(QWidget*, const QString&, const QString&) override {}
};

// What an alert showed: its title, text and button.
struct Alert {
    QString title;
    QString text;
    QString button;
};

Alert alertOf(const QMessageBox& box)
{
    const QList<QAbstractButton*> buttons = box.buttons();
    return {box.windowTitle(), box.text(), buttons.size() == 1 ? buttons.first()->text() : QString()};
}

QMessageBox* shownAlert(const QString& name)
{
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* box = qobject_cast<QMessageBox*>(w); box && box->objectName() == name && box->isVisible())
            return box;
    for (QWidget* w : QApplication::allWidgets())
        if (auto* box = qobject_cast<QMessageBox*>(w); box && box->objectName() == name && box->isVisible())
            return box;
    return nullptr;
}

// The desktop program with its real services, its preferences naming a Radicale of the test's own,
// and a client of the test's own playing another program on the same server.
class CalendarSyncTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!server.start()) {
            if (!RadicaleServer::isInstalled())
                GTEST_SKIP() << server.error().toStdString();
            FAIL() << server.error().toStdString();
        }
        qputenv(calendarPasswordVariable.data(), "secret");
        auto preferences = std::make_unique<Preferences>(dir.filePath(u"prefs.ini"_s));
        prefs = preferences.get();
        prefs->setString(PreferenceKey::calendarServer, server.url().toString());
        prefs->setString(PreferenceKey::calendarUser, u"alice"_s);
        app = std::make_unique<DesktopApplication>(dir.filePath(u"data"_s), &services, &dialogs, std::move(preferences));
        services.attach(*app);
        ASSERT_TRUE(app->applicationDidFinishLaunching());
        other = std::make_unique<CalDavClient>(server.url(), u"alice"_s, u"secret"_s);

        work = store().insertNewObject<Context>(u"context"_s);
        work->setName(u"Work"_s);
        work->setSynchronizable(true);
        app->saveAction();
    }
    void TearDown() override
    {
        // Closes what an alert left open before the window goes.
        for (QWidget* w : QApplication::topLevelWidgets())
            if (qobject_cast<QMessageBox*>(w))
                w->close();
        app.reset();
        qunsetenv(calendarPasswordVariable.data());
    }

    ObjectContext& store() { return app->appDelegate().managedObjectContext(); }
    StatusLabelController& status() { return app->mainWindowController()->statusLabel(); }
    Task* newTask(const QString& name, Context* in) { return newTaskIn(store(), name, in); }
    void pressSync() { app->mainWindowController()->toolbar().itemAction(u"mainToolbarSync"_s)->trigger(); }
    // Lets the event loop run until the indicator stopped (a guard, not a measure of time).
    void waitForTheIndicatorToStop() { EXPECT_TRUE(QTest::qWaitFor([this] { return !status().isAnimating(); }, 60000)); }

    // The summaries of the tasks on the server, by calendar name.
    QHash<QString, QStringList> serverSummaries()
    {
        QHash<QString, QStringList> out;
        for (const PeerTask& t : tasksOnServer(*other, server.homeHref()))
            out[t.calendar] << t.task.fields.summary;
        return out;
    }
    QString calendarHref(const QString& name)
    {
        const auto [listed, collections] = await<QList<CalDavCollection>>(
            [&](auto done) { other->listCollections(server.homeHref(), done); });
        for (const CalDavCollection& c : collections)
            if (c.displayName == name)
                return c.href;
        return {};
    }

    RadicaleServer server;
    QTemporaryDir dir;
    QuietDialogs dialogs;
    DesktopServices services;
    Preferences* prefs = nullptr;
    std::unique_ptr<DesktopApplication> app;
    std::unique_ptr<CalDavClient> other;
    Context* work = nullptr;
};

TEST_F(CalendarSyncTest, ToolbarSyncRunsBesideTheWindowAndTheServersTasksShowInTheList)
{
    newTask(u"Call Bob"_s, work);
    app->saveAction();
    TabViewController& views = app->mainWindowController()->views();
    views.contextController().selectRecord(work);
    views.contextTasks().rearrangeObjects();

    // The indicator runs from the press to the end of the sync while the window goes on handling
    // events: the press returns at once and a timer of the window's thread keeps firing.
    int ticksWhileBusy = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] { ticksWhileBusy += status().isAnimating() ? 1 : 0; });
    ticker.start(0);
    pressSync();
    EXPECT_TRUE(status().isAnimating()) << "the press returns while the sync still runs";
    waitForTheIndicatorToStop();
    ticker.stop();
    EXPECT_GT(ticksWhileBusy, 0);
    EXPECT_EQ(serverSummaries().value(u"@Work"_s), QStringList{u"Call Bob"_s});

    const QString href = calendarHref(u"@Work"_s);
    ASSERT_FALSE(href.isEmpty());
    CalendarTaskFields fields;
    fields.summary = u"Water the plants"_s;
    const QByteArray body = writeCalendarTask(u"water-uid"_s, fields, {}, QDateTime::currentDateTimeUtc());
    ASSERT_TRUE(await<QString>([&](auto done) { other->putResource(href + u"water.ics"_s, body, QString(), done); }).first.isOk());

    pressSync();
    waitForTheIndicatorToStop();
    QStringList shown;
    for (Task* t : views.contextTasks().arrangedObjects())
        shown << t->name();
    shown.sort();
    EXPECT_EQ(shown, (QStringList{u"Call Bob"_s, u"Water the plants"_s})) << "the list of the selected context shows the pulled task";
    EXPECT_EQ(shownAlert(u"syncStatusAlert"_s), nullptr) << "a sync that went well tells nothing";
}

TEST_F(CalendarSyncTest, AWrongPasswordGivesTheSyncingStatusAlert)
{
    qputenv(calendarPasswordVariable.data(), "not-the-password");
    pressSync();
    EXPECT_TRUE(QTest::qWaitFor([] { return shownAlert(u"syncStatusAlert"_s) != nullptr; }, 60000));
    QMessageBox* box = shownAlert(u"syncStatusAlert"_s);
    ASSERT_NE(box, nullptr);
    const Alert alert = alertOf(*box);
    EXPECT_EQ(alert.title, QString(SyncText::title));
    EXPECT_TRUE(alert.text.startsWith(QString(SyncText::registrationFailed))) << alert.text.toStdString();
    EXPECT_EQ(alert.button, QString(SyncText::button));
    EXPECT_FALSE(status().isAnimating());

    // Failing again while the alert is up (syncs in the background) keeps to the one alert.
    pressSync();
    waitForTheIndicatorToStop();
    int alerts = 0;
    for (QWidget* w : QApplication::allWidgets())
        alerts += w->objectName() == u"syncStatusAlert"_s && w->isVisible() ? 1 : 0;
    EXPECT_EQ(alerts, 1);
}

// Quitting waits for the sync it starts and for the after-sync command that sync runs, also when the
// sync fails (then there is no command to wait for).
TEST_F(CalendarSyncTest, QuitWaitsForTheSyncAndItsAfterSyncCommand)
{
    const struct {
        const char* password;
        bool synced;
    } cases[] = {
        {"secret", true},
        {"not-the-password", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.password);
        const QString marker = dir.filePath(u"after-sync-"_s + QString::fromLatin1(c.password));
        qputenv(calendarPasswordVariable.data(), c.password);
        prefs->setBool(PreferenceKey::syncWhenQuittingApp, true);
        prefs->setBool(PreferenceKey::iSyncWhenSyncing, true);
        prefs->setString(PreferenceKey::afterSyncCommand, u"touch \""_s + marker + u"\""_s);
        const QString name = u"Before quitting with "_s + QString::fromLatin1(c.password);
        newTask(name, work);

        // A failure's alert keeps quitting waiting until it is read.
        bool alertRead = false;
        QTimer reader;
        QObject::connect(&reader, &QTimer::timeout, [&] {
            if (QMessageBox* box = shownAlert(u"syncStatusAlert"_s)) {
                alertRead = true;
                box->button(QMessageBox::Ok)->click();
            }
        });
        reader.start(20);
        EXPECT_TRUE(app->applicationShouldTerminate());
        reader.stop();
        EXPECT_EQ(alertRead, !c.synced);
        EXPECT_EQ(serverSummaries().value(u"@Work"_s).contains(name), c.synced);
        EXPECT_EQ(QFile::exists(marker), c.synced) << "the command runs after a sync, before quitting goes on";
        EXPECT_FALSE(status().isAnimating());
    }
}

TEST_F(CalendarSyncTest, SyncTabWritesItsKeysAndForgetTellsWhetherThereWasAServer)
{
    QAction* open = app->mainWindowController()->action(u"showPreferences"_s);
    ASSERT_NE(open, nullptr);
    open->trigger();
    QWidget* window = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->isVisible() && w->findChild<QPushButton*>(u"forgetCalendarServer"_s))
            window = w;
    ASSERT_NE(window, nullptr);

    const struct {
        QLatin1StringView key;
        QString typed;
        QString stored;
    } fields[] = {
        {PreferenceKey::calendarServer, u" "_s + server.url().toString() + u" "_s, server.url().toString()},
        {PreferenceKey::calendarUser, u"alice"_s, u"alice"_s},
        {PreferenceKey::afterSyncCommand, u"vdirsyncer sync"_s, u"vdirsyncer sync"_s},
    };
    for (const auto& f : fields) {
        SCOPED_TRACE(f.key.data());
        auto* edit = child<QLineEdit>(*window, QString(f.key));
        ASSERT_NE(edit, nullptr);
        edit->selectAll();
        QTest::keyClicks(edit, f.typed);
        EXPECT_EQ(prefs->stringForKey(f.key), f.stored);
    }

    // Forget answers in a modal alert; each press is read and closed from the event loop.
    const auto forget = [&] {
        Alert alert;
        QTimer reader;
        QObject::connect(&reader, &QTimer::timeout, [&] {
            if (QMessageBox* box = shownAlert(u"forgetCalendarServerAlert"_s)) {
                alert = alertOf(*box);
                box->accept();
            }
        });
        reader.start(0);
        child<QPushButton>(*window, u"forgetCalendarServer"_s)->click();
        return alert;
    };
    const Alert before = forget();
    EXPECT_EQ(before.title, QString(SyncText::forgetTitle));
    EXPECT_EQ(before.text, QString(SyncText::notRegistered));
    EXPECT_EQ(before.button, QString(SyncText::button));

    // Pressed while a sync runs, it waits for that sync, which would otherwise save its state again.
    pressSync();
    const Alert after = forget();
    EXPECT_EQ(after.text, QString(SyncText::forgotten));
    EXPECT_EQ(forget().text, QString(SyncText::notRegistered)) << "forgotten for good";
}

} // namespace
