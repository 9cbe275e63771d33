#pragma once

#include "model/accessors.h"
#include "store/predicate.h"

#include <QStringList>

#include <optional>

#define VYRO_SMARTFOLDER_ATTRIBUTES(X)                                                                         \
    X(name, Name, String, custom)                                                                              \
    X(isAllPending, IsAllPending, Bool, plain)                                                                 \
    X(isNextAction, IsNextAction, Bool, plain)                                                                 \
    X(tags, Tags, String, plain)                                                                               \
    X(tagsQueryMode, TagsQueryMode, Integer, plain)                                                            \
    X(dueDateDaysNumber, DueDateDaysNumber, Integer, plain)                                                    \
    X(includeOverdueTasks, IncludeOverdueTasks, Bool, plain)                                                   \
    X(predicateQuery, PredicateQuery, String, plain)                                                           \
    X(predicateText, PredicateText, String, plain)

// The "smartFolder" entity: a saved query over all tasks, by tags and a due-date window. "All tasks"
// (isAllPending) shows every open task.
class SmartFolder : public Record {
public:
    using Record::Record;

    struct Attr {
        enum : int { VYRO_SMARTFOLDER_ATTRIBUTES(VYRO_ATTRIBUTE_ENUM) Count };
    };

    VYRO_SMARTFOLDER_ATTRIBUTES(VYRO_ATTRIBUTE_ACCESSORS)

    std::optional<QStringList> displayTags() const;
    void setDisplayTags(const QStringList& tags);

    // The task filter of the folder. A folder with criteria does not itself leave out completed,
    // archived or inactive-project tasks: the list that shows it adds its own modes.
    Predicate predicateForFolder() const;

    static void describe(EntityDescription& entity);

protected:
    void storeValueForKey(int attribute, const Value& value) override;
};
