#include "capture/quickentryedit.h"

#include "capture/tasknameanalyzer.h"
#include "model/task.h"

void applyQuickEntryLine(ObjectContext& store, Task& task, const QString& line)
{
    auto parsed = TaskNameAnalyzer(store).parseTaskName(line);
    if (!parsed) {
        task.setName(line);
        return;
    }
    task.setName(parsed->name);
    if (!parsed->content.isEmpty())
        task.setContent(parsed->content);
    task.setPriority(parsed->priority);
    if (parsed->context)
        task.moveToContext(parsed->context);
    if (parsed->project)
        task.moveToProject(parsed->project);
    if (parsed->tags)
        task.setTags(*parsed->tags);
    if (parsed->startDate || parsed->dueDate) {
        // Cleared first so that the start stays before the due date through every step.
        task.setDueDate(QDateTime());
        task.setStartDate(parsed->startDate.value_or(QDateTime()));
        task.setDueDate(parsed->dueDate.value_or(QDateTime()));
    }
}
