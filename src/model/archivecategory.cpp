#include "model/archivecategory.h"

void ArchiveCategory::describe(EntityDescription& entity)
{
    VYRO_ARCHIVECATEGORY_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
    entity.addRelationship({QStringLiteral("parentCategory"), QStringLiteral("archiveCategory"), false, QStringLiteral("subcategories")});
    // Deleting a category deletes its subtree and the entries filed in it.
    entity.addRelationship({QStringLiteral("subcategories"), QStringLiteral("archiveCategory"), true, QStringLiteral("parentCategory"), DeleteRule::Cascade});
    entity.addRelationship({QStringLiteral("tasks"), QStringLiteral("task"), true, QStringLiteral("parentArchiveCategory"), DeleteRule::Cascade});
}
