#pragma once

class ObjectContext;

// Brings data files of older releases up to the current model. For now: the repair of absent flags
// that runs at every start, after the store is opened.
class StoreMigrator {
public:
    // Every absent flag set to false (see repairAbsentFlags); nothing is saved here. Returns how many
    // records changed.
    static int repairCurrentStore(ObjectContext& context);
};
