#include "model/smartfolder.h"

void SmartFolder::describe(EntityDescription& entity)
{
    VYRO_SMARTFOLDER_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
}
