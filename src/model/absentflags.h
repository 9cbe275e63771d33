#pragma once

#include <vector>

class ObjectContext;
class Record;

// Flags that a record leaves out are NULL, which the lists' predicates read as neither true nor false
// ("cleanedUp == 0" hides a task whose flag was never set). These give such flags the values the
// program gives a new record, so that no record is hidden by a value nobody chose.

// The repair of every start: tasks with archived, maybe, cleanedUp or done absent get false, projects
// with completed absent get false, contexts with isInbox absent get false, in that order. The counters of
// the folders of every repaired task are reset. Nothing is saved. Returns how many records changed.
int repairAbsentFlags(ObjectContext& context);

// Records just added from a file (a load, the old XML data file, later an import): every flag they
// leave out gets a new record's value (tasks: all flags false; projects: active, not completed;
// contexts: not the Inbox); open tasks without a position go to the end of their context and project,
// whose open tasks are then numbered 1..n again; the counters of every folder they touched are reset;
// the Inbox is told when it gained tasks.
void adoptLoadedRecords(ObjectContext& context, const std::vector<Record*>& records);
