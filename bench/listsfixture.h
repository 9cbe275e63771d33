#pragma once

#include "storegenerator.h"

#include "app/preferences.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/datamodel.h"
#include "model/startupdata.h"
#include "store/objectcontext.h"

#include <benchmark/benchmark.h>

#include <QTemporaryDir>

#include <memory>

// A generated store of `taskCount` tasks, opened and prepared as the program does at start, with the
// lists over it. Made once per benchmark program, on first use; the program resets it before it ends.
struct ListsFixture {
    QTemporaryDir dir;
    GeneratedStoreInfo info;
    std::unique_ptr<ObjectContext> store;
    std::unique_ptr<Preferences> preferences;
    ListHost host;
    std::unique_ptr<TabViewController> views;
    QString error;
};

inline std::unique_ptr<ListsFixture> g_listsFixture;

// nullptr, with the benchmark skipped and the reason given, when the store could not be made.
inline ListsFixture* listsFixture(benchmark::State& state, int taskCount)
{
    if (!g_listsFixture) {
        g_listsFixture = std::make_unique<ListsFixture>();
        ListsFixture& f = *g_listsFixture;
        const QString path = f.dir.filePath(QStringLiteral("bench.vyrodata"));
        GeneratorOptions options;
        options.tasks = taskCount;
        if (Status s = generateStore(path, options, &f.info); !s.isOk()) {
            f.error = s.toString();
        } else {
            f.store = std::make_unique<ObjectContext>(managedObjectModel());
            f.store->undoManager().setEnabled(false);
            if (Status s = f.store->addSqliteStore(path); !s.isOk()) {
                f.error = s.toString();
            } else {
                prepareStoreForWork(*f.store);
                f.preferences = std::make_unique<Preferences>(f.dir.filePath(QStringLiteral("prefs.ini")));
                f.views = std::make_unique<TabViewController>(*f.store, *f.preferences, f.host);
            }
        }
    }
    if (!g_listsFixture->error.isEmpty()) {
        state.SkipWithError(qPrintable(g_listsFixture->error));
        return nullptr;
    }
    return g_listsFixture.get();
}
