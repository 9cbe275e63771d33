#pragma once

#include "lists/arrangement.h"
#include "lists/viewmodes.h"
#include "store/fetchrequest.h"
#include "store/predicate.h"
#include "store/preparedpredicates.h"

#include <QDateTime>
#include <QString>

#include <QMetaObject>

#include <cstdint>
#include <optional>
#include <vector>

class ListHost;
class ObjectContext;
class Preferences;
class Record;
class TabViewController;
class Task;
struct ChangeBatch;

// One task list: the tasks of its content that pass its filter predicate, in its sort order, with a
// selection. The arrangement changes only when the list re-arranges (rearrangeObjects), not on every
// read: a task that stops passing the filter stays on show until the next re-arrangement, as in a
// table the user is looking at. Deleted tasks leave at the next re-arrangement.
//
// The list follows the store's change batches. Between re-arrangements it reports the rows a batch
// touched as updated; at a re-arrangement it places again only the tasks touched since the last one
// (each leaves, comes in at its sorted place, or moves). Only a new predicate, sort or folder
// selection arranges the whole list again (a reset), or more touched tasks than row steps are worth
// (Arrangement::kMostSteps). Ties in the sort are broken by primary key, so the
// two ways always agree. A list without an observer re-arranges when it is next read, so lists nobody
// looks at cost nothing; an observed one at once.
//
// The commands act on the selected tasks in selection order.
class TasksArrayController {
public:
    TasksArrayController(TabViewController& views, TaskView view);
    virtual ~TasksArrayController();
    TasksArrayController(const TasksArrayController&) = delete;
    TasksArrayController& operator=(const TasksArrayController&) = delete;

    TabViewController& viewSwitcher() const { return m_views; }
    TaskView view() const { return m_view; }
    ObjectContext& store() const;
    Preferences& preferences() const;
    ListHost& host() const;
    ViewModes modes() const;
    // "Today" by the store's clock.
    QDateTime today() const;

    // What the list draws from before filtering.
    virtual std::vector<Task*> content() const { return {}; }
    // Whether `task` belongs to the content (deleted or not): content() without the walk.
    virtual bool contentContains(const Task&) const { return false; }
    // The folders whose tasks make the content; when they change the list is arranged whole.
    virtual std::vector<Record*> contentFolders() const { return {}; }
    // Whether `folder` is one of contentFolders() (false for none).
    bool isContentFolder(const Record* folder) const;

    const std::optional<Predicate>& filterPredicate() const { return m_filter; }
    void setFilterPredicate(std::optional<Predicate> predicate);
    const QList<SortDescriptor>& sortDescriptors() const { return m_sort; }
    void setSortDescriptors(QList<SortDescriptor> descriptors);
    void rearrangeObjects();
    const std::vector<Task*>& arrangedObjects() const;
    // The observer of the arrangement's steps (not owned; nullptr: none). The list is arranged before it
    // is told; the observer then reads the rows it starts from.
    void setObserver(ListObserver* observer);
    ListObserver* observer() const { return m_rows.observer(); }

    // The selection keeps only tasks that are on show.
    std::vector<Task*> selectedObjects() const;
    Task* selectedObject() const;
    void setSelectedObjects(std::vector<Task*> tasks);
    void selectObject(Task* task) { setSelectedObjects(task ? std::vector<Task*>{task} : std::vector<Task*>{}); }
    // Index in the arrangement of the first (last) selected task; -1 without a selection.
    int firstSelectionIndex() const;
    int lastSelectionIndex() const;

    // Sorts the whole content now, so that the next filters (a search about to be typed) arrange the
    // list in one pass without a sort (see arrangeWhole). Kept until the store changes.
    void prepareForNewFilters() const;

    // Recomputes and installs the filter predicate from the modes, the folder selection and the search.
    virtual void updatePredicate() {}
    // The folder tree(s) beside the list read their counters again.
    virtual void taskCountsHasChanged() {}
    // The name of the first selected folder of the list's tree; "" without one.
    virtual QString currentTasksFolderName() const { return QString(""); }
    virtual bool isNaturalOrdered() const { return false; }
    // The table's new-task command; the completed list makes none.
    virtual Task* insertNewTask() { return nullptr; }
    // Adapts a task that a paste or a drop has just put into this list.
    virtual void handlePastedTask(Task*) {}

    // Natural-order moves; only the context and project lists have them.
    virtual void moveToPosition(int) {}
    virtual void moveToTop() {}
    virtual void moveToBottom() {}
    virtual void moveUp() {}
    virtual void moveDown() {}

    void flagAsNextAction();
    void waitForTask();
    void markAsMaybe();
    // Toggles done, then cleans up at once when "cleanUpImmediately" is on.
    void markAsDone();
    void cleanUpTasks();
    void increaseEffort();
    void decreaseEffort();
    // "1" to "5": re-arranges after each task.
    void setPriority(int priority);

    void setStartDateToToday();
    void setStartDateToDayEarlier();
    void setStartDateToDayLater();
    void setStartDateToEmpty();
    void setStartDateToDueDate();
    void setDueDateToToday();
    void setDueDateToDayEarlier();
    void setDueDateToDayLater();
    void setDueDateToEmpty();
    void setDueDateToStartDate();
    void setBothDatesToDayEarlier();
    void setBothDatesToDayLater();

    // Selects the first row when nothing is selected, then opens the move-to sheet (not on an empty list).
    void processAndReviewTasks();
    // Deletes the selected tasks at once.
    void remove();

protected:
    // The filter from terms in order, with the search as the last one; no terms: no filter.
    void installPredicate(QList<Predicate> terms);
    // "Today" for the "%@" of the mode terms, taken when the predicate is built.
    Predicate term(const QString& format) const;
    // The terms of the modes in their order: time, owner, flagged, and next actions where the view has
    // that mode.
    void appendModeTerms(QList<Predicate>& terms, const ViewModes& modes, TimeTermStyle style, bool withNextActions) const;
    // Clears the search, rebuilds every list's predicate: what a creation through the windows does first.
    void clearSearchAndRebuild();

private:
    template <class Change>
    // Changes each selected task as one undo step named `actionName` (inside an open step when empty).
    void changeSelected(const QString& actionName, Change change, bool rearrange, bool counts);

    enum class Pending { None, Touched, Whole };
    void noteChanges(const ChangeBatch& batch, bool report) const;
    void arrange() const;
    void arrangeWhole() const;
    void sortContent() const;
    std::optional<PreparedPredicates> preparedFilter(const std::vector<Task*>& tasks) const;
    bool passes(Task& task, std::optional<PreparedPredicates>& prepared) const;
    bool shows(Task* task) const;

    TabViewController& m_views;
    TaskView m_view;
    std::optional<Predicate> m_filter;
    QList<SortDescriptor> m_sort;
    QMetaObject::Connection m_changes;

    mutable Arrangement<Task> m_rows;
    mutable std::vector<Task*> m_selection;
    mutable std::vector<Task*> m_touched; // since the last arrangement, perhaps more than once
    mutable std::vector<Task*> m_peeked; // seen in the open batch before it closed
    mutable std::vector<Record*> m_arrangedFolders;
    // The whole content in list order while the store has not changed (see arrangeWhole); empty: none.
    mutable std::vector<Task*> m_sortedContent;
    mutable std::vector<Task*> m_contentInMemoryOrder; // the same tasks as content() gives them
    mutable std::vector<quint32> m_rankInList;         // of each of those, its index in m_sortedContent
    mutable QList<SortDescriptor> m_sortedContentSort;
    mutable std::vector<Record*> m_sortedContentFolders;
    mutable int m_wholeArrangementsSinceChange = 0;
    mutable Pending m_pending = Pending::Whole;
    mutable bool m_rearrangeAsked = false;
};
