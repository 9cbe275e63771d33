#pragma once

#include "exchange/calendartask.h"

#include <QString>

#include <functional>

class Task;

// The sync's log: the Part of the program that writes "Change summary = …" and the like.
using SyncLog = std::function<void(const QString&)>;

// Whether "syncTasksMode" lets the task go to the calendar server: 0 (and any value not listed) all
// tasks; 1 open ones that are neither maybe nor waiting for; 2 also not future; 3 only such next actions.
bool isPushedBySyncMode(const Task& task, int syncTasksMode);

// The task as it is pushed. The summary joins the project's name by "syncTaskProjectNameMode" (0
// "name [project]", else "[project] name"); priority 1 gives 1, 2 gives 5, anything else 9; the URL is
// the first of the task's URL list.
CalendarTaskFields calendarFieldsForTask(const Task& task, int syncTaskProjectNameMode);

// A pulled summary taken apart; both forms are read whatever the preference says.
struct SyncSummary {
    QString name;
    QString projectName; // empty: none named
};
SyncSummary parseSyncSummary(const QString& summary);

// One pulled property applied to the task by the pull mapping: the summary sets the name and, when a
// project matches the named one (LIKE, case-insensitive), the project; the description the note; a
// completed status first makes the next occurrence of a recurring task, then marks it done (any other
// status marks it not done); priority 1 gives 1, 5 gives 2, anything else 3; the due date as given;
// the URL replaces the first of the task's URLs (or is removed from the list when absent). Each
// change is logged as "Change %1 = %2".
void pullCalendarField(Task& task, CalendarField field, const CalendarTaskFields& remote, const SyncLog& log);
