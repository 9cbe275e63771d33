#pragma once

#include "support/modelfixture.h"

#include "app/preferences.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"

#include <memory>

// Records what the lists ask of the windows, one line per call.
struct RecordingListHost : ListHost {
    void showWarning(const QString& title, const QString& text) override { calls << title + QStringLiteral(": ") + text; }
    bool confirm(const QString& title, const QString&, const QString& defaultButton, const QString& otherButton) override
    {
        calls << title + QStringLiteral(" [") + defaultButton + QStringLiteral("|") + otherButton + QStringLiteral("]");
        return answerDefault;
    }
    void postNotification(const DesktopNotification& n) override { notifications.push_back(n); }
    void showView(TaskView view) override { calls << QStringLiteral("view %1").arg(int(view)); }
    void beginEditing(Record*, const QString& column) override { calls << QStringLiteral("edit ") + column; }
    void clearSearchField() override { calls << QStringLiteral("clear search"); }
    void showMoveToSheet(TasksArrayController&) override { calls << QStringLiteral("move-to sheet"); }

    QStringList calls;
    std::vector<DesktopNotification> notifications;
    bool answerDefault = true;
};

// A model fixture with real preferences in an INI file, read by the model too (as the application
// wires them), and the view switcher with its lists over the store.
class ListsFixture : public ModelFixture {
protected:
    void SetUp() override
    {
        ModelFixture::SetUp();
        prefs = std::make_unique<Preferences>(path(QStringLiteral("prefs.ini")));
        readPreferences([this](QStringView key) { return prefs->objectForKey(key); });
        inbox = folder(QStringLiteral("Inbox"));
        inbox->setIsInbox(true);
    }
    void TearDown() override
    {
        views.reset();
        ModelFixture::TearDown();
    }

    // Built on first use, after the test has set up its records and preferences.
    TabViewController& switcher()
    {
        if (!views)
            views = std::make_unique<TabViewController>(*context, *prefs, host);
        return *views;
    }

    Context* folder(const QString& name, Context* parent = nullptr)
    {
        auto* c = context->insertNewObject<Context>(QStringLiteral("context"));
        c->setName(name);
        c->setIsInbox(false);
        if (parent)
            parent->addSubcontextsObject(c);
        return c;
    }
    Project* project(const QString& name, bool active = true, bool singleTasks = false)
    {
        auto* p = context->insertNewObject<Project>(QStringLiteral("project"));
        p->setName(name);
        p->setActive(active);
        p->setHasSingleTasks(singleTasks);
        return p;
    }

    static QStringList names(const std::vector<Task*>& tasks)
    {
        QStringList out;
        for (Task* t : tasks)
            out << t->name();
        return out;
    }

    RecordingListHost host;
    std::unique_ptr<Preferences> prefs;
    std::unique_ptr<TabViewController> views;
    Context* inbox = nullptr;
};
