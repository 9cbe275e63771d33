#pragma once

#include "store/status.h"

#include <QString>

class ContextTasksArrayController;
class ObjectContext;
class Preferences;
struct ParseResult;
class Task;

// The quick type-in path without its window: one line in the quick-entry syntax becomes a task.
class QuickTypeInController {
public:
    explicit QuickTypeInController(ObjectContext& context) : m_context(context) {}

    // Parses the line, picks the context (the one written, else the default context of the project
    // written, else the Inbox), adds the task and saves. An empty line does nothing (nullptr); a line
    // that cannot be read gives an error and no task. `reading`, when given, receives the line's parse.
    Result<Task*> quickTypeInDone(const QString& line, ParseResult* reading = nullptr);

    // The window's path: the same rules, but the task is made by the context task list, which shows it
    // in the main window or posts a notification of it, by "showGUIAfterQuickTypeInWindow". The store
    // must be the one the list shows.
    Result<Task*> quickTypeInDone(const QString& line, ContextTasksArrayController& tasks, const Preferences& preferences);

private:
    ObjectContext& m_context;
};
