#pragma once

#include "model/accessors.h"

class ArchiveCategory;
class Context;
class Project;

#define VYRO_TASK_ATTRIBUTES(X)                                                                                \
    X(name, Name, String)                                                                                      \
    X(content, Content, String)                                                                                \
    X(done, Done, Bool)                                                                                        \
    X(cleanedUp, CleanedUp, Bool)                                                                              \
    X(archived, Archived, Bool)                                                                                \
    X(nextAction, NextAction, Bool)                                                                            \
    X(maybe, Maybe, Bool)                                                                                      \
    X(waitingFor, WaitingFor, Bool)                                                                            \
    X(delegated, Delegated, Bool)                                                                              \
    X(priority, Priority, Integer)                                                                             \
    X(effort, Effort, Integer)                                                                                 \
    X(tags, Tags, String)                                                                                      \
    X(contact, Contact, String)                                                                                \
    X(url, Url, String)                                                                                        \
    X(startDate, StartDate, Date)                                                                              \
    X(dueDate, DueDate, Date)                                                                                  \
    X(completionDate, CompletionDate, Date)                                                                    \
    X(recurMode, RecurMode, Integer)                                                                           \
    X(recurNumber, RecurNumber, Integer)                                                                       \
    X(recurType, RecurType, Integer)                                                                           \
    X(newInContext, NewInContext, Bool)                                                                        \
    X(newInProject, NewInProject, Bool)                                                                        \
    X(positionInContext, PositionInContext, Integer)                                                           \
    X(positionInProject, PositionInProject, Integer)                                                           \
    X(syncID, SyncID, String)

// The "task" entity: the unit of work.
class Task : public Record {
public:
    using Record::Record;

    struct Attr {
        enum : int { VYRO_TASK_ATTRIBUTES(VYRO_ATTRIBUTE_ENUM) Count };
    };
    struct Rel {
        enum : int { parentContext, parentProject, parentArchiveCategory, Count };
    };

    VYRO_TASK_ATTRIBUTES(VYRO_ATTRIBUTE_ACCESSORS)

    Context* parentContext() const;
    void setParentContext(Context* context);
    Project* parentProject() const;
    void setParentProject(Project* project);
    ArchiveCategory* parentArchiveCategory() const;
    void setParentArchiveCategory(ArchiveCategory* category);

    static void describe(EntityDescription& entity);
};
