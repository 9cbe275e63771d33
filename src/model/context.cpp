#include "model/context.h"

void Context::describe(EntityDescription& entity)
{
    VYRO_CONTEXT_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
    entity.addRelationship({QStringLiteral("parentContext"), QStringLiteral("context"), false, QStringLiteral("subcontexts")});
    // Deleting a context deletes its subtree and every task in it.
    entity.addRelationship({QStringLiteral("subcontexts"), QStringLiteral("context"), true, QStringLiteral("parentContext"), DeleteRule::Cascade});
    entity.addRelationship({QStringLiteral("tasks"), QStringLiteral("task"), true, QStringLiteral("parentContext"), DeleteRule::Cascade});
}
