#pragma once

#include "lists/tasksarraycontroller.h"

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

private:
    QString m_positionKey;
};
