#include "lists/contexttasksarraycontroller.h"

#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "lists/taskcreation.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"

#include <algorithm>

ContextTasksArrayController::ContextTasksArrayController(TabViewController& views)
    : NaturalOrderableTasksArrayController(views, TaskView::Contexts, QStringLiteral("positionInContext"))
{
}

std::vector<Task*> ContextTasksArrayController::content() const
{
    std::vector<Task*> tasks;
    for (Context* context : viewSwitcher().contextController().selectedObjects())
        for (Record* r : context->tasks())
            tasks.push_back(static_cast<Task*>(r));
    return tasks;
}

bool ContextTasksArrayController::contentContains(const Task& task) const
{
    return isContentFolder(task.parentContext());
}

std::vector<Record*> ContextTasksArrayController::contentFolders() const
{
    const std::vector<Context*> folders = viewSwitcher().contextController().selectedObjects();
    return {folders.begin(), folders.end()};
}

void ContextTasksArrayController::updatePredicate()
{
    // "cleanedUp == 0" hides a task whose flag was never set; the project list tests "<>1" on purpose.
    QList<Predicate> terms{term(QStringLiteral("archived == 0")), term(QStringLiteral("cleanedUp == 0"))};
    appendModeTerms(terms, modes(), TimeTermStyle::ContextList, true);
    installPredicate(terms);
}

void ContextTasksArrayController::taskCountsHasChanged()
{
    host().rearrangeFolderTree(TaskView::Contexts);
}

QString ContextTasksArrayController::currentTasksFolderName() const
{
    Context* context = viewSwitcher().contextController().selectedObject();
    return context ? context->name() : QString("");
}

bool ContextTasksArrayController::isNaturalOrdered() const
{
    return viewSwitcher().contextController().selectedObjects().size() <= 1 && sortsByPositionFirst();
}

Task* ContextTasksArrayController::insertNewTask()
{
    Context* context = viewSwitcher().contextController().selectedObject();
    Project* project = nullptr;
    std::optional<qint64> priority;
    if (Task* selected = selectedObject()) {
        if (preferences().boolForKey(QStringLiteral("copyContainerToNewTasks")))
            project = selected->parentProject();
        if (preferences().boolForKey(QStringLiteral("copyPriorityToNewTasks")))
            priority = selected->priority();
    }
    return addNewTask(QStringLiteral("New task"), context, project, QString(""), QString(), priority, QDateTime(), QDateTime(), QString(""), false);
}

void ContextTasksArrayController::handlePastedTask(Task* task)
{
    task->setParentContext(viewSwitcher().contextController().selectedObject());
    task->setArchived(false);
}

Task* ContextTasksArrayController::addNewTask(const QString& name, Context* context, Project* project, const QString& content,
                                              const QString& url, std::optional<qint64> priority, const QDateTime& startDate,
                                              const QDateTime& dueDate, const QString& tags, bool noGUI)
{
    NewTask values;
    values.name = name;
    values.context = context;
    values.project = project;
    values.content = content;
    values.url = url;
    values.priority = priority;
    if (startDate.isValid())
        values.startDate = startDate;
    if (dueDate.isValid())
        values.dueDate = dueDate;
    values.tags = tags;
    Task* task = ::addNewTask(store(), values);
    adoptNewTask(task, noGUI);
    if (noGUI)
        host().postNotification({QStringLiteral("Task added to Vyro"), newTaskNotificationDescription(task),
                                 QStringLiteral("VyroNewTaskAdded"), QStringLiteral("Vyro.icns"), 0, false, QString()});
    else
        showNewTask(task, viewSwitcher().contextController(), task->parentContext(), true);
    return task;
}
