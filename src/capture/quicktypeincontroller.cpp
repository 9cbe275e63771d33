#include "capture/quicktypeincontroller.h"

#include "app/preferences.h"
#include "capture/tasknameanalyzer.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/taskcreation.h"
#include "model/project.h"
#include "store/objectcontext.h"

namespace {

// The parse's values for the add operation, with the context rule: the one written, else the default
// context of the project written, else none (the Inbox).
NewTask newTaskFromParse(const ParseResult& parsed)
{
    NewTask values;
    values.name = parsed.name;
    values.content = parsed.content;
    values.priority = parsed.priority;
    values.context = parsed.context;
    if (!values.context && parsed.project)
        values.context = parsed.project->defaultContext();
    values.project = parsed.project;
    values.startDate = parsed.startDate;
    values.dueDate = parsed.dueDate;
    values.tags = parsed.tags.value_or(QString());
    return values;
}

} // namespace

Result<Task*> QuickTypeInController::quickTypeInDone(const QString& line, ParseResult* reading)
{
    if (line.isEmpty())
        return static_cast<Task*>(nullptr);
    auto parsed = TaskNameAnalyzer(m_context).parseTaskName(line);
    if (!parsed)
        return parsed.status();
    if (reading)
        *reading = *parsed;
    const NewTask values = newTaskFromParse(*parsed);
    Task* task = addNewTask(m_context, values);
    // As the window does: a failed save is not reported here; the next save tries again.
    saveOrLog(m_context);
    return task;
}

Result<Task*> QuickTypeInController::quickTypeInDone(const QString& line, ContextTasksArrayController& tasks,
                                                     const Preferences& preferences)
{
    if (line.isEmpty())
        return static_cast<Task*>(nullptr);
    auto parsed = TaskNameAnalyzer(m_context).parseTaskName(line);
    if (!parsed)
        return parsed.status();
    const NewTask v = newTaskFromParse(*parsed);
    Task* task = tasks.addNewTask(v.name, v.context, v.project, v.content, QString(), v.priority, v.startDate.value_or(QDateTime()),
                                  v.dueDate.value_or(QDateTime()), v.tags, !preferences.boolForKey("showGUIAfterQuickTypeInWindow"));
    saveOrLog(m_context);
    return task;
}
