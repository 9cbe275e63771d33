#include "support/modelfixture.h"

#include "model/taskfolder.h"

#include <random>

using PositionsTest = ModelFixture;

namespace {

qint64 fetchedOpenCount(const Context* c)
{
    return qint64(c->uncompletedTasks()->size());
}
qint64 fetchedOpenCount(const Project* p)
{
    return qint64(p->uncompletedTasks()->size());
}

} // namespace

// The open-task counts of contexts and projects are counted once and then kept in step with every change
// that can move a task in or out of them, undo and redo included (and changes to deleted tasks, which
// count nowhere).
TEST_F(PositionsTest, OpenTaskCountsFollowEveryChange)
{
    // The rule the counts follow is the query's own, NULL included.
    const Predicate open = Predicate::fromFormat(QStringLiteral("(cleanedUp <> 1) and (archived == 0)"));
    Task* probe = newTask(QStringLiteral("probe"));
    for (const Value& cleanedUp : {Value(), Value::boolean(false), Value::boolean(true)})
        for (const Value& archived : {Value(), Value::boolean(false), Value::boolean(true)}) {
            probe->setPrimitiveValue(Task::Attr::cleanedUp, cleanedUp);
            probe->setPrimitiveValue(Task::Attr::archived, archived);
            EXPECT_EQ(Task::countsAsOpen(cleanedUp, archived), open.evaluate(*probe)) << cleanedUp.toString() << " " << archived.toString();
        }

    std::vector<Context*> contexts {newContext(QStringLiteral("A")), newContext(QStringLiteral("B")), newContext(QStringLiteral("C"))};
    std::vector<Project*> projects {newProject(QStringLiteral("P")), newProject(QStringLiteral("Q"))};
    std::vector<Task*> tasks;
    for (int i = 0; i < 40; ++i)
        tasks.push_back(addTask(QStringLiteral("t%1").arg(i), contexts[size_t(i % 3)], i % 4 ? projects[size_t(i % 2)] : nullptr));
    context->processPendingChanges();

    std::mt19937 random(7);
    auto pick = [&](auto& from) { return from[std::uniform_int_distribution<size_t>(0, from.size() - 1)(random)]; };
    auto flag = [&] { const int k = int(random() % 3); return k == 0 ? Value() : Value::boolean(k == 2); };
    for (int step = 0; step < 1500; ++step) {
        Task* t = pick(tasks);
        const int op = int(random() % 11);
        switch (op) {
        case 0: t->setCleanedUp(random() % 2); break;
        case 1: t->setArchived(random() % 2); break;
        case 2: t->setDone(random() % 2); break;
        case 3: t->setPrimitiveValue(random() % 2 ? Task::Attr::cleanedUp : Task::Attr::archived, flag()); break;
        case 4: t->moveToContext(random() % 4 ? pick(contexts) : nullptr); break;
        case 5: t->setParentContext(pick(contexts)); break;
        case 6: t->moveToProject(random() % 3 ? pick(projects) : nullptr); break;
        case 7:
            // Often taken back at once, so that deleted tasks come back too.
            context->deleteObject(t);
            if (random() % 2) {
                context->processPendingChanges();
                context->undo();
            }
            break;
        case 8: tasks.push_back(addTask(QStringLiteral("n%1").arg(step), pick(contexts), pick(projects))); break;
        case 9: context->undo(); break;
        case 10: context->redo(); break;
        }
        context->processPendingChanges();
        for (const Context* c : contexts)
            ASSERT_EQ(c->uncompletedTasksCount(), fetchedOpenCount(c)) << "step " << step << ", operation " << op << ", " << c->name();
        for (const Project* p : projects)
            ASSERT_EQ(p->uncompletedTasksCount(), fetchedOpenCount(p)) << "step " << step << ", operation " << op << ", " << p->name();
    }
}

// Renumbering put off to the end of a pass gives the same positions as renumbering at once: dense from 1
// in the old order, unnumbered tasks first, equal positions in key order, cleaned-up and archived tasks
// left alone.
TEST_F(PositionsTest, RenumberingPutOffOrNotNumbersDenselyInTheOldOrder)
{
    // Two identical sets of three contexts, made side by side so that their tasks' keys run alike.
    std::vector<Context*> together, alone;
    for (int i = 0; i < 3; ++i) {
        together.push_back(newContext(QStringLiteral("together %1").arg(i)));
        alone.push_back(newContext(QStringLiteral("alone %1").arg(i)));
    }
    const std::vector<std::optional<qint64>> positions {5, 2, std::nullopt, 2, 9, 1, std::nullopt, 7, 2, 30, 4, 4};
    for (size_t k = 0; k < positions.size() * 3; ++k) {
        for (auto* set : {&together, &alone}) {
            Task* t = addTask(QStringLiteral("%1").arg(k), (*set)[k % 3]);
            t->setPrimitiveValue(Task::Attr::positionInContext, positions[k % positions.size()] ? Value::integer(*positions[k % positions.size()]) : Value());
            if (k % 5 == 4)
                t->setPrimitiveValue(Task::Attr::cleanedUp, Value::boolean(true));
            if (k % 7 == 6)
                t->setPrimitiveValue(Task::Attr::archived, Value::boolean(true));
        }
    }
    // A task that joined its context after others (a later link, an earlier key) ties with one of them.
    for (auto* set : {&together, &alone}) {
        Task* mover = fetch<Task>(QStringLiteral("task"), QStringLiteral("parentContext == %@ AND name == '1'"), {(*set)[1]}).front();
        mover->setParentContext((*set)[0]);
        mover->setPrimitiveValue(Task::Attr::positionInContext, Value::integer(2));
    }
    auto positionsOf = [&](Context* c) {
        std::vector<Record*> members(c->tasks().begin(), c->tasks().end());
        std::sort(members.begin(), members.end(), [](Record* a, Record* b) { return static_cast<Task*>(a)->name().toInt() < static_cast<Task*>(b)->name().toInt(); });
        QStringList out;
        for (Record* r : members)
            out << QStringLiteral("%1=%2").arg(static_cast<Task*>(r)->name(), r->primitiveValue(Task::Attr::positionInContext).toVariant().toString());
        return out;
    };
    {
        DeferredRenumbering once(*together[0]->managedObjectContext());
        for (Context* c : together)
            c->calculateTaskPositions();
    }
    for (Context* c : alone)
        c->calculateTaskPositions();
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(positionsOf(together[i]), positionsOf(alone[i])) << i;

    // The first context in full: open tasks dense from 1; the unnumbered first, ties in key order.
    const QStringList first = positionsOf(together[0]);
    EXPECT_EQ(first, QStringList({"0=6", "1=3", "3=4", "6=", "9=30", "12=7", "15=5", "18=1", "21=8", "24=5", "27=2", "30=2", "33=9"}))
        << first.join(QLatin1Char(' ')).toStdString();
}
