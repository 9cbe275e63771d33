#pragma once

#include "model/accessors.h"

#include <vector>

#define VYRO_CONTEXT_ATTRIBUTES(X)                                                                             \
    X(name, Name, String)                                                                                      \
    X(pathName, PathName, String)                                                                              \
    X(isInbox, IsInbox, Bool)                                                                                  \
    X(specialIndex, SpecialIndex, Integer)                                                                     \
    X(synchronizable, Synchronizable, Bool)                                                                    \
    X(syncID, SyncID, String)

// The "context" entity: where, or with what, a task can be done. Contexts form a tree.
class Context : public Record {
public:
    using Record::Record;

    struct Attr {
        enum : int { VYRO_CONTEXT_ATTRIBUTES(VYRO_ATTRIBUTE_ENUM) Count };
    };
    struct Rel {
        enum : int { parentContext, subcontexts, tasks, Count };
    };

    VYRO_CONTEXT_ATTRIBUTES(VYRO_ATTRIBUTE_ACCESSORS)

    Context* parentContext() const { return static_cast<Context*>(toOne(Rel::parentContext)); }
    void setParentContext(Context* parent) { setToOne(Rel::parentContext, parent); }
    const std::vector<Record*>& subcontexts() const { return toMany(Rel::subcontexts); }
    const std::vector<Record*>& tasks() const { return toMany(Rel::tasks); }

    static void describe(EntityDescription& entity);
};
