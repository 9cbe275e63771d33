#pragma once
// The desktop program with its main window on a data folder and preferences of the test's own.

#include "app/coredataappdelegate.h"
#include "app/preferences.h"
#include "lists/tabviewcontroller.h"
#include "model/context.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "ui/desktopapplication.h"
#include "ui/dialogs.h"
#include "ui/mainwindowcontroller.h"

#include <QAction>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

// Answers every question with `answer` and keeps what was asked.
struct RecordingDialogs : Dialogs {
    bool confirm(QWidget*, const QString&, const QString& text, const QString& defaultButton, const QString& otherButton) override
    {
        asked << text + QStringLiteral(" [") + defaultButton + QStringLiteral("|") + otherButton + QStringLiteral("]");
        return answer;
    }
    void warn(QWidget*, const QString&, const QString& text) override { warnings << text; }
    QStringList asked;
    QStringList warnings;
    bool answer = true;
};

// A task at the end of a context's order, as the window makes one: not done, cleaned up or archived.
inline Task* newTaskIn(ObjectContext& store, const QString& name, Context* in)
{
    auto* t = store.insertNewObject<Task>(QStringLiteral("task"));
    t->setName(name);
    t->moveToContext(in);
    t->setDone(false);
    t->setCleanedUp(false);
    t->setArchived(false);
    return t;
}

class AppFixture : public ::testing::Test {
protected:
    void SetUp() override { start(); }

    // Starts (again) on the same folder and preferences file.
    void start()
    {
        auto preferences = std::make_unique<Preferences>(dir.filePath(QStringLiteral("prefs.ini")));
        prefs = preferences.get();
        app = std::make_unique<DesktopApplication>(dir.filePath(QStringLiteral("data")), nullptr, &dialogs, std::move(preferences));
        ASSERT_TRUE(app->applicationDidFinishLaunching());
    }
    MainWindowController& window() { return *app->mainWindowController(); }
    TabViewController& views() { return window().views(); }
    ObjectContext& store() { return app->appDelegate().managedObjectContext(); }
    void trigger(const QString& name)
    {
        QAction* a = window().action(name);
        ASSERT_NE(a, nullptr) << name.toStdString();
        a->trigger();
    }
    Context* newContext(const QString& name)
    {
        auto* c = store().insertNewObject<Context>(QStringLiteral("context"));
        c->setName(name);
        return c;
    }
    Task* newTask(const QString& name, Context* in) { return newTaskIn(store(), name, in); }
    std::vector<Task*> tasks()
    {
        std::vector<Task*> out;
        for (Record* r : store().allObjects(QStringLiteral("task")))
            out.push_back(static_cast<Task*>(r));
        return out;
    }

    QTemporaryDir dir;
    RecordingDialogs dialogs;
    Preferences* prefs = nullptr;
    std::unique_ptr<DesktopApplication> app;
};
