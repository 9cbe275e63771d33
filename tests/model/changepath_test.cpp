#include "support/modelfixture.h"

#include "model/absentflags.h"
#include "model/cleanupcontroller.h"
#include "model/taskfolder.h"
#include "model/tasksduplicator.h"
#include "store/recorddocument.h"

#include <random>
#include <set>

// Whatever changes the records (setters, undo, redo, records loaded from a file) leaves every derived
// value right: each cached counter equals its query, each open-task count its query's length, each
// path name the names up the tree, and the open tasks of every folder are numbered 1..n. The random
// changes use only setters that reset what they affect; setters that leave counters stale on purpose
// (maybe, waiting for, a project's active flag) are left out.
using ChangePathTest = ModelFixture;

namespace {

qint64 sizeOf(const TaskQueryResult& r)
{
    return r ? qint64(r->size()) : -1;
}

template <typename Folder>
void expectDerivedValuesRight(const Folder* f, const char* kind)
{
    const std::string who = std::string(kind) + " " + f->name().toStdString();
    for (int k = 0; k < kTaskCounterKinds; ++k) {
        const auto counter = TaskCounter(k);
        if (f->isCounterComputed(counter, false)) {
            EXPECT_EQ(f->savedCount(counter, false), sizeOf(f->taskQuery(counter))) << who << " own counter " << k;
        }
        if (f->isCounterComputed(counter, true)) {
            EXPECT_EQ(f->savedCount(counter, true), sizeOf(f->taskQueryIncludingSubtree(counter))) << who << " subtree counter " << k;
        }
    }
    EXPECT_EQ(f->uncompletedTasksCount(), sizeOf(f->uncompletedTasks())) << who << " open tasks";
    QString path = f->name();
    for (const Folder* up = f->parentFolder(); up; up = up->parentFolder())
        path = up->name() + QStringLiteral(" > ") + path;
    EXPECT_EQ(f->pathName(), path) << who;
}

std::set<qint64> positionsOf(const std::vector<Record*>& tasks, int attribute)
{
    std::set<qint64> out;
    for (const Record* t : tasks)
        out.insert(t->primitiveValue(attribute).isNull() ? -1 : t->primitiveValue(attribute).integral());
    return out;
}

std::set<qint64> oneTo(size_t n)
{
    std::set<qint64> out;
    for (size_t i = 1; i <= n; ++i)
        out.insert(qint64(i));
    return out;
}

} // namespace

TEST_F(ChangePathTest, EveryKindOfChangeKeepsDerivedValuesRight)
{
    for (unsigned seed : {1u, 2u}) {
        SCOPED_TRACE(seed);
        std::mt19937 rng(seed);
        std::vector<Context*> contexts {newContext(QStringLiteral("Home"))};
        contexts.push_back(newContext(QStringLiteral("Garden"), contexts[0]));
        contexts.push_back(newContext(QStringLiteral("Office")));
        contexts.push_back(newContext(QStringLiteral("Desk"), contexts[2]));
        std::vector<Project*> projects {newProject(QStringLiteral("House")), newProject(QStringLiteral("Roof"))};
        std::vector<Task*> tasks;
        auto pick = [&rng](const auto& from) { return from[rng() % from.size()]; };
        auto liveTask = [&]() -> Task* {
            for (int tries = 0; tries < 20; ++tries)
                if (Task* t = pick(tasks); !t->isDeleted())
                    return t;
            return nullptr;
        };
        // Undo may take back a loaded folder: only live ones are linked to.
        auto liveContext = [&]() -> Context* {
            for (;;)
                if (Context* c = pick(contexts); !c->isDeleted())
                    return c;
        };
        for (int i = 0; i < 30; ++i)
            tasks.push_back(addTask(QStringLiteral("t%1").arg(i), pick(contexts), rng() % 2 ? pick(projects) : nullptr));
        context->processPendingChanges();

        for (int step = 0; step < 1200; ++step) {
            SCOPED_TRACE(step);
            Task* t = liveTask();
            switch (rng() % 15) {
            case 0: if (t) t->setDone(!t->done()); break;
            case 1: if (t) t->setNextAction(!t->nextAction()); break;
            case 2: if (t) t->setDueDate(rng() % 3 ? day(21 + int(rng() % 4), 12) : QDateTime()); break;
            case 3: if (t) t->moveToContext(liveContext()); break;
            case 4: if (t) t->moveToProject(rng() % 3 ? pick(projects) : nullptr); break;
            case 5: if (t) context->deleteObject(t); break;
            case 6: tasks.push_back(addTask(QStringLiteral("n%1").arg(step), liveContext(), rng() % 2 ? pick(projects) : nullptr)); break;
            case 7: if (t) tasks.push_back(TasksDuplicator::duplicateTaskFrom(t)); break;
            case 8: CleanUpController::cleanUpTasks(*context); break;
            case 9: liveContext()->setName(QStringLiteral("c%1").arg(step)); break;
            case 10: {
                // Moving a folder resets no counter on purpose: the stale sums are set aside here.
                Context* moved = liveContext();
                Context* oldParent = moved->parentContext();
                moved->setParentContext(rng() % 2 ? liveContext() : nullptr);
                moved->resetTaskCounters(true);
                if (oldParent)
                    oldParent->resetTaskCounters(true);
                break;
            }
            case 11: case 12: context->undo(); break;
            case 13: context->redo(); break;
            case 14: {
                // A folder and tasks from a file, flags left out, linked into the tree.
                RecordDocument document;
                DocumentRecord folder {QStringLiteral("context"), QStringLiteral("c"), QStringLiteral("contexts[0]"), {{QStringLiteral("name"), Value::string(QStringLiteral("l%1").arg(step))}},
                                       {{QStringLiteral("parentContext"), liveContext()->uri()}}};
                document.records.push_back(folder);
                for (int i = 0; i < 2; ++i)
                    document.records.push_back({QStringLiteral("task"), QStringLiteral("t%1").arg(i), QStringLiteral("tasks[%1]").arg(i),
                                                {{QStringLiteral("name"), Value::string(QStringLiteral("loaded"))}},
                                                {{QStringLiteral("parentContext"), i == 0 ? QStringLiteral("c") : liveContext()->uri()}}});
                std::vector<Record*> created;
                const Status loaded = importDocument(*context, document, &created);
                ASSERT_TRUE(loaded.isOk()) << loaded;
                adoptLoadedRecords(*context, created);
                contexts.push_back(static_cast<Context*>(created[0]));
                tasks.push_back(static_cast<Task*>(created[1]));
                tasks.push_back(static_cast<Task*>(created[2]));
                break;
            }
            }
            context->processPendingChanges();
            // Counters are read now and then, so that cached ones meet later changes.
            if (rng() % 3 == 0)
                for (Context* c : contexts)
                    if (!c->isDeleted())
                        (void)c->savedCount(TaskCounter(rng() % kTaskCounterKinds), rng() % 2);
            for (Context* c : contexts)
                if (!c->isDeleted())
                    expectDerivedValuesRight(c, "context");
            for (Project* p : projects)
                expectDerivedValuesRight(p, "project");
            for (Task* task : tasks)
                if (!task->isDeleted()) {
                    EXPECT_FALSE(task->primitiveValue(Task::Attr::cleanedUp).isNull() || task->primitiveValue(Task::Attr::done).isNull()) << task->name().toStdString();
                }
            for (Context* c : contexts)
                if (!c->isDeleted()) {
                    EXPECT_EQ(positionsOf(*c->uncompletedTasks(), Task::Attr::positionInContext), oneTo(c->uncompletedTasks()->size())) << c->name().toStdString();
                }
            for (Project* p : projects)
                EXPECT_EQ(positionsOf(*p->uncompletedTasks(), Task::Attr::positionInProject), oneTo(p->uncompletedTasks()->size())) << p->name().toStdString();
            if (HasFailure())
                return;
        }
    }
}
