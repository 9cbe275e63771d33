#pragma once

#include "lists/tasksarraycontroller.h"

// The done tasks that are not in the archive, cleaned up or not. Its only filter is the search.
class CompletedTasksArrayController : public TasksArrayController {
public:
    explicit CompletedTasksArrayController(TabViewController& views);

    std::vector<Task*> content() const override;
    bool contentContains(const Task& task) const override;
    void updatePredicate() override;
    void taskCountsHasChanged() override;
    QString currentTasksFolderName() const override;
};
