#pragma once

class Task;

// Makes the next occurrence of a recurring task: a copy whose start and due dates move forward by the
// task's interval (recurNumber days, weeks or months by recurMode), counted from the task's own dates
// (recurType 0) or from today keeping the start-to-due gap (recurType 1). The finished task itself is
// not changed. Days and months are added in the calendar, so the time of day survives daylight-saving
// changes.
class RecurrentTasksController {
public:
    // The new task, or nullptr for a task that does not recur.
    static Task* handleRecurrenceForTask(Task* task);
};
