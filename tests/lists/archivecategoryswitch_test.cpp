#include "support/listsfixture.h"

#include "lists/archivecategoryswitch.h"
#include "lists/archivedtasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "model/archivecategory.h"

using namespace Qt::StringLiterals;

class ArchiveCategorySwitchTest : public ListsFixture {};

TEST_F(ArchiveCategorySwitchTest, SelectsTheCategoryAndItsEntry)
{
    struct Case {
        bool switchTab;
        bool withCategory;
        TaskView view;             // the view shown afterwards
        const char* selectedTask;  // in the archive list, "" for none
    };
    const Case cases[] = {
        {true, true, TaskView::Archive, "old"},
        {false, true, TaskView::Completed, "old"},
        // No category: the archive tree has nothing selected, and so no entries to select.
        {true, false, TaskView::Archive, ""},
    };
    auto* category = context->insertNewObject<ArchiveCategory>(u"archiveCategory"_s);
    category->setName(u"2026"_s);
    auto* other = context->insertNewObject<ArchiveCategory>(u"archiveCategory"_s);
    other->setName(u"2025"_s);
    Task* old = addTask(u"old"_s, inbox);
    old->setParentContext(nullptr);
    old->setArchived(true);
    old->setParentArchiveCategory(category);
    TabViewController& tabs = switcher();
    for (const Case& c : cases) {
        tabs.selectTab(TaskView::Completed);
        tabs.archiveCategoryController().selectRecord(other);
        switchToGivenArchiveCategory(tabs, c.withCategory ? category : nullptr, old, c.switchTab);
        EXPECT_EQ(tabs.selectedTab(), c.view);
        EXPECT_EQ(tabs.archiveCategoryController().selectedObject(), c.withCategory ? category : nullptr);
        const Task* selected = tabs.archivedTasks().selectedObject();
        EXPECT_EQ(selected ? selected->name() : QString(), QString::fromLatin1(c.selectedTask));
    }
    // A context list told to show no context keeps nothing selected rather than an empty entry.
    tabs.contextController().selectRecord(nullptr);
    EXPECT_TRUE(tabs.contextController().selectedRecords().empty());
}
