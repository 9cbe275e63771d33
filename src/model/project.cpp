#include "model/project.h"

#include "model/context.h"

Context* Project::defaultContext() const
{
    return static_cast<Context*>(toOne(Rel::defaultContext));
}

void Project::setDefaultContext(Context* context)
{
    setToOne(Rel::defaultContext, context);
}

void Project::describe(EntityDescription& entity)
{
    VYRO_PROJECT_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
    // No inverse: a context does not know which projects default to it. The store clears the link when
    // the context is deleted.
    entity.addRelationship({QStringLiteral("defaultContext"), QStringLiteral("context"), false, QString()});
    entity.addRelationship({QStringLiteral("parentProject"), QStringLiteral("project"), false, QStringLiteral("subprojects")});
    // A deleted project takes its subprojects along; its tasks stay in their contexts without a project.
    entity.addRelationship({QStringLiteral("subprojects"), QStringLiteral("project"), true, QStringLiteral("parentProject"), DeleteRule::Cascade});
    entity.addRelationship({QStringLiteral("tasks"), QStringLiteral("task"), true, QStringLiteral("parentProject"), DeleteRule::Nullify});
}
