#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

class Context;
class ContextTasksArrayController;
class Preferences;
class Project;
class Task;

// What the quick add window holds when the user confirms it.
struct QuickAddValues {
    // Taken as it stands: an empty name still makes a task.
    QString name;
    // The chooser's folders. No context means the Inbox, whatever the context field shows as text.
    Context* context = nullptr;
    Project* project = nullptr;
    QString content;
    // 0 to 4, one per priority in order; the task's priority is one more.
    int prioritySegment = defaultPrioritySegment;
    // Invalid: no date.
    QDateTime startDate;
    QDateTime dueDate;
    QStringList tags;
    QStringList contacts;

    // The segment of the add operation's own default priority (3).
    static constexpr int defaultPrioritySegment = 2;
};

// The quick add window without its window: the confirmed fields become one task through the context task
// list. It does not save; the next save writes the task.
class QuickAddController {
public:
    QuickAddController(ContextTasksArrayController& tasks, const Preferences& preferences)
        : m_tasks(tasks), m_preferences(preferences)
    {
    }

    // The task made. The main window shows it, or a notification tells of it, by
    // "showGUIAfterQuickAddWindow".
    Task* quickAddDone(const QuickAddValues& values);

    // The tokens of a token field as the task stores them: joined by "," with nothing added. The parts are
    // taken as typed; empty ones (a trailing comma) are dropped.
    static QString joinTokens(const QStringList& tokens);
    // A token field's text split at "," with the spaces around each token removed.
    static QStringList splitTokens(const QString& text);

private:
    ContextTasksArrayController& m_tasks;
    const Preferences& m_preferences;
};
