#pragma once

#include "store/status.h"

#include <QString>

class Context;
class ContextArrayController;
class Project;
class ProjectArrayController;
class TabViewController;
class Task;
class TasksArrayController;

// What the move-to sheet asks of its window. The desktop shows a window-modal dialog on the main window;
// the tests record the calls. The do-nothing base serves a run without windows.
class MoveToSheetHost {
public:
    virtual ~MoveToSheetHost() = default;
    virtual void showSheet() {}
    virtual void closeSheet() {}
    // A new task is on show: the keyboard goes back to the sheet's first control (the context control).
    virtual void focusFirstControl() {}
    // Tab in a keyboard control: focus moves to the next control of the sheet.
    virtual void selectNextKeyView() {}
};

// The move-to sheet without its widgets: walks through the tasks of one task list, one task on show at a
// time, and moves the task on show to another context or project, flags, completes or deletes it. Every
// change goes to the records at once; nothing is saved here.
//
// The context choices are the context list's arranged contexts (the Inbox first, then by path name), the
// project choices the project list's arranged projects. contextIndex and projectIndex are positions in
// those arrangements as they were when the task came on show or its folder last changed here, -1 for none;
// they are not kept up to date when the folder lists change under an open sheet.
//
// The labels are set when a task comes on show; while it stays on show the keyboard controls show the
// current context and project in their own text fields.
class MoveToContextSheetController {
public:
    MoveToContextSheetController(ContextArrayController& contexts, ProjectArrayController& projects, MoveToSheetHost& host);
    MoveToContextSheetController(TabViewController& views, MoveToSheetHost& host);
    MoveToContextSheetController(const MoveToContextSheetController&) = delete;
    MoveToContextSheetController& operator=(const MoveToContextSheetController&) = delete;

    ContextArrayController& contextController() const { return m_contextController; }
    ProjectArrayController& projectController() const { return m_projectController; }
    // The list that opened the sheet; nullptr before the first opening.
    TasksArrayController* tasksController() const { return m_tasksController; }
    MoveToSheetHost& host() const { return m_host; }

    // The plain setters change what is on show and nothing else (no labels, no indexes, no records).
    Context* context() const { return m_context; }
    void setContext(Context* context) { m_context = context; }
    Project* project() const { return m_project; }
    void setProject(Project* project) { m_project = project; }
    Task* task() const { return m_task; }
    void setTask(Task* task) { m_task = task; }
    int contextIndex() const { return m_contextIndex; }
    int projectIndex() const { return m_projectIndex; }

    bool isOpen() const { return m_open; }
    const QString& taskNameText() const { return m_taskNameText; }
    // The context's name, or "(none)".
    const QString& contextNameText() const { return m_contextNameText; }
    // The project's path name, or "(none)".
    const QString& projectNameText() const { return m_projectNameText; }
    // The flag shows exactly while the task on show is flagged (completing a task clears its flag).
    bool isFlagVisible() const;

    // Remembers `list` and shows its first selected task; the sheet opens only when there is one.
    bool showMoveToContextSheetForController(TasksArrayController& list);
    // Shows the task after (before) the one on show in the list's arrangement, or the list's first
    // selected task when none is on show or it has left the arrangement. False, with nothing changed,
    // past either end of the arrangement or when there is nothing to show.
    bool setNextTaskFromController(bool forward);

    // Stepping stops at either end, yet the task still leaves its context and is set into the one at
    // the index again (which renumbers the context's positions). The new context gets the task through
    // the task's parentContext only, not addTasksObject: kept that way, so a stepped task keeps its old
    // position number. A failure (no task on show, an index outside the arrangement) changes nothing.
    Status setPreviousTaskContext() { return stepContext(-1); }
    Status setNextTaskContext() { return stepContext(1); }
    // The first context in list order whose name begins with `text`, ignoring case; the task goes to the
    // end of its order. False, with nothing changed, when no name begins so.
    bool setTaskContextWithNameBeginningWith(const QString& text);

    // Back from the first project clears the project; back with no project does nothing. Forward from
    // no project with no projects at all fails as out of range, changing nothing.
    Status setPreviousTaskProject();
    Status setNextTaskProject();
    // As for contexts, matching the project's own name, not its path name.
    bool setTaskProjectWithNameBeginningWith(const QString& text);

    // Completing a recurring task first makes its next occurrence; re-opening only clears done.
    void toggleCompleted();
    void toggleFlagged();
    void setFlagState(bool flagged);
    // Deletes the task on show, then shows the list's first selected task; false when there is none.
    bool removeCurrentTask();
    void moveDone();

private:
    Status stepContext(int direction);
    void showTask(Task* task);

    ContextArrayController& m_contextController;
    ProjectArrayController& m_projectController;
    MoveToSheetHost& m_host;
    TasksArrayController* m_tasksController = nullptr;
    Context* m_context = nullptr;
    Project* m_project = nullptr;
    Task* m_task = nullptr;
    int m_contextIndex = -1;
    int m_projectIndex = -1;
    bool m_open = false;
    QString m_taskNameText;
    QString m_contextNameText;
    QString m_projectNameText;
};
