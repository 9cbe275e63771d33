#include "model/task.h"

#include "model/archivecategory.h"
#include "model/context.h"
#include "model/project.h"

Context* Task::parentContext() const
{
    return static_cast<Context*>(toOne(Rel::parentContext));
}

void Task::setParentContext(Context* context)
{
    setToOne(Rel::parentContext, context);
}

Project* Task::parentProject() const
{
    return static_cast<Project*>(toOne(Rel::parentProject));
}

void Task::setParentProject(Project* project)
{
    setToOne(Rel::parentProject, project);
}

ArchiveCategory* Task::parentArchiveCategory() const
{
    return static_cast<ArchiveCategory*>(toOne(Rel::parentArchiveCategory));
}

void Task::setParentArchiveCategory(ArchiveCategory* category)
{
    setToOne(Rel::parentArchiveCategory, category);
}

void Task::describe(EntityDescription& entity)
{
    VYRO_TASK_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
    entity.addRelationship({QStringLiteral("parentContext"), QStringLiteral("context"), false, QStringLiteral("tasks")});
    entity.addRelationship({QStringLiteral("parentProject"), QStringLiteral("project"), false, QStringLiteral("tasks")});
    entity.addRelationship({QStringLiteral("parentArchiveCategory"), QStringLiteral("archiveCategory"), false, QStringLiteral("tasks")});
}
