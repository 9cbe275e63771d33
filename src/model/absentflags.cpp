#include "model/absentflags.h"

#include "model/context.h"
#include "model/project.h"
#include "model/task.h"
#include "model/taskfolder.h"
#include "store/objectcontext.h"

#include <set>

namespace {

// Sets `attribute` to `value` where it is absent; true when it was.
bool fill(Record* record, int attribute, bool value)
{
    if (!record->primitiveValue(attribute).isNull())
        return false;
    record->setPrimitiveValue(attribute, Value::boolean(value));
    return true;
}

} // namespace

int repairAbsentFlags(ObjectContext& context)
{
    int repaired = 0;
    struct Step {
        const char* entity;
        const char* query;
        int attribute;
    };
    const Step steps[] = {
        {"task", "archived == NULL", Task::Attr::archived},
        {"task", "maybe == NULL", Task::Attr::maybe},
        {"task", "cleanedUp == NULL", Task::Attr::cleanedUp},
        {"task", "done == NULL", Task::Attr::done},
        {"project", "completed == NULL", Project::Attr::completed},
        {"context", "isInbox == NULL", Context::Attr::isInbox},
    };
    for (const Step& step : steps) {
        auto found = context.executeFetchRequest(FetchRequest(QLatin1String(step.entity), Predicate::fromFormat(QLatin1String(step.query))));
        if (!found)
            continue; // a failed fetch skips its own step
        for (Record* r : *found) {
            fill(r, step.attribute, false);
            if (auto* task = dynamic_cast<Task*>(r))
                task->resetAllFolderCounters();
            ++repaired;
        }
    }
    return repaired;
}

void adoptLoadedRecords(ObjectContext& context, const std::vector<Record*>& records)
{
    std::vector<Task*> tasks;
    for (Record* r : records) {
        if (r->isDeleted())
            continue;
        if (auto* task = dynamic_cast<Task*>(r)) {
            for (int flag : {Task::Attr::done, Task::Attr::cleanedUp, Task::Attr::archived, Task::Attr::nextAction, Task::Attr::maybe,
                             Task::Attr::waitingFor, Task::Attr::delegated})
                fill(task, flag, false);
            tasks.push_back(task);
        } else if (auto* project = dynamic_cast<Project*>(r)) {
            fill(project, Project::Attr::active, true);
            fill(project, Project::Attr::completed, false);
        } else if (auto* folder = dynamic_cast<Context*>(r)) {
            fill(folder, Context::Attr::isInbox, false);
        }
    }

    // Folders in key order, so that the work does not depend on the order of pointers.
    auto byKey = [](const Record* a, const Record* b) { return a->primaryKey() < b->primaryKey(); };
    std::set<Context*, decltype(byKey)> contexts(byKey);
    std::set<Project*, decltype(byKey)> projects(byKey);
    DeferredRenumbering renumberOnce(context);
    for (Task* task : tasks) {
        task->resetAllFolderCounters();
        if (task->cleanedUp() || task->archived())
            continue;
        // At the end: the count already holds the task, so it is the last place.
        if (Context* c = task->parentContext()) {
            if (task->primitiveValue(Task::Attr::positionInContext).isNull())
                task->setPositionInContext(c->uncompletedTasksCount());
            contexts.insert(c);
        }
        if (Project* p = task->parentProject()) {
            if (task->primitiveValue(Task::Attr::positionInProject).isNull())
                task->setPositionInProject(p->uncompletedTasksCount());
            projects.insert(p);
        }
    }
    for (Context* c : contexts)
        c->calculateTaskPositions();
    for (Project* p : projects)
        p->calculateTaskPositions();
}
