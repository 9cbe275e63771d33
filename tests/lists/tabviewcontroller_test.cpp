#include "support/listsfixture.h"

#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/tasktablestate.h"

using namespace Qt::StringLiterals;

class TabViewTest : public ListsFixture {};

TEST_F(TabViewTest, ViewsWrapAndTheLastOneIsRemembered)
{
    TabViewController& tabs = switcher();
    tabs.selectArchivedTasksTab();
    tabs.selectNextTab();
    EXPECT_EQ(tabs.selectedTab(), TaskView::Contexts);
    tabs.selectPreviousTab();
    EXPECT_EQ(tabs.selectedTab(), TaskView::Archive);
    EXPECT_EQ(host.calls.filter(u"view"_s), QStringList({u"view 4"_s, u"view 0"_s, u"view 4"_s}));

    tabs.selectCompletedTasksTab();
    tabs.saveLastUsedTab();
    EXPECT_EQ(prefs->integerForKey(u"tabIndexLastUsed"_s), 3);
    tabs.selectContextTasksTab();
    tabs.selectLastUsedTab();
    EXPECT_EQ(tabs.getSelectedTabIndex(), 3);
}

TEST_F(TabViewTest, ModeCommandsStepTheCurrentViewAndStoreIt)
{
    struct Step {
        TaskView view;
        void (TabViewController::*command)();
        QString key;
        QVariant expected; // the stored value afterwards; invalid: nothing stored
    };
    const Step steps[] = {
        {TaskView::Contexts, &TabViewController::selectPreviousMode, u"timeModeControlForContextsState"_s, 4},
        {TaskView::Contexts, &TabViewController::selectNextMode, u"timeModeControlForContextsState"_s, 0},
        {TaskView::Contexts, &TabViewController::selectPreviousWaitMode, u"ownerModeControlForContextsState"_s, 3},
        {TaskView::Contexts, &TabViewController::selectNextWaitMode, u"ownerModeControlForContextsState"_s, 0},
        {TaskView::Projects, &TabViewController::selectNextMode, u"timeModeControlForProjectsState"_s, 1},
        {TaskView::ToComplete, &TabViewController::switchNextActionsMode, u"nextActionsModeControlForPendingState"_s, true},
        {TaskView::Archive, &TabViewController::switchFlaggedMode, u"flaggedModeControlForArchiveState"_s, true},
        {TaskView::Archive, &TabViewController::selectNextMode, u"timeModeControlForArchiveState"_s, QVariant()},
        {TaskView::Completed, &TabViewController::switchFlaggedMode, u"flaggedModeControlForCompletedState"_s, QVariant()},
    };
    TabViewController& tabs = switcher();
    for (const Step& s : steps) {
        tabs.selectTab(s.view);
        (tabs.*s.command)();
        EXPECT_EQ(prefs->hasKey(s.key), s.expected.isValid()) << s.key.toStdString();
        if (s.expected.isValid()) {
            EXPECT_EQ(prefs->objectForKey(s.key).toString(), s.expected.toString()) << s.key.toStdString();
        }
    }
    // The project list has no next-actions mode: the command changes nothing there.
    tabs.selectProjectTasksTab();
    const ViewModes before = tabs.modes(TaskView::Projects);
    tabs.switchNextActionsMode();
    EXPECT_EQ(tabs.modes(TaskView::Projects).nextActions, before.nextActions);
}

TEST_F(TabViewTest, SteppingTheModeRebuildsTheList)
{
    Context* home = folder(u"Home"_s);
    addTask(u"someday"_s, home)->setMaybe(true);
    addTask(u"now"_s, home);
    prefs->setInteger(u"timeModeControlForContextsState"_s, 4);
    TabViewController& tabs = switcher();
    tabs.contextController().selectRecord(home);
    tabs.contextTasks().updatePredicate();
    EXPECT_EQ(tabs.contextTasks().arrangedObjects().size(), 2u);
    tabs.selectNextMode(); // 4 wraps to 0: pending again
    EXPECT_EQ(names(tabs.contextTasks().arrangedObjects()), QStringList{u"now"_s});
}

TEST_F(TabViewTest, CommandsGoToTheListOfTheCurrentView)
{
    Context* home = folder(u"Home"_s);
    Task* t = addTask(u"t"_s, home);
    TabViewController& tabs = switcher();
    tabs.contextController().selectRecord(home);
    tabs.contextTasks().updatePredicate();
    tabs.contextTasks().selectObject(t);

    const QString containers[] = {u"New context"_s, u"New project"_s, u"New smart folder"_s, u"New context"_s, u"New context"_s};
    for (int v = 0; v < kTaskViewCount; ++v) {
        tabs.selectTab(TaskView(v));
        EXPECT_EQ(tabs.currentTaskContainer(), containers[v]);
    }

    tabs.selectTab(TaskView::Completed);
    tabs.performFlagAction(); // not served in the completed view
    EXPECT_FALSE(t->nextAction());
    tabs.selectTab(TaskView::Contexts);
    tabs.performFlagAction();
    EXPECT_TRUE(t->nextAction());

    // A new task from the completed view is made in the selected context, in the contexts view.
    tabs.selectTab(TaskView::Completed);
    tabs.performNewTaskAction();
    EXPECT_EQ(tabs.selectedTab(), TaskView::Contexts);
    EXPECT_EQ(home->tasks().size(), 2u);

    tabs.contextTasks().selectObject(t);
    tabs.performProcessReviewAction();
    EXPECT_EQ(host.calls.last(), u"move-to sheet"_s);

    tabs.performNewFolderAction();
    EXPECT_EQ(tabs.contextController().selectedObject()->name(), u"New context"_s);
    EXPECT_EQ(host.calls.last(), u"edit name"_s);
}

TEST_F(TabViewTest, NaturalOrderToggleBelongsToContextsAndProjects)
{
    TabViewController& tabs = switcher();
    tabs.selectTab(TaskView::ToComplete);
    tabs.toggleNaturalOrderSorting();
    EXPECT_EQ(prefs->stringForKey(u"sortDescriptorAllTasksIdentifiers"_s), u"name"_s);
    tabs.selectTab(TaskView::Projects);
    tabs.toggleNaturalOrderSorting();
    EXPECT_EQ(prefs->stringForKey(u"sortDescriptorProjectTasksIdentifiers"_s), u""_s);
    EXPECT_EQ(tabs.projectTasks().sortDescriptors().front().key(), u"positionInProject"_s);
}
