#pragma once

#include <QVariantMap>

class ContextTasksArrayController;
class Preferences;
class Task;

// Other programs ask for a new Inbox task by sending a dictionary ("name", and optionally "url" or
// "file"); this turns one such request into a task through the context task list.
class QuickSilverObserver {
public:
    QuickSilverObserver(ContextTasksArrayController& tasks, const Preferences& preferences)
        : m_tasks(tasks), m_preferences(preferences)
    {
    }

    // The task made, or nullptr when the request made none. Values of the wrong type count as absent.
    Task* observerNotification(const QVariantMap& userInfo);

private:
    ContextTasksArrayController& m_tasks;
    const Preferences& m_preferences;
};
