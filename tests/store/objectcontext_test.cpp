#include "support/storefixture.h"

#include "model/task.h"
#include "store/objecturi.h"


using ObjectContextTest = StoreFixture;
using namespace Qt::StringLiterals;

TEST_F(ObjectContextTest, InversesFollowEveryChange)
{
    Context* home = newContext(QStringLiteral("Home"));
    Context* work = newContext(QStringLiteral("Work"));
    Task* t = newTask(QStringLiteral("t"), home);
    EXPECT_EQ(home->tasks(), std::vector<Record*>({t}));

    t->setParentContext(work);
    EXPECT_TRUE(home->tasks().empty());
    EXPECT_EQ(work->tasks(), std::vector<Record*>({t}));

    // Editing the to-many side moves the task just the same.
    home->addToMany(Context::Rel::tasks, t);
    EXPECT_EQ(t->parentContext(), home);
    EXPECT_TRUE(work->tasks().empty());
    home->removeFromMany(Context::Rel::tasks, t);
    EXPECT_EQ(t->parentContext(), nullptr);
    EXPECT_TRUE(home->tasks().empty());

    Context* garden = newContext(QStringLiteral("Garden"), home);
    EXPECT_EQ(home->subcontexts(), std::vector<Record*>({garden}));
}

TEST_F(ObjectContextTest, DeleteRules)
{
    Context* home = newContext(QStringLiteral("Home"));
    Context* garden = newContext(QStringLiteral("Garden"), home);
    Context* office = newContext(QStringLiteral("Office"));
    Project* house = newProject(QStringLiteral("House"));
    Project* roof = newProject(QStringLiteral("Roof"), house);
    house->setDefaultContext(garden);
    Task* dig = newTask(QStringLiteral("dig"), garden, roof);
    Task* call = newTask(QStringLiteral("call"), office, house);
    auto* shelf = context->insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
    auto* subShelf = context->insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
    subShelf->setParentCategory(shelf);
    Task* filed = newTask(QStringLiteral("filed"), office);
    filed->setParentArchiveCategory(subShelf);

    // A deleted project leaves its tasks without a project and takes its subprojects along.
    context->deleteObject(house);
    EXPECT_TRUE(house->isDeleted());
    EXPECT_TRUE(roof->isDeleted());
    EXPECT_FALSE(dig->isDeleted());
    EXPECT_FALSE(call->isDeleted());
    EXPECT_EQ(dig->parentProject(), nullptr);
    EXPECT_EQ(call->parentProject(), nullptr);

    // A deleted context takes its subcontexts and all their tasks.
    Project* patio = newProject(QStringLiteral("Patio"));
    patio->setDefaultContext(garden);
    context->deleteObject(home);
    EXPECT_TRUE(garden->isDeleted());
    EXPECT_TRUE(dig->isDeleted());
    EXPECT_FALSE(call->isDeleted());
    // No link is left pointing at a deleted record, also where there is no inverse.
    EXPECT_EQ(patio->defaultContext(), nullptr);

    // A deleted category takes its subcategories and their entries.
    context->deleteObject(shelf);
    EXPECT_TRUE(subShelf->isDeleted());
    EXPECT_TRUE(filed->isDeleted());
    EXPECT_TRUE(office->tasks() == std::vector<Record*>({call}));

    EXPECT_EQ(namesOf(context->allObjects(QStringLiteral("task"))), QStringList({"call"}));
    save();
    reopen();
    EXPECT_EQ(namesOf(context->allObjects(QStringLiteral("task"))), QStringList({"call"}));
    EXPECT_EQ(namesOf(context->allObjects(QStringLiteral("context"))), QStringList({"Office"}));
    EXPECT_EQ(context->countForEntity(QStringLiteral("archiveCategory")), 0);
    EXPECT_EQ(context->countForEntity(QStringLiteral("project")), 1);
}

TEST_F(ObjectContextTest, UndoAndRedoWholeActions)
{
    Context* home = newContext(QStringLiteral("Home"));
    Context* garden = newContext(QStringLiteral("Garden"), home);
    Task* dig = newTask(QStringLiteral("dig"), garden);
    dig->setPriority(2);
    context->processPendingChanges();

    context->undoManager().beginUndoGrouping(QStringLiteral("Edit"));
    dig->setName(QStringLiteral("dig deeper"));
    dig->setPriority(1);
    dig->setParentContext(home);
    context->undoManager().endUndoGrouping();
    EXPECT_EQ(context->undoManager().undoActionName(), QStringLiteral("Edit"));

    context->undo();
    EXPECT_EQ(dig->name(), QStringLiteral("dig"));
    EXPECT_EQ(dig->priority(), 2);
    EXPECT_EQ(dig->parentContext(), garden);
    EXPECT_EQ(garden->tasks(), std::vector<Record*>({dig}));
    EXPECT_TRUE(home->tasks().empty());
    context->redo();
    EXPECT_EQ(dig->name(), QStringLiteral("dig deeper"));
    EXPECT_EQ(dig->parentContext(), home);
    context->undo();

    // Undoing a cascading delete brings back the records and every link.
    context->deleteObject(home);
    context->processPendingChanges();
    EXPECT_TRUE(dig->isDeleted());
    context->undo();
    EXPECT_FALSE(home->isDeleted());
    EXPECT_FALSE(garden->isDeleted());
    EXPECT_FALSE(dig->isDeleted());
    EXPECT_EQ(dig->parentContext(), garden);
    EXPECT_EQ(garden->parentContext(), home);
    EXPECT_EQ(home->subcontexts(), std::vector<Record*>({garden}));
    EXPECT_EQ(context->objectWithURI(dig->uri()), dig);

    // Undoing an insert removes the record; redo brings it back under the same identifier.
    Task* late = newTask(QStringLiteral("late"), home);
    const QString uri = late->uri();
    context->processPendingChanges();
    context->undo();
    EXPECT_EQ(context->objectWithURI(uri), nullptr);
    EXPECT_TRUE(home->tasks().empty() || home->tasks() == std::vector<Record*>({}));
    context->redo();
    EXPECT_EQ(context->objectWithURI(uri), late);
    EXPECT_EQ(late->parentContext(), home);

    // The undone state is what gets saved.
    save();
    reopen();
    EXPECT_EQ(namesOf(context->allObjects(QStringLiteral("task"))), QStringList({"dig", "late"}));
}

TEST_F(ObjectContextTest, UndoAfterSaveOfADeleteWritesTheRowAgain)
{
    Context* home = newContext(QStringLiteral("Home"));
    Task* t = newTask(QStringLiteral("keep me"), home);
    save();
    context->processPendingChanges();
    context->deleteObject(t);
    save();
    context->undo();
    EXPECT_TRUE(context->hasChanges());
    save();
    reopen();
    ASSERT_EQ(context->countForEntity(QStringLiteral("task")), 1);
    EXPECT_EQ(static_cast<Task*>(context->allObjects(QStringLiteral("task"))[0])->parentContext()->name(), QStringLiteral("Home"));
}

TEST_F(ObjectContextTest, ObserversGetOneBatchPerEvent)
{
    Context* home = newContext(QStringLiteral("Home"));
    Task* a = newTask(QStringLiteral("a"), home);
    context->processPendingChanges();

    std::vector<ChangeBatch> batches;
    QObject::connect(context.get(), &ObjectContext::objectsDidChange, [&](const ChangeBatch& b) { batches.push_back(b); });
    a->setName(QStringLiteral("a2"));
    a->setDone(true);
    Task* b = newTask(QStringLiteral("b"), home);
    Task* gone = newTask(QStringLiteral("gone"), home);
    context->deleteObject(gone);
    context->processPendingChanges();
    context->processPendingChanges(); // nothing new: no second batch

    ASSERT_EQ(batches.size(), 1u);
    const ChangeBatch& batch = batches[0];
    EXPECT_EQ(batch.inserted, std::vector<Record*>({b}));
    EXPECT_TRUE(batch.deleted.empty()); // made and deleted within the batch
    EXPECT_TRUE(batch.changed(a, u"name"));
    EXPECT_TRUE(batch.changed(a, u"done"));
    EXPECT_FALSE(batch.changed(a, u"priority"));
    EXPECT_TRUE(batch.changed(home, u"tasks"));

    // Writing the value a record already has is no change.
    batches.clear();
    a->setName(QStringLiteral("a2"));
    context->processPendingChanges();
    EXPECT_TRUE(batches.empty());
}

TEST_F(ObjectContextTest, SortingAndLimits)
{
    Context* home = newContext(QStringLiteral("Home"));
    const QList<std::pair<const char*, int>> rows = {{"banana", 3}, {"Apple", 0}, {"cherry", 1}, {"apple", 2}};
    for (const auto& [name, day] : rows) {
        Task* t = newTask(QLatin1String(name), home);
        if (day)
            t->setDueDate(QDateTime(QDate(2026, 1, day), QTime(9, 0)));
    }
    auto names = [&](const QList<SortDescriptor>& sorts, int limit = 0) {
        FetchRequest request(QStringLiteral("task"));
        request.sortDescriptors = sorts;
        request.fetchLimit = limit;
        QStringList out;
        const auto result = context->executeFetchRequest(request);
        for (Record* r : *result)
            out << r->valueForKey(u"name").toString();
        return out;
    };
    using SD = SortDescriptor;
    EXPECT_EQ(names({SD(QStringLiteral("name"))}), QStringList({"Apple", "apple", "banana", "cherry"}));
    EXPECT_EQ(names({SD(QStringLiteral("name"), false)}), QStringList({"cherry", "banana", "apple", "Apple"}));
    // Case-insensitive ties keep their order (the sort is stable).
    EXPECT_EQ(names({SD(QStringLiteral("name"), true, SD::Comparison::CaseInsensitiveCompare)}), QStringList({"Apple", "apple", "banana", "cherry"}));
    // Absent values first when ascending, last when descending.
    EXPECT_EQ(names({SD(QStringLiteral("dueDate"))}), QStringList({"Apple", "cherry", "apple", "banana"}));
    EXPECT_EQ(names({SD(QStringLiteral("dueDate"), false)}), QStringList({"banana", "apple", "cherry", "Apple"}));
    // Undated last in both directions.
    EXPECT_EQ(names({SD(QStringLiteral("dueDate"), true, SD::Comparison::Compare, true)}), QStringList({"cherry", "apple", "banana", "Apple"}));
    EXPECT_EQ(names({SD(QStringLiteral("dueDate"), false, SD::Comparison::Compare, true)}), QStringList({"banana", "apple", "cherry", "Apple"}));
    EXPECT_EQ(names({SD(QStringLiteral("parentContext.name")), SD(QStringLiteral("name"))}, 2), QStringList({"Apple", "apple"}));
}

TEST_F(ObjectContextTest, IdentifiersSurviveRestarts)
{
    Context* home = newContext(QStringLiteral("Home"));
    Task* t = newTask(QStringLiteral("t"), home);
    const QString uri = t->uri();
    EXPECT_TRUE(uri.startsWith(QStringLiteral("x-coredata://") + context->storeUUID() + QStringLiteral("/task/p")));
    // Permanent from insertion, before any save.
    save();
    EXPECT_EQ(t->uri(), uri);
    const QString link = taskLinkFromObjectURI(uri);
    EXPECT_TRUE(link.startsWith(QStringLiteral("vyro://")));
    reopen();
    Record* again = context->objectWithURI(objectURIFromTaskLink(link));
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->valueForKey(u"name").toString(), QStringLiteral("t"));
    EXPECT_EQ(again->uri(), uri);

    // Keys are never handed out twice, even after the newest record was deleted.
    context->deleteObject(again);
    save();
    reopen();
    Task* next = newTask(QStringLiteral("next"), nullptr);
    EXPECT_NE(next->uri(), uri);
    EXPECT_EQ(context->objectWithURI(uri), nullptr);

    const QStringList foreign = {
        QStringLiteral("x-coredata://00000000-0000-0000-0000-000000000000/task/p1"),
        formatObjectURI(context->storeUUID(), QStringLiteral("nosuch"), 1),
        formatObjectURI(context->storeUUID(), QStringLiteral("task"), 999),
        QStringLiteral("x-coredata://") + context->storeUUID() + QStringLiteral("/task/1"),
        QStringLiteral("https://example.org/"),
        QString(),
    };
    for (const QString& u : foreign)
        EXPECT_EQ(context->objectWithURI(u), nullptr) << u;
}

TEST_F(ObjectContextTest, EveryKindOfValueIsSavedAsItWas)
{
    Context* home = newContext(QStringLiteral("Home ✓ «quoted» 'x'"));
    Task* t = newTask(QStringLiteral("t"), home);
    const QDateTime due(QDate(2027, 3, 28), QTime(2, 30, 15, 250));
    t->setDueDate(due);
    t->setDone(false);          // false, not absent
    t->setPriority(0);          // 0, not absent
    t->setContent(QStringLiteral(""));
    t->setUrl(QStringLiteral("https://a#$#file:///b"));
    save();
    reopen();
    auto* again = static_cast<Task*>(context->allObjects(QStringLiteral("task"))[0]);
    EXPECT_EQ(again->dueDate(), due);
    EXPECT_EQ(again->primitiveValue(Task::Attr::done).kind(), Value::Kind::Bool);
    EXPECT_EQ(again->primitiveValue(Task::Attr::priority), Value::integer(0));
    EXPECT_EQ(again->primitiveValue(Task::Attr::content), Value::string(QStringLiteral("")));
    EXPECT_TRUE(again->primitiveValue(Task::Attr::maybe).isNull());
    EXPECT_EQ(again->url(), QStringLiteral("https://a#$#file:///b"));
    EXPECT_EQ(again->parentContext()->name(), QStringLiteral("Home ✓ «quoted» 'x'"));
    EXPECT_FALSE(context->hasChanges());

    // Clearing a value is a change like any other.
    again->setDueDate(QDateTime());
    EXPECT_TRUE(context->hasChanges());
    save();
    reopen();
    EXPECT_TRUE(static_cast<Task*>(context->allObjects(QStringLiteral("task"))[0])->primitiveValue(Task::Attr::dueDate).isNull());
}

TEST_F(ObjectContextTest, KeyValueAccessChecksKeysAndKinds)
{
    Task* t = newTask(QStringLiteral("t"), nullptr);
    EXPECT_TRUE(t->setValueForKey(u"priority", Value::integer(4)).isOk());
    EXPECT_TRUE(t->setValueForKey(u"done", Value::integer(1)).isOk());
    EXPECT_EQ(t->primitiveValue(Task::Attr::done), Value::boolean(true));
    EXPECT_FALSE(t->setValueForKey(u"priority", Value::string(QStringLiteral("high"))).isOk());
    EXPECT_FALSE(t->setValueForKey(u"dueDate", Value::integer(5)).isOk());
    EXPECT_FALSE(t->setValueForKey(u"nosuch", Value()).isOk());
    Context* c = newContext(QStringLiteral("c"));
    EXPECT_TRUE(t->setRecordForKey(u"parentContext", c).isOk());
    EXPECT_FALSE(t->setRecordForKey(u"parentProject", c).isOk()); // wrong entity
    EXPECT_FALSE(c->setRecordForKey(u"tasks", t).isOk());          // to-many
    EXPECT_EQ(t->parentContext(), c);
}

// The Edit menu's view of the stack: names, a signal only when what it shows changes, a bounded number
// of steps, and one entry for a run of writes to one attribute, which undo and redo keep as one.
TEST_F(ObjectContextTest, UndoStackForTheEditMenu)
{
    Context* home = newContext(QStringLiteral("Home"));
    std::vector<Task*> tasks;
    for (int i = 0; i < 300; ++i)
        tasks.push_back(newTask(QStringLiteral("t%1").arg(i), home));
    context->processPendingChanges();
    UndoStack& undo = context->undoManager();
    undo.removeAllActions();
    std::vector<Value> before;
    for (Task* t : tasks)
        before.push_back(t->primitiveValue(Task::Attr::positionInContext));
    int signals = 0;
    QObject::connect(context.get(), &ObjectContext::undoStateChanged, [&signals] { ++signals; });

    {
        UndoGrouping step(undo, QStringLiteral("Renumber"));
        UndoCoalescing oneEntry(undo, Task::Attr::positionInContext);
        for (int i = 0; i < 300; ++i)
            tasks[size_t(i)]->setPositionInContext(300 - i);
    }
    EXPECT_EQ(undo.undoActionName(), QStringLiteral("Renumber"));
    EXPECT_EQ(undo.entryCount(), 300u);
    EXPECT_LT(undo.approximateBytes(), 300 * sizeof(UndoEntry)) << "a run is kept compactly";
    const int afterStep = signals;
    EXPECT_GE(afterStep, 1);
    undo.setActionName(QStringLiteral("Renumber"));
    EXPECT_EQ(signals, afterStep) << "nothing the menu shows changed";

    context->undo();
    for (size_t i = 0; i < tasks.size(); ++i)
        EXPECT_EQ(tasks[i]->primitiveValue(Task::Attr::positionInContext), before[i]);
    EXPECT_EQ(undo.redoActionName(), QStringLiteral("Renumber"));
    EXPECT_FALSE(undo.canUndo());
    EXPECT_EQ(undo.entryCount(), 300u) << "the redo side is one run too";
    context->redo();
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(tasks[size_t(i)]->positionInContext(), 300 - i);
    EXPECT_GT(signals, afterStep);

    // Past the limit the oldest steps go.
    undo.removeAllActions();
    undo.setLevelsOfUndo(3);
    for (int i = 0; i < 5; ++i) {
        UndoGrouping step(undo, QStringLiteral("Step %1").arg(i));
        tasks[0]->setPriority(i);
    }
    int undone = 0;
    while (undo.canUndo()) {
        context->undo();
        ++undone;
    }
    EXPECT_EQ(undone, 3);
    EXPECT_EQ(tasks[0]->priority(), 1);
}

// The one-key text sort folds its keys once; it must order exactly as comparing the values pair by pair
// does, in every direction and with absent values.
TEST_F(ObjectContextTest, TextSortAgreesWithPairwiseComparison)
{
    Context* home = newContext(QStringLiteral("Home"));
    const QStringList pieces = {u"apple"_s, u"Apple"_s, u"ÉCLAIR"_s, u"éclair"_s, u"zebra"_s, u"Zebra pen"_s, u""_s, u"ß"_s, u"SS"_s, u"b"_s};
    std::vector<Record*> tasks;
    for (int i = 0; i < 60; ++i) {
        Task* t = newTask(pieces[(i * 7) % pieces.size()] + (i % 3 ? QString() : u" x"_s), home);
        if (i % 11 == 0)
            t->setPrimitiveValue(Task::Attr::name, Value());
        tasks.push_back(t);
    }
    using SD = SortDescriptor;
    for (bool ascending : {true, false})
        for (SD::Comparison comparison : {SD::Comparison::Compare, SD::Comparison::CaseInsensitiveCompare})
            for (bool nullsLast : {false, true}) {
                const SD d(u"name"_s, ascending, comparison, nullsLast);
                std::vector<Value> keys;
                for (Record* r : tasks)
                    appendSortKeys(*r, {d}, keys);
                std::vector<Record*> fast = tasks;
                ASSERT_TRUE(sortByTextKey(fast, keys, d, SortTies::KeepOrder));
                std::vector<Record*> pairwise = tasks;
                std::stable_sort(pairwise.begin(), pairwise.end(), [&](Record* a, Record* b) { return d.compareRecords(*a, *b) < 0; });
                EXPECT_EQ(fast, pairwise) << "ascending " << ascending << ", case-insensitive " << int(comparison) << ", nulls last " << nullsLast;
            }
}
