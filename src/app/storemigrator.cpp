#include "app/storemigrator.h"

#include "model/absentflags.h"

int StoreMigrator::repairCurrentStore(ObjectContext& context)
{
    return repairAbsentFlags(context);
}
