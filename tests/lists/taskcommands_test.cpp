#include "support/listsfixture.h"

#include "app/preferencedefaults.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/taskcommands.h"
#include "store/objectcontext.h"

class TaskCommandsTest : public ListsFixture {
protected:
    ContextTasksArrayController& inboxList()
    {
        switcher().contextController().selectRecord(inbox);
        switcher().contextTasks().updatePredicate();
        return switcher().contextTasks();
    }
};

TEST_F(TaskCommandsTest, QuickTagsAddWhatIsMissingAsOneUndoStep)
{
    prefs->setStringList(quickTagKey(2), {QStringLiteral("phone"), QStringLiteral(" urgent ")});
    Task* a = addTask(QStringLiteral("a"), inbox);
    a->setTags(QStringLiteral("Phone"));
    Task* b = addTask(QStringLiteral("b"), inbox);
    context->processPendingChanges();
    context->undoManager().removeAllActions();
    auto& list = inboxList();
    list.setSelectedObjects({a, b});

    const struct {
        int number;
        bool changes;
    } ignored[] = {{0, false}, {-1, false}, {10, false}, {3, false} /* empty quick tag */};
    for (const auto& c : ignored)
        EXPECT_EQ(applyQuickTagsForID(list, *prefs, c.number), c.changes) << c.number;

    EXPECT_TRUE(applyQuickTagsForID(list, *prefs, 2));
    EXPECT_EQ(a->tags(), QStringLiteral("Phone,urgent")) << "a tag it has, in any case, is not added again";
    EXPECT_EQ(b->tags(), QStringLiteral("phone,urgent"));
    EXPECT_FALSE(applyQuickTagsForID(list, *prefs, 2)) << "nothing left to add";

    context->undo();
    context->processPendingChanges();
    EXPECT_EQ(a->tags(), QStringLiteral("Phone"));
    EXPECT_TRUE(b->tags().isEmpty());
}

TEST_F(TaskCommandsTest, PromotionMakesAProjectOfTheTaskUnderItsProject)
{
    Project* house = project(QStringLiteral("House"));
    Context* home = folder(QStringLiteral("Home"));
    Task* t = addTask(QStringLiteral("Paint the hall"), home);
    t->setParentProject(house);
    t->setTags(QStringLiteral("diy"));
    context->processPendingChanges();
    context->undoManager().removeAllActions();
    switcher().contextController().selectRecord(home);
    switcher().contextTasks().updatePredicate();
    switcher().contextTasks().selectObject(t);

    Project* promoted = promoteTaskToProject(switcher().contextTasks());
    ASSERT_NE(promoted, nullptr);
    EXPECT_EQ(promoted->name(), QStringLiteral("Paint the hall"));
    EXPECT_EQ(promoted->parentProject(), house);
    EXPECT_EQ(promoted->defaultContext(), home);
    EXPECT_EQ(promoted->defaultTags(), QStringLiteral("diy"));
    EXPECT_TRUE(t->isDeleted());
    EXPECT_EQ(context->undoManager().undoActionName(), QStringLiteral("Promote to Project"));

    context->undo();
    context->processPendingChanges();
    EXPECT_FALSE(t->isDeleted());
    EXPECT_TRUE(promoted->isDeleted());

    switcher().contextTasks().setSelectedObjects({});
    EXPECT_EQ(promoteTaskToProject(switcher().contextTasks()), nullptr);
}
