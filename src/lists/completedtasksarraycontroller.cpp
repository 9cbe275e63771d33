#include "lists/completedtasksarraycontroller.h"

#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/task.h"
#include "store/objectcontext.h"

CompletedTasksArrayController::CompletedTasksArrayController(TabViewController& views) : TasksArrayController(views, TaskView::Completed)
{
}

std::vector<Task*> CompletedTasksArrayController::content() const
{
    static const Predicate completed = Predicate::fromFormat(QStringLiteral("done == 1 and archived <> 1"));
    std::vector<Task*> tasks;
    for (Record* r : store().allObjects(QStringLiteral("task")))
        if (completed.evaluate(*r))
            tasks.push_back(static_cast<Task*>(r));
    return tasks;
}

void CompletedTasksArrayController::updatePredicate()
{
    installPredicate({});
}

void CompletedTasksArrayController::taskCountsHasChanged()
{
    host().rearrangeFolderTree(TaskView::Contexts);
    host().rearrangeFolderTree(TaskView::Projects);
}

QString CompletedTasksArrayController::currentTasksFolderName() const
{
    return QString("");
}
