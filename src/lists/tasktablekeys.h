#pragma once

#include "lists/keypress.h"
#include "lists/tasktablecolumns.h"
#include "lists/typeahead.h"

#include <QString>
#include <Qt>

class TabViewController;
class Task;
class TasksArrayController;

// What a key does in a task table. The folder commands act on the folder tree beside the table: the
// contexts beside the context table, the projects beside the project table, the smart folders beside the
// to-complete table and the archive categories beside the archive table.
enum class TaskTableCommand {
    Unhandled, // the table's ordinary key handling: selection movement, editing
    ProcessAndReviewTasks,
    IncreaseEffort,
    DecreaseEffort,
    InsertNewTask,
    Remove,
    MarkAsDone,
    MarkAsMaybe,
    FlagAsNextAction,
    JumpToProject, // the selected task's project, brought forward with the task selected
    JumpToContext,
    PreviousProjectOfTask, // the selected row's task steps through the projects: none, first, ..., last, none
    NextProjectOfTask,
    PreviousContextOfTask, // the selected row's task steps through the contexts, wrapping around
    NextContextOfTask,
    MoveToTop,
    MoveToBottom,
    MoveUp,
    MoveDown,
    SelectPreviousFolder,
    SelectNextFolder,
    CarryTaskToPreviousFolder, // selects the folder and moves the selected row's task into it
    CarryTaskToNextFolder,
    SetPriority1,
    SetPriority2,
    SetPriority3,
    SetPriority4,
    SetPriority5,
    TaskTypeAhead,
    FolderTypeAhead,
};

// What the key rules depend on besides the key.
struct TaskTableKeyState {
    bool naturallyOrdered = false;
    bool hasSelectedTask = false;
    bool selectedTaskHasProject = false;
    bool selectedTaskHasContext = false;
    bool typeAheadAlwaysForFolders = false;
};

// The key rules of the five task tables; the first rule that matches wins. Character rules test the first
// character the key produced, whatever the modifiers.
TaskTableCommand taskTableCommandForKey(TaskTableKind kind, const KeyPress& key, const TaskTableKeyState& state);

// The keyboard and the clickable cells of one task table, without the widget: the table forwards its
// keys and cell clicks here and handles what comes back unhandled as usual. It lives as long as the table
// (the type-ahead buffer is its only state).
//
// Changing the folder selection (folder steps, jumps, folder type-ahead) rebuilds the table's list; the
// folder tree widget is expected to show the folder list's selection again after a handled key.
class TaskTableKeys {
public:
    TaskTableKeys(TabViewController& views, TaskTableKind kind);

    TaskTableKind kind() const { return m_kind; }
    TasksArrayController& list() const;
    TypeAhead& typeAhead() { return m_typeAhead; }
    TaskTableKeyState state() const;

    // A key pressed at `now` (seconds, any fixed origin). False when no rule took it.
    bool keyDown(const KeyPress& key, double now);
    // Runs a command as its key would. False for Unhandled.
    bool perform(TaskTableCommand command, QChar character, double now);

    // A click on a cell of the context table, after the table has toggled a check-box cell's own value
    // (the "done" cell has already toggled `done` of the task). `x` and `cellLeft` are in the same
    // coordinates. True when the click is fully handled; false leaves it to the table's normal selection
    // and editing (the "project" cell still opens its editor).
    bool clickedCell(const QString& column, Task* task, double x, double cellLeft, double cellWidth,
                     Qt::KeyboardModifiers modifiers);

private:
    void stepProjectOfSelectedTask(int direction);
    void stepContextOfSelectedTask(int direction);
    void stepFolder(int direction, bool carryTask);
    void folderTypeAhead(const QString& text);
    void folderSelectionChanged();

    TabViewController& m_views;
    TaskTableKind m_kind;
    TypeAhead m_typeAhead;
};

// The slider cells: a click at `x` in a cell from `cellLeft` of `cellWidth` gives 1 at the left edge
// and `maximum` at the right one, in whole steps.
int sliderValueForClick(double x, double cellLeft, double cellWidth, int maximum);
