#pragma once

#include <QString>

class ObjectContext;
class Task;

// A task's name typed in quick-entry syntax (in a table while quick-entry mode is on): what the line
// names replaces the task's value (name, note, priority, context, project, tags, dates); what it leaves
// out stays as it was. A line that reads as nothing but a name just renames the task.
void applyQuickEntryLine(ObjectContext& store, Task& task, const QString& line);
