#include "capture/quicktypeincontroller.h"

#include "capture/tasknameanalyzer.h"
#include "lists/taskcreation.h"
#include "model/project.h"
#include "store/objectcontext.h"

Result<Task*> QuickTypeInController::quickTypeInDone(const QString& line, ParseResult* reading)
{
    if (line.isEmpty())
        return static_cast<Task*>(nullptr);
    auto parsed = TaskNameAnalyzer(m_context).parseTaskName(line);
    if (!parsed)
        return parsed.status();
    if (reading)
        *reading = *parsed;
    NewTask values;
    values.name = parsed->name;
    values.content = parsed->content;
    values.priority = parsed->priority;
    values.context = parsed->context;
    if (!values.context && parsed->project)
        values.context = parsed->project->defaultContext();
    values.project = parsed->project;
    values.startDate = parsed->startDate;
    values.dueDate = parsed->dueDate;
    values.tags = parsed->tags.value_or(QString());
    Task* task = addNewTask(m_context, values);
    // As the window does: a failed save is not reported here; the next save tries again.
    saveOrLog(m_context);
    return task;
}
