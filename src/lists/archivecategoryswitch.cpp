#include "lists/archivecategoryswitch.h"

#include "lists/archivedtasksarraycontroller.h"
#include "lists/folderarraycontroller.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/archivecategory.h"

void switchToGivenArchiveCategory(TabViewController& views, ArchiveCategory* category, Task* task, bool switchTab)
{
    views.archiveCategoryController().selectRecord(category);
    ArchivedTasksArrayController& list = views.archivedTasks();
    list.updatePredicate();
    list.selectObject(task);
    if (switchTab) {
        views.selectTab(TaskView::Archive);
        views.host().focusTaskTable();
        views.host().focusNextControl();
    }
}
