#include "lists/projecttasksarraycontroller.h"

#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/listhost.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/taskcreation.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"

#include <algorithm>

ProjectTasksArrayController::ProjectTasksArrayController(TabViewController& views)
    : NaturalOrderableTasksArrayController(views, TaskView::Projects, QStringLiteral("positionInProject"))
{
}

void ProjectTasksArrayController::setCompletedMode(bool on)
{
    m_completedMode = on;
    updatePredicate();
}

std::vector<Task*> ProjectTasksArrayController::content() const
{
    std::vector<Task*> tasks;
    for (Project* project : viewSwitcher().projectController().selectedObjects())
        for (Record* r : project->tasks())
            tasks.push_back(static_cast<Task*>(r));
    return tasks;
}

bool ProjectTasksArrayController::contentContains(const Task& task) const
{
    return isContentFolder(task.parentProject());
}

std::vector<Record*> ProjectTasksArrayController::contentFolders() const
{
    const std::vector<Project*> folders = viewSwitcher().projectController().selectedObjects();
    return {folders.begin(), folders.end()};
}

void ProjectTasksArrayController::updatePredicate()
{
    // No test of the project's own `active` flag here, and no next-actions mode.
    QList<Predicate> terms{term(QStringLiteral("archived == 0"))};
    appendModeTerms(terms, modes(), TimeTermStyle::TaskOnly, false);
    // "<>1" shows a task whose flag was never set, where the context list's "== 0" hides it.
    if (!m_completedMode)
        terms << term(QStringLiteral("cleanedUp<>1"));
    installPredicate(terms);
}

void ProjectTasksArrayController::taskCountsHasChanged()
{
    host().rearrangeFolderTree(TaskView::Projects);
}

QString ProjectTasksArrayController::currentTasksFolderName() const
{
    Project* project = viewSwitcher().projectController().selectedObject();
    return project ? project->name() : QString("");
}

bool ProjectTasksArrayController::isNaturalOrdered() const
{
    return viewSwitcher().projectController().selectedObjects().size() <= 1 && !m_completedMode && sortsByPositionFirst();
}

Task* ProjectTasksArrayController::insertNewTask()
{
    return addNewTask(QStringLiteral("New task"), viewSwitcher().projectController().selectedObject(), QString(""), QString(), false);
}

void ProjectTasksArrayController::handlePastedTask(Task* task)
{
    task->setParentProject(viewSwitcher().projectController().selectedObject());
    task->setArchived(false);
}

Task* ProjectTasksArrayController::addNewTask(const QString& name, Project* project, const QString& content, const QString& url, bool noGUI)
{
    Task* selected = selectedObject();
    Context* context = nullptr;
    if (selected && selected->parentContext() && preferences().boolForKey(QStringLiteral("copyContainerToNewTasks")))
        context = selected->parentContext();
    else if (project && project->defaultContext())
        context = project->defaultContext();
    else
        context = viewSwitcher().contextController().inboxContext();

    NewTask values;
    values.name = name;
    values.context = context;
    values.project = project;
    values.content = content;
    values.url = url;
    values.tags = project ? project->defaultTags() : QString();
    if (selected && preferences().boolForKey(QStringLiteral("copyPriorityToNewTasks")))
        values.priority = selected->priority();
    Task* task = ::addNewTask(store(), values);
    adoptNewTask(task, noGUI);
    // The window comes to the front without taking the keyboard.
    if (!noGUI)
        showNewTask(task, viewSwitcher().projectController(), project, false);
    return task;
}
