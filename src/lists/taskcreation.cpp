#include "lists/taskcreation.h"

#include "model/context.h"
#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/project.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <QLocale>

Context* inboxContext(const ObjectContext& context)
{
    auto found = context.executeFetchRequest(FetchRequest(QStringLiteral("context"), Predicate::fromFormat(QStringLiteral("isInbox == 1"))));
    return found && !found->empty() ? static_cast<Context*>(found->front()) : nullptr;
}

Task* addNewTask(ObjectContext& context, const NewTask& values)
{
    auto* task = context.insertNewObject<Task>(QStringLiteral("task"));
    Context* in = values.context ? values.context : inboxContext(context);
    task->setName(values.name);
    task->setContent(values.content);
    task->setUrl(values.url);
    task->setPriority(values.priority.value_or(3));
    QDateTime start;
    if (values.startDate)
        start = *values.startDate;
    else if (ModelEnvironment::of(context).boolPreference(u"setStartDateToTodayForNewTasks"))
        start = DateAnchors::today(ModelEnvironment::of(context).now());
    task->setStartDate(start);
    if (values.dueDate)
        task->setDueDate(*values.dueDate);
    task->setEffort(1);
    task->setTags(values.tags);
    task->setNewInContext(true);
    task->setNewInProject(true);
    task->setNextAction(false);
    task->setMaybe(false);
    task->setWaitingFor(false);
    task->setDelegated(false);
    task->setArchived(false);
    task->setCleanedUp(false);
    // Not done, rather than absent: the start's repair would otherwise change every new task once more.
    task->setPrimitiveValue(Task::Attr::done, Value::boolean(false));
    if (in)
        in->addTasksObject(task);
    if (values.project) {
        values.project->addTasksObject(task);
        if (values.tags.isEmpty())
            task->setTags(values.project->defaultTags());
    }
    return task;
}

QString newTaskNotificationDescription(const Task* task)
{
    const QLocale locale = QLocale::system();
    QString text = QStringLiteral("%1\nContext: %2").arg(task->name(), task->parentContext() ? task->parentContext()->name() : QString());
    if (task->parentProject())
        text += QStringLiteral("\nProject: %1").arg(task->parentProject()->name());
    if (task->startDate().isValid())
        text += QStringLiteral("\nStart date: %1").arg(locale.toString(task->startDate().date(), QLocale::ShortFormat));
    if (task->dueDate().isValid())
        text += QStringLiteral("\nDue date: %1").arg(locale.toString(task->dueDate().date(), QLocale::ShortFormat));
    if (!task->content().isEmpty())
        text += QStringLiteral("\n\n%1...").arg(task->content().left(100).leftJustified(100, QLatin1Char(' ')));
    return text;
}
