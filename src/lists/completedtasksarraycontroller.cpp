#include "lists/completedtasksarraycontroller.h"

#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/task.h"
#include "store/objectcontext.h"

CompletedTasksArrayController::CompletedTasksArrayController(TabViewController& views) : TasksArrayController(views, TaskView::Completed)
{
}

namespace {
const Predicate& completed()
{
    static const Predicate predicate = Predicate::fromFormat(QStringLiteral("done == 1 and archived <> 1"));
    return predicate;
}
} // namespace

std::vector<Task*> CompletedTasksArrayController::content() const
{
    std::vector<Task*> tasks;
    for (Record* r : store().allObjects(QStringLiteral("task")))
        if (completed().evaluate(*r))
            tasks.push_back(static_cast<Task*>(r));
    return tasks;
}

bool CompletedTasksArrayController::contentContains(const Task& task) const
{
    return completed().evaluate(task);
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
