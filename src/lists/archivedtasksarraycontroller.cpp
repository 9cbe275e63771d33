#include "lists/archivedtasksarraycontroller.h"

#include "app/preferences.h"
#include "lists/folderarraycontroller.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/archivecategory.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <algorithm>

ArchivedTasksArrayController::ArchivedTasksArrayController(TabViewController& views) : TasksArrayController(views, TaskView::Archive)
{
}

std::vector<Task*> ArchivedTasksArrayController::content() const
{
    std::vector<Task*> tasks;
    for (ArchiveCategory* category : viewSwitcher().archiveCategoryController().selectedObjects())
        for (Record* r : category->tasks())
            tasks.push_back(static_cast<Task*>(r));
    return tasks;
}

bool ArchivedTasksArrayController::contentContains(const Task& task) const
{
    return isContentFolder(task.parentArchiveCategory());
}

std::vector<Record*> ArchivedTasksArrayController::contentFolders() const
{
    const std::vector<ArchiveCategory*> folders = viewSwitcher().archiveCategoryController().selectedObjects();
    return {folders.begin(), folders.end()};
}

void ArchivedTasksArrayController::updatePredicate()
{
    QList<Predicate> terms{term(QStringLiteral("archived == 1"))};
    if (modes().flagged)
        terms << term(flaggedModeTerm());
    installPredicate(terms);
}

void ArchivedTasksArrayController::taskCountsHasChanged()
{
    host().rearrangeFolderTree(TaskView::Archive);
}

QString ArchivedTasksArrayController::currentTasksFolderName() const
{
    ArchiveCategory* category = viewSwitcher().archiveCategoryController().selectedObject();
    return category ? category->name() : QString("");
}

Task* ArchivedTasksArrayController::insertNewTask()
{
    std::optional<qint64> priority;
    if (Task* selected = selectedObject(); selected && preferences().boolForKey(QStringLiteral("copyPriorityToNewTasks")))
        priority = selected->priority();
    return addNewTask(QStringLiteral("New archive entry"), viewSwitcher().archiveCategoryController().selectedObject(), QString(""), QString(),
                      priority, QString(""), false);
}

void ArchivedTasksArrayController::handlePastedTask(Task* task)
{
    task->setParentArchiveCategory(viewSwitcher().archiveCategoryController().selectedObject());
    task->setArchived(true);
}

Task* ArchivedTasksArrayController::addNewTask(const QString& name, ArchiveCategory* category, const QString& content, const QString& url,
                                               std::optional<qint64> priority, const QString& tags, bool noGUI)
{
    auto* task = store().insertNewObject<Task>(QStringLiteral("task"));
    if (category)
        category->addTasksObject(task);
    task->setName(name);
    task->setContent(content);
    task->setUrl(url);
    task->setPriority(priority.value_or(3));
    task->setEffort(1);
    task->setTags(tags);
    task->setArchived(true);
    task->setNextAction(false);
    task->setMaybe(false);
    task->setWaitingFor(false);
    task->setDelegated(false);
    taskCountsHasChanged();
    rearrangeObjects();
    if (noGUI)
        return task;
    clearSearchAndRebuild();
    if (category)
        viewSwitcher().archiveCategoryController().selectRecord(category);
    updatePredicate();
    viewSwitcher().selectTab(TaskView::Archive);
    host().focusTaskTable();
    host().bringMainWindowToFront(true);
    host().activateApplication();
    selectObject(task);
    host().beginEditing(task, QStringLiteral("name"));
    return task;
}
