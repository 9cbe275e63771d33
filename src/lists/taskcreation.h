#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

class Context;
class ObjectContext;
class Project;
class Task;

// What a new task is made of; absent parts take the defaults.
struct NewTask {
    QString name;
    Context* context = nullptr;       // none: the Inbox
    Project* project = nullptr;
    QString content;
    QString url;
    std::optional<qint64> priority;   // none: 3
    std::optional<QDateTime> startDate; // none: "Today" when "setStartDateToTodayForNewTasks" is on
    std::optional<QDateTime> dueDate;
    QString tags;                     // empty with a project: the project's default tags
};

// The context list's add operation, the single way in for every entry and capture path: makes the task
// with its defaults (effort 1, unread in both lists, every flag false rather than absent) at the end of
// its context's and project's natural order.
Task* addNewTask(ObjectContext& context, const NewTask& values);

// The Inbox, or nullptr when the store has none.
Context* inboxContext(const ObjectContext& context);

// The text of the "Task added to Vyro" notification for a task made without showing the window.
QString newTaskNotificationDescription(const Task* task);
