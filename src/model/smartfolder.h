#pragma once

#include "model/accessors.h"

#define VYRO_SMARTFOLDER_ATTRIBUTES(X)                                                                         \
    X(name, Name, String)                                                                                      \
    X(isAllPending, IsAllPending, Bool)                                                                        \
    X(isNextAction, IsNextAction, Bool)                                                                        \
    X(tags, Tags, String)                                                                                      \
    X(tagsQueryMode, TagsQueryMode, Integer)                                                                   \
    X(dueDateDaysNumber, DueDateDaysNumber, Integer)                                                           \
    X(includeOverdueTasks, IncludeOverdueTasks, Bool)                                                          \
    X(predicateQuery, PredicateQuery, String)                                                                  \
    X(predicateText, PredicateText, String)

// The "smartFolder" entity: a saved query over all tasks.
class SmartFolder : public Record {
public:
    using Record::Record;

    struct Attr {
        enum : int { VYRO_SMARTFOLDER_ATTRIBUTES(VYRO_ATTRIBUTE_ENUM) Count };
    };

    VYRO_SMARTFOLDER_ATTRIBUTES(VYRO_ATTRIBUTE_ACCESSORS)

    static void describe(EntityDescription& entity);
};
