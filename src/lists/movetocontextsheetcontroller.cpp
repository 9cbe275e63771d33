#include "lists/movetocontextsheetcontroller.h"

#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "model/recurrenttaskscontroller.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <algorithm>
#include <vector>

namespace {

const QString kNone = QStringLiteral("(none)");

template <typename T>
int indexOf(const std::vector<T*>& items, const T* item)
{
    if (!item)
        return -1;
    const auto it = std::find(items.begin(), items.end(), item);
    return it == items.end() ? -1 : int(it - items.begin());
}

template <typename Folder>
int firstWithNameBeginningWith(const std::vector<Folder*>& folders, const QString& text)
{
    const QString prefix = text.toLower();
    for (size_t i = 0; i < folders.size(); ++i)
        if (folders[i]->name().toLower().startsWith(prefix))
            return int(i);
    return -1;
}

Status outOfRange(int index, size_t count)
{
    return Status::invalidArgument(QStringLiteral("index %1 beyond bounds of a list of %2").arg(index).arg(count));
}

Status noTaskOnShow()
{
    return Status::notFound(QStringLiteral("no task on show"));
}

// The arrangement is computed when the list re-arranges, so it can still hold a task deleted since
// (by Delete in this sheet, say); the walk never shows one.
std::vector<Task*> liveTasks(const std::vector<Task*>& tasks)
{
    std::vector<Task*> out;
    out.reserve(tasks.size());
    for (Task* t : tasks)
        if (!t->isDeleted())
            out.push_back(t);
    return out;
}

} // namespace

MoveToContextSheetController::MoveToContextSheetController(ContextArrayController& contexts, ProjectArrayController& projects,
                                                           MoveToSheetHost& host)
    : m_contextController(contexts), m_projectController(projects), m_host(host)
{
}

MoveToContextSheetController::MoveToContextSheetController(TabViewController& views, MoveToSheetHost& host)
    : MoveToContextSheetController(views.contextController(), views.projectController(), host)
{
}

bool MoveToContextSheetController::isFlagVisible() const
{
    return m_task && m_task->nextAction();
}

bool MoveToContextSheetController::showMoveToContextSheetForController(TasksArrayController& list)
{
    m_tasksController = &list;
    m_task = nullptr;
    if (!setNextTaskFromController(true))
        return false;
    if (!m_open) {
        m_open = true;
        m_host.showSheet();
    }
    return true;
}

bool MoveToContextSheetController::setNextTaskFromController(bool forward)
{
    if (!m_tasksController)
        return false;
    const std::vector<Task*> arranged = liveTasks(m_tasksController->arrangedObjects());
    const int i = indexOf(arranged, m_task);
    if (i >= 0) {
        // Past either end the index falls back onto the task on show, which ends the walk.
        const int j = std::clamp(forward ? i + 1 : i - 1, 0, int(arranged.size()) - 1);
        if (arranged[size_t(j)] == m_task)
            return false;
        showTask(arranged[size_t(j)]);
        return true;
    }
    const std::vector<Task*> selected = m_tasksController->selectedObjects();
    if (selected.empty())
        return false;
    showTask(selected.front());
    return true;
}

void MoveToContextSheetController::showTask(Task* task)
{
    m_task = task;
    m_taskNameText = task->name();
    m_context = task->parentContext();
    m_contextIndex = indexOf(m_contextController.arrangedObjects(), m_context);
    m_project = task->parentProject();
    m_projectIndex = indexOf(m_projectController.arrangedObjects(), m_project);
    m_contextNameText = m_context ? m_context->name() : kNone;
    m_projectNameText = m_project ? m_project->pathName() : kNone;
    m_host.focusFirstControl();
}

Status MoveToContextSheetController::stepContext(int direction)
{
    if (!m_task)
        return noTaskOnShow();
    const std::vector<Context*> contexts = m_contextController.arrangedObjects();
    int index = m_contextIndex;
    if (direction < 0 && index > 0)
        --index;
    else if (direction > 0 && index + 1 < int(contexts.size()))
        ++index;
    if (index < 0 || index >= int(contexts.size()))
        return outOfRange(index, contexts.size());
    m_contextIndex = index;
    if (m_context)
        m_context->removeTasksObject(m_task);
    m_context = contexts[size_t(index)];
    UndoGrouping step(m_task->managedObjectContext()->undoManager(), QStringLiteral("Move to Context"));
    m_task->setParentContext(m_context);
    return Status::ok();
}

bool MoveToContextSheetController::setTaskContextWithNameBeginningWith(const QString& text)
{
    if (!m_task)
        return false;
    const std::vector<Context*> contexts = m_contextController.arrangedObjects();
    const int index = firstWithNameBeginningWith(contexts, text);
    if (index < 0)
        return false;
    Context* found = contexts[size_t(index)];
    if (Context* old = m_task->parentContext())
        old->removeTasksObject(m_task);
    UndoGrouping step(m_task->managedObjectContext()->undoManager(), QStringLiteral("Move to Context"));
    m_task->setParentContext(found);
    found->addTasksObject(m_task);
    m_context = found;
    m_contextIndex = index;
    return true;
}

Status MoveToContextSheetController::setPreviousTaskProject()
{
    if (!m_task)
        return noTaskOnShow();
    if (m_projectIndex <= -1)
        return Status::ok();
    const std::vector<Project*> projects = m_projectController.arrangedObjects();
    const int index = m_projectIndex - 1;
    if (index >= int(projects.size()))
        return outOfRange(index, projects.size());
    m_projectIndex = index;
    if (m_project)
        m_project->removeTasksObject(m_task);
    m_project = index >= 0 ? projects[size_t(index)] : nullptr;
    UndoGrouping step(m_task->managedObjectContext()->undoManager(), QStringLiteral("Move to Project"));
    m_task->setParentProject(m_project);
    return Status::ok();
}

Status MoveToContextSheetController::setNextTaskProject()
{
    if (!m_task)
        return noTaskOnShow();
    const std::vector<Project*> projects = m_projectController.arrangedObjects();
    int index = m_projectIndex;
    if (index + 1 < int(projects.size()))
        ++index;
    if (index < 0 || index >= int(projects.size()))
        return outOfRange(index, projects.size());
    m_projectIndex = index;
    if (m_project)
        m_project->removeTasksObject(m_task);
    m_project = projects[size_t(index)];
    UndoGrouping step(m_task->managedObjectContext()->undoManager(), QStringLiteral("Move to Project"));
    m_task->setParentProject(m_project);
    return Status::ok();
}

bool MoveToContextSheetController::setTaskProjectWithNameBeginningWith(const QString& text)
{
    if (!m_task)
        return false;
    const std::vector<Project*> projects = m_projectController.arrangedObjects();
    const int index = firstWithNameBeginningWith(projects, text);
    if (index < 0)
        return false;
    Project* found = projects[size_t(index)];
    if (Project* old = m_task->parentProject())
        old->removeTasksObject(m_task);
    UndoGrouping step(m_task->managedObjectContext()->undoManager(), QStringLiteral("Move to Project"));
    m_task->setParentProject(found);
    found->addTasksObject(m_task);
    m_project = found;
    m_projectIndex = index;
    return true;
}

void MoveToContextSheetController::toggleCompleted()
{
    if (!m_task)
        return;
    if (m_task->done()) {
        m_task->setDone(false);
        return;
    }
    RecurrentTasksController::handleRecurrenceForTask(m_task);
    m_task->setDone(true);
}

void MoveToContextSheetController::toggleFlagged()
{
    if (m_task)
        setFlagState(!m_task->nextAction());
}

void MoveToContextSheetController::setFlagState(bool flagged)
{
    if (m_task)
        m_task->setNextAction(flagged);
}

bool MoveToContextSheetController::removeCurrentTask()
{
    if (!m_tasksController)
        return false;
    if (m_task)
        m_tasksController->store().deleteObject(m_task);
    m_task = nullptr;
    return setNextTaskFromController(true);
}

void MoveToContextSheetController::moveDone()
{
    if (!m_open)
        return;
    m_open = false;
    m_host.closeSheet();
}
