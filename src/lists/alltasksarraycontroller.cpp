#include "lists/alltasksarraycontroller.h"

#include "lists/listhost.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/smartfolder.h"
#include "model/task.h"
#include "store/objectcontext.h"

AllTasksArrayController::AllTasksArrayController(TabViewController& views) : TasksArrayController(views, TaskView::ToComplete)
{
}

std::vector<Task*> AllTasksArrayController::content() const
{
    std::vector<Task*> tasks;
    for (Record* r : store().allObjects(QStringLiteral("task")))
        tasks.push_back(static_cast<Task*>(r));
    return tasks;
}

void AllTasksArrayController::updatePredicate()
{
    SmartFolder* folder = viewSwitcher().smartFolderController().selectedFolder();
    if (!folder) {
        setFilterPredicate(std::nullopt);
        return;
    }
    QList<Predicate> terms{folder->predicateForFolder()};
    appendModeTerms(terms, modes(), TimeTermStyle::TaskOnly, true);
    installPredicate(terms);
}

void AllTasksArrayController::taskCountsHasChanged()
{
    host().rearrangeFolderTree(TaskView::Contexts);
    host().rearrangeFolderTree(TaskView::Projects);
}

QString AllTasksArrayController::currentTasksFolderName() const
{
    SmartFolder* folder = viewSwitcher().smartFolderController().selectedFolder();
    return folder ? folder->name() : QString("");
}
