#pragma once

#include "lists/viewmodes.h"
#include "store/status.h"

#include <QString>

#include <vector>

class ListHost;
class TabViewController;
class Task;
class QTextStream;

// What `vyro list` and `vyro move` share: naming a view and a folder, and showing a list's tasks.

// "contexts", "projects", "to-complete", "completed", "archive".
Result<TaskView> parseTaskView(const QString& name);

// Selects the folder that PATH names in the view's folder list: a context's or project's path name (or
// unique name), a smart folder's or archive category's name. An empty PATH takes the view's usual
// first folder: the Inbox, or the "All tasks" smart folder; the project and archive views need one.
Status selectViewFolder(TabViewController& views, TaskView view, const QString& path);

// The tasks in display order: as JSON records, or as a table for reading.
void printTasksJson(QTextStream& out, const std::vector<Task*>& tasks);
void printTasksTable(QTextStream& out, const std::vector<Task*>& tasks);
