#include "lists/taskcommands.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/project.h"
#include "model/task.h"
#include "store/objectcontext.h"

bool applyQuickTagsForID(TasksArrayController& list, const Preferences& preferences, int number)
{
    if (number < 1 || number > quickTagCount)
        return false;
    QStringList quickTags;
    for (const QString& tag : preferences.stringListForKey(quickTagKey(number)))
        if (!tag.trimmed().isEmpty())
            quickTags << tag.trimmed();
    const std::vector<Task*> tasks = list.selectedObjects();
    if (quickTags.isEmpty() || tasks.empty())
        return false;
    bool changed = false;
    {
        UndoGrouping step(list.store().undoManager(), QStringLiteral("Apply Quick Tag"));
        for (Task* task : tasks) {
            QStringList tags = task->displayTags().value_or(QStringList());
            const qsizetype before = tags.size();
            for (const QString& tag : quickTags)
                if (!tags.contains(tag, Qt::CaseInsensitive))
                    tags << tag;
            if (tags.size() != before) {
                task->setDisplayTags(tags);
                changed = true;
            }
        }
    }
    list.rearrangeObjects();
    return changed;
}

Project* promoteTaskToProject(TasksArrayController& list)
{
    Task* task = list.selectedObject();
    if (!task)
        return nullptr;
    UndoGrouping step(list.store().undoManager(), QStringLiteral("Promote to Project"));
    Project* project = list.viewSwitcher().projectController().addNewProject(task->name(), task->parentProject());
    if (task->parentContext())
        project->setDefaultContext(task->parentContext());
    if (!task->tags().isEmpty())
        project->setDefaultTags(task->tags());
    list.store().deleteObject(task);
    list.rearrangeObjects();
    list.taskCountsHasChanged();
    return project;
}
