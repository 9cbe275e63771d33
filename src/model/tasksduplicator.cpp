#include "model/tasksduplicator.h"

#include "model/context.h"
#include "model/project.h"
#include "model/task.h"
#include "store/objectcontext.h"

Task* TasksDuplicator::duplicateTaskFrom(Task* s)
{
    auto* c = s->managedObjectContext()->insertNewObject<Task>(QStringLiteral("task"));
    c->setName(s->name());
    for (int attribute : {Task::Attr::content, Task::Attr::url, Task::Attr::tags})
        if (!s->primitiveValue(attribute).isNull())
            c->setPrimitiveValue(attribute, s->primitiveValue(attribute));
    c->setPriority(s->priority());
    c->setEffort(s->effort());
    c->setStartDate(s->startDate());
    c->setDueDate(s->dueDate());
    // The flags before the context and project: the archived setter renumbers the task's folders, and
    // there are none yet. A copy is an open task whatever its source: done and cleaned up false.
    c->setPrimitiveValue(Task::Attr::done, Value::boolean(false));
    c->setPrimitiveValue(Task::Attr::cleanedUp, Value::boolean(false));
    c->setNextAction(s->nextAction());
    c->setWaitingFor(s->waitingFor());
    c->setDelegated(s->delegated());
    c->setMaybe(s->maybe());
    c->setArchived(s->archived());
    c->setParentContext(s->parentContext());
    c->setParentProject(s->parentProject());
    c->setRecurMode(s->recurMode());
    c->setRecurNumber(s->recurNumber());
    c->setRecurType(s->recurType());
    // Counted with the copy already in the store, without adding one.
    if (Context* context = c->parentContext())
        c->setPositionInContext(context->uncompletedTasksCount());
    if (Project* project = c->parentProject())
        c->setPositionInProject(project->uncompletedTasksCount());
    return c;
}
