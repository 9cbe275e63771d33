#include "model/cleanupcontroller.h"

#include "model/archivecategory.h"
#include "model/taskfolder.h"
#include "model/recurrenttaskscontroller.h"
#include "model/task.h"
#include "store/objectcontext.h"

int CleanUpController::cleanUpTasks(ObjectContext& context)
{
    auto tasks = context.executeFetchRequest(FetchRequest(QStringLiteral("task"), Predicate::fromFormat(QStringLiteral("(done == 1) and (cleanedUp <> 1)"))));
    if (!tasks)
        return 0;
    DeferredRenumbering renumberOnceAtTheEnd(context);
    for (Record* r : *tasks) {
        auto* task = static_cast<Task*>(r);
        RecurrentTasksController::handleRecurrenceForTask(task);
        task->setCleanedUp(true);
    }
    return int(tasks->size());
}

void archiveTaskTo(const std::vector<Task*>& tasks, ArchiveCategory* category, const QString& tags)
{
    for (Task* t : tasks) {
        t->setArchived(true);
        t->setTags(tags);
        t->setParentContext(nullptr);
        t->setParentProject(nullptr);
        if (category)
            category->addTasksObject(t);
    }
}
