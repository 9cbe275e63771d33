#pragma once

#include "model/accessors.h"
#include "model/colour.h"

#include <QStringList>

#include <optional>

class ArchiveCategory;
class Context;
class Project;

// X(getter, Setter, type, plain|custom): custom setters carry side effects (see task.cpp).
#define VYRO_TASK_ATTRIBUTES(X)                                                                                \
    X(name, Name, String, custom)                                                                              \
    X(content, Content, String, plain)                                                                         \
    X(done, Done, Bool, custom)                                                                                \
    X(cleanedUp, CleanedUp, Bool, custom)                                                                      \
    X(archived, Archived, Bool, custom)                                                                        \
    X(nextAction, NextAction, Bool, custom)                                                                    \
    X(maybe, Maybe, Bool, plain)                                                                               \
    X(waitingFor, WaitingFor, Bool, plain)                                                                     \
    X(delegated, Delegated, Bool, plain)                                                                       \
    X(priority, Priority, Integer, plain)                                                                      \
    X(effort, Effort, Integer, plain)                                                                          \
    X(tags, Tags, String, plain)                                                                               \
    X(contact, Contact, String, plain)                                                                         \
    X(url, Url, String, plain)                                                                                 \
    X(startDate, StartDate, Date, custom)                                                                      \
    X(dueDate, DueDate, Date, custom)                                                                          \
    X(completionDate, CompletionDate, Date, plain)                                                             \
    X(recurMode, RecurMode, Integer, plain)                                                                    \
    X(recurNumber, RecurNumber, Integer, custom)                                                               \
    X(recurType, RecurType, Integer, plain)                                                                    \
    X(newInContext, NewInContext, Bool, plain)                                                                 \
    X(newInProject, NewInProject, Bool, plain)                                                                 \
    X(positionInContext, PositionInContext, Integer, plain)                                                    \
    X(positionInProject, PositionInProject, Integer, plain)                                                    \
    X(syncID, SyncID, String, plain)

// The "task" entity: the unit of work. Its setters keep the counters and positions of its context and
// project right; the model validates nothing else.
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
    // An absent interval count; still gives a task without a start date the start date "Today".
    void clearRecurNumber();

    // Every counter of the task's context, project and archive category (and, for a change of
    // `relationship`, of the folder it left), and the Inbox told when it is one of them: for changes that
    // come past the setters (undo and redo, records loaded from a file), whose own resets are not known.
    void resetAllFolderCounters(int relationship = -1, Record* oldFolder = nullptr) const;

    Context* parentContext() const;
    void setParentContext(Context* context);
    Project* parentProject() const;
    void setParentProject(Project* project);
    // Moves the task between contexts (projects) as the lists do: out of the old order, which closes up,
    // and to the end of the new one. nullptr only takes it out.
    void moveToContext(Context* context);
    void moveToProject(Project* project);
    ArchiveCategory* parentArchiveCategory() const;
    void setParentArchiveCategory(ArchiveCategory* category);

    // 0 pending, 1 future, 2 waiting for, 3 delegated, 4 maybe, 5 first task of its project.
    int status() const;
    bool future() const;
    bool isRecuringTask() const;
    QString recurrenceString() const;
    Colour colorForRecurrenceString() const;
    Colour colourForTask() const;

    std::optional<QStringList> displayTags() const;
    void setDisplayTags(const QStringList& tags);
    std::optional<QStringList> displayContact() const;
    void setDisplayContact(const QStringList& contacts);
    QStringList urlsFromUrl() const;
    static QString urlFromUrls(const QStringList& urls);
    // The links that read as URLs, in absolute form; nullopt when none does.
    std::optional<QStringList> displayURL() const;
    void setDisplayURL(const QStringList& urls);
    QString defaultSyncID() const { return uri(); }

    static void describe(EntityDescription& entity);
    // Whether a task with these values is one of its folders' open tasks: the task's part of their
    // uncompleted-tasks query, "(cleanedUp <> 1) and (archived == 0)", read as the predicate reads NULL
    // (an unset cleanedUp is not 1; an unset archived is not 0).
    static bool countsAsOpen(const Value& cleanedUp, const Value& archived);

protected:
    void storeValueForKey(int attribute, const Value& value) override;
    void storeRecordForKey(int relationship, Record* target) override;

private:
    void resetParentCounters();
    void postInboxNotificationIfInInbox();
    void applyRecurNumber(const Value& value);
    // The change hooks that keep the folders' open-task counts in step.
    static void attributeChanged(Record& record, int attribute, const Value& oldValue);
    static void toOneChanged(Record& record, int relationship, Record* oldTarget, Record* newTarget);
    static void deletedChanged(Record& record, bool deleted);
    static void willDelete(Record& record);
    void adjustOpenCounts(qint64 delta) const;
    static bool isReversing(const Record& record);
};
