#pragma once

class Task;

// Copies a task (the duplicate and paste commands, and the next occurrence of a recurring task).
class TasksDuplicator {
public:
    // The new task, inserted into the same store. Copied: name (through setName, so capitalisation
    // applies again), notes, links and tags when present, priority and effort (absent: 0), start and
    // due dates, context and project, the flags nextAction, waitingFor, delegated, maybe and archived,
    // and the recurrence (absent: 0). Not copied: contacts, done, cleanedUp, completion date, the
    // unread marks, syncID and the archive category. The copy goes to the end of its context's and
    // project's natural order.
    static Task* duplicateTaskFrom(Task* source);
};
