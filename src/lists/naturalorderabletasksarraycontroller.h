#pragma once

#include "lists/tasksarraycontroller.h"

class FolderArrayController;
class Record;

// A list whose table can show the user's own order of the tasks (a context's or a project's). The
// moves only deal out again the position values of the tasks on show: tasks that the filters hide keep
// theirs, and nothing is renumbered.
class NaturalOrderableTasksArrayController : public TasksArrayController {
public:
    NaturalOrderableTasksArrayController(TabViewController& views, TaskView view, QString positionKey);

    const QString& positionKey() const { return m_positionKey; }

    // The first `count` unselected tasks, then the selected ones, then the rest, in natural order.
    void moveToPosition(int count) override;
    void moveToTop() override { moveToPosition(0); }
    void moveToBottom() override;
    void moveUp() override;
    void moveDown() override;

protected:
    bool sortsByPositionFirst() const;
    // A task just made for this list: unless noGUI, made to stay visible in the modes the user is
    // looking at (maybe in time mode 3, waiting in owner mode 2); then the list and the counters follow.
    void adoptNewTask(Task* task, bool noGUI);
    // Shows a task made through the windows: the search cleared, `folder` selected in `tree`, the task
    // selected below the row that was selected (in natural order), its view forward and its name edited.
    void showNewTask(Task* task, FolderArrayController& tree, Record* folder, bool makeKey);

private:
    QString m_positionKey;
};
