#pragma once

#include <QString>

#include <vector>

class ArchiveCategory;
class ObjectContext;
class Task;

// Takes completed work out of the working lists.
class CleanUpController {
public:
    // Every task that is done and not yet cleaned up: first its next occurrence when it recurs, then it
    // is marked cleaned up (positions of the rest closed up, counters reset). Returns how many were
    // cleaned up; a failed fetch skips the pass.
    static int cleanUpTasks(ObjectContext& context);
};

// Files tasks in an archive category with the given tags (the same for every task, possibly none): each
// is marked archived, loses its context and project, and joins the category.
void archiveTaskTo(const std::vector<Task*>& tasks, ArchiveCategory* category, const QString& tags);
