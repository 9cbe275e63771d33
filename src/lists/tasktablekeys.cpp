#include "lists/tasktablekeys.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/archivecategory.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"

#include <algorithm>
#include <vector>

namespace {

// The folder type-ahead letters; the lower-case ones go to the tasks unless the user wants every
// type-ahead in the folders. The full stop finds names that begin with one.
bool isLowerTypeAheadLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || c == u'.';
}

bool isUpperTypeAheadLetter(QChar c)
{
    return c >= u'A' && c <= u'Z';
}

template <class Folder>
int indexOf(const std::vector<Folder*>& folders, const Folder* folder)
{
    const auto at = std::find(folders.begin(), folders.end(), folder);
    return at == folders.end() ? -1 : int(at - folders.begin());
}

} // namespace

TaskTableCommand taskTableCommandForKey(TaskTableKind kind, const KeyPress& key, const TaskTableKeyState& state)
{
    using C = TaskTableCommand;
    const bool contexts = kind == TaskTableKind::ContextTasks;
    const bool projects = kind == TaskTableKind::ProjectTasks;
    const bool toComplete = kind == TaskTableKind::AllTasks;
    const bool completed = kind == TaskTableKind::CompletedTasks;
    const bool archive = kind == TaskTableKind::ArchivedTasks;
    const bool folderTable = contexts || projects;
    const QChar c = key.character();
    const bool up = key.key == Qt::Key_Up;
    const bool down = key.key == Qt::Key_Down;
    const bool left = key.key == Qt::Key_Left;
    const bool right = key.key == Qt::Key_Right;

    if (c == u'@' && (folderTable || toComplete))
        return C::ProcessAndReviewTasks;
    if (c == u'+' && !archive)
        return C::IncreaseEffort;
    if (c == u'-' && !archive)
        return C::DecreaseEffort;
    if ((key.key == Qt::Key_Return || key.key == Qt::Key_Enter) && key.shift() && (folderTable || archive))
        return C::InsertNewTask;
    if (key.key == Qt::Key_Delete)
        return C::Remove;
    if (key.key == Qt::Key_Space) {
        if (key.shift()) {
            if (!archive)
                return C::MarkAsDone;
        } else if (key.control()) {
            if (folderTable || toComplete)
                return C::MarkAsMaybe;
        } else if (!completed) {
            return C::FlagAsNextAction;
        }
    }
    if (c == u'>' && state.hasSelectedTask && state.selectedTaskHasProject && (contexts || toComplete || completed))
        return C::JumpToProject;
    if (c == u'<' && state.hasSelectedTask && state.selectedTaskHasContext && (projects || toComplete || completed))
        return C::JumpToContext;

    if (left || right) {
        // The context table changes the project whatever the modifiers; the tables that show both
        // folders change the context with Alt.
        if (contexts || ((toComplete || completed) && !key.alt()))
            return right ? C::NextProjectOfTask : C::PreviousProjectOfTask;
        if (projects || toComplete || completed)
            return right ? C::NextContextOfTask : C::PreviousContextOfTask;
    }
    if (up || down) {
        if (folderTable) {
            if (key.control() && key.alt() && state.naturallyOrdered)
                return up ? C::MoveToTop : C::MoveToBottom;
            if (key.control()) {
                if (key.shift())
                    return up ? C::CarryTaskToPreviousFolder : C::CarryTaskToNextFolder;
                return up ? C::SelectPreviousFolder : C::SelectNextFolder;
            }
            if (key.alt() && state.naturallyOrdered)
                return up ? C::MoveUp : C::MoveDown;
        } else if (key.control() && toComplete) {
            // A smart folder is a search, not a place: there is nothing to carry a task into.
            return up ? C::SelectPreviousFolder : C::SelectNextFolder;
        } else if (key.control() && archive) {
            if (key.shift())
                return up ? C::CarryTaskToPreviousFolder : C::CarryTaskToNextFolder;
            return up ? C::SelectPreviousFolder : C::SelectNextFolder;
        }
    }

    if (c >= u'1' && c <= u'5')
        return TaskTableCommand(int(C::SetPriority1) + (c.unicode() - u'1'));
    if (isLowerTypeAheadLetter(c)) {
        if (completed || !state.typeAheadAlwaysForFolders)
            return C::TaskTypeAhead;
        return C::FolderTypeAhead;
    }
    if (isUpperTypeAheadLetter(c) && !completed)
        return C::FolderTypeAhead;
    return C::Unhandled;
}

int sliderValueForClick(double x, double cellLeft, double cellWidth, int maximum)
{
    if (!(cellWidth > 0))
        return 1;
    const double value = 1 + maximum * (x - cellLeft) / cellWidth;
    return int(std::clamp(value, 1.0, double(maximum)));
}

TaskTableKeys::TaskTableKeys(TabViewController& views, TaskTableKind kind)
    : m_views(views)
    , m_kind(kind)
{
}

TasksArrayController& TaskTableKeys::list() const
{
    return m_views.taskList(TaskView(int(m_kind)));
}

TaskTableKeyState TaskTableKeys::state() const
{
    const TasksArrayController& tasks = list();
    const Task* selected = tasks.selectedObject();
    TaskTableKeyState s;
    s.naturallyOrdered = tasks.isNaturalOrdered();
    s.hasSelectedTask = selected != nullptr;
    s.selectedTaskHasProject = selected && selected->parentProject();
    s.selectedTaskHasContext = selected && selected->parentContext();
    s.typeAheadAlwaysForFolders = m_views.preferences().boolForKey(PreferenceKey::typeAheadAlwaysForFolders);
    return s;
}

bool TaskTableKeys::keyDown(const KeyPress& key, double now)
{
    return perform(taskTableCommandForKey(m_kind, key, state()), key.character(), now);
}

bool TaskTableKeys::perform(TaskTableCommand command, QChar character, double now)
{
    using C = TaskTableCommand;
    TasksArrayController& tasks = list();
    switch (command) {
    case C::Unhandled: return false;
    case C::ProcessAndReviewTasks: tasks.processAndReviewTasks(); break;
    case C::IncreaseEffort: tasks.increaseEffort(); break;
    case C::DecreaseEffort: tasks.decreaseEffort(); break;
    case C::InsertNewTask: tasks.insertNewTask(); break;
    case C::Remove: tasks.remove(); break;
    case C::MarkAsDone: tasks.markAsDone(); break;
    case C::MarkAsMaybe: tasks.markAsMaybe(); break;
    case C::FlagAsNextAction: tasks.flagAsNextAction(); break;
    case C::JumpToProject:
        if (Task* task = tasks.selectedObject(); task && task->parentProject())
            m_views.projectController().switchToGivenProject(task->parentProject(), task, true);
        break;
    case C::JumpToContext:
        if (Task* task = tasks.selectedObject(); task && task->parentContext())
            m_views.contextController().switchToGivenContext(task->parentContext(), task, true);
        break;
    case C::PreviousProjectOfTask: stepProjectOfSelectedTask(-1); break;
    case C::NextProjectOfTask: stepProjectOfSelectedTask(1); break;
    case C::PreviousContextOfTask: stepContextOfSelectedTask(-1); break;
    case C::NextContextOfTask: stepContextOfSelectedTask(1); break;
    case C::MoveToTop: tasks.moveToTop(); break;
    case C::MoveToBottom: tasks.moveToBottom(); break;
    case C::MoveUp: tasks.moveUp(); break;
    case C::MoveDown: tasks.moveDown(); break;
    case C::SelectPreviousFolder: stepFolder(-1, false); break;
    case C::SelectNextFolder: stepFolder(1, false); break;
    case C::CarryTaskToPreviousFolder: stepFolder(-1, true); break;
    case C::CarryTaskToNextFolder: stepFolder(1, true); break;
    case C::SetPriority1:
    case C::SetPriority2:
    case C::SetPriority3:
    case C::SetPriority4:
    case C::SetPriority5: tasks.setPriority(int(command) - int(C::SetPriority1) + 1); break;
    case C::TaskTypeAhead: typeAheadInTasks(tasks, m_typeAhead.type(character, now)); break;
    case C::FolderTypeAhead: folderTypeAhead(m_typeAhead.type(character, now)); break;
    }
    return true;
}

// The task stays on show even when its new project hides it from the list: it is re-arranged only with
// the next change, so the user can keep stepping through the projects.
void TaskTableKeys::stepProjectOfSelectedTask(int direction)
{
    Task* task = list().selectedObject();
    if (!task)
        return;
    const std::vector<Project*> projects = m_views.projectController().arrangedObjects();
    const int count = int(projects.size());
    int index = indexOf(projects, task->parentProject()) + direction;
    if (index == -2)
        index = count - 1;
    Project* target = index >= 0 && index < count ? projects[size_t(index)] : nullptr;
    task->moveToProject(target);
    if (target)
        task->setNewInProject(true);
    list().taskCountsHasChanged();
}

void TaskTableKeys::stepContextOfSelectedTask(int direction)
{
    Task* task = list().selectedObject();
    const std::vector<Context*> contexts = m_views.contextController().arrangedObjects();
    if (!task || contexts.empty())
        return;
    const int count = int(contexts.size());
    const int current = indexOf(contexts, task->parentContext());
    int index = current + direction;
    if (current < 0 && direction < 0)
        index = count - 1;
    index = (index + count) % count;
    task->moveToContext(contexts[size_t(index)]);
    list().taskCountsHasChanged();
}

void TaskTableKeys::stepFolder(int direction, bool carryTask)
{
    TasksArrayController& tasks = list();
    Task* task = carryTask ? tasks.selectedObject() : nullptr;
    switch (m_kind) {
    case TaskTableKind::ContextTasks:
        direction < 0 ? m_views.contextController().switchToPreviousContext() : m_views.contextController().switchToNextContext();
        break;
    case TaskTableKind::ProjectTasks:
        direction < 0 ? m_views.projectController().switchToPreviousProject() : m_views.projectController().switchToNextProject();
        break;
    case TaskTableKind::AllTasks:
        direction < 0 ? m_views.smartFolderController().switchToPreviousSmartFolder()
                      : m_views.smartFolderController().switchToNextSmartFolder();
        break;
    case TaskTableKind::ArchivedTasks:
        direction < 0 ? m_views.archiveCategoryController().switchToPrevious() : m_views.archiveCategoryController().switchToNext();
        break;
    case TaskTableKind::CompletedTasks: return;
    }
    folderSelectionChanged();
    if (!task || task->isDeleted())
        return;

    bool moved = false;
    switch (m_kind) {
    case TaskTableKind::ContextTasks:
        if (Context* c = m_views.contextController().selectedObject(); c && c != task->parentContext()) {
            task->moveToContext(c);
            moved = true;
        }
        break;
    case TaskTableKind::ProjectTasks:
        if (Project* p = m_views.projectController().selectedObject(); p && p != task->parentProject()) {
            task->moveToProject(p);
            moved = true;
        }
        break;
    case TaskTableKind::ArchivedTasks:
        if (ArchiveCategory* a = m_views.archiveCategoryController().selectedObject(); a && a != task->parentArchiveCategory()) {
            task->setParentArchiveCategory(a);
            moved = true;
        }
        break;
    default: break;
    }
    if (!moved)
        return;
    tasks.rearrangeObjects();
    tasks.selectObject(task);
    tasks.taskCountsHasChanged();
}

void TaskTableKeys::folderTypeAhead(const QString& text)
{
    bool found = false;
    switch (m_kind) {
    case TaskTableKind::ContextTasks: found = typeAheadForName(m_views.contextController(), text); break;
    case TaskTableKind::ProjectTasks: found = typeAheadForName(m_views.projectController(), text); break;
    case TaskTableKind::AllTasks: found = typeAheadForName(m_views.smartFolderController(), text); break;
    case TaskTableKind::ArchivedTasks: found = typeAheadForName(m_views.archiveCategoryController(), text); break;
    case TaskTableKind::CompletedTasks: break;
    }
    if (found)
        folderSelectionChanged();
}

// The folder lists do not tell the task lists of a new selection; the table that changed it does.
// Installing the predicate re-arranges the list.
void TaskTableKeys::folderSelectionChanged()
{
    list().updatePredicate();
}

bool TaskTableKeys::clickedCell(const QString& column, Task* task, double x, double cellLeft, double cellWidth,
                                Qt::KeyboardModifiers modifiers)
{
    if (m_kind != TaskTableKind::ContextTasks || !task)
        return false;
    TasksArrayController& tasks = list();
    // A click on a cell also selects its row, unless the row is part of the selection already.
    auto selectClickedRow = [&] {
        const std::vector<Task*> selected = tasks.selectedObjects();
        if (std::find(selected.begin(), selected.end(), task) == selected.end())
            tasks.selectObject(task);
    };

    if (column == u"name") {
        if (!modifiers.testFlag(Qt::AltModifier) || !task->parentProject())
            return false;
        selectClickedRow();
        m_views.projectController().switchToGivenProject(task->parentProject(), task, true);
        return true;
    }
    if (column == u"nextaction") {
        selectClickedRow();
        tasks.flagAsNextAction();
        return true;
    }
    if (column == u"status") {
        selectClickedRow();
        tasks.waitForTask();
        return true;
    }
    if (column == u"done") {
        const std::vector<Task*>& before = tasks.arrangedObjects();
        const int row = indexOf(before, task);
        if (m_views.preferences().boolForKey(PreferenceKey::cleanUpImmediately))
            tasks.cleanUpTasks();
        else
            tasks.taskCountsHasChanged();
        tasks.rearrangeObjects();
        const std::vector<Task*>& after = tasks.arrangedObjects();
        if (tasks.selectedObjects().empty() && !after.empty())
            tasks.selectObject(after[size_t(std::clamp(row, 0, int(after.size()) - 1))]);
        return true;
    }
    if (column == u"project") {
        task->setNewInProject(true);
        return false;
    }
    if (column == u"priority" || column == u"effort") {
        if (column == u"priority")
            task->setPriority(sliderValueForClick(x, cellLeft, cellWidth, 5));
        else
            task->setEffort(sliderValueForClick(x, cellLeft, cellWidth, 4));
        tasks.rearrangeObjects();
        return true;
    }
    return false;
}
