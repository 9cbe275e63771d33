#pragma once

#include "lists/tasksarraycontroller.h"

// Every task, narrowed by the smart folder selected in the smart-folder list (the to-complete view).
// With no smart folder selected it has no filter at all, whatever its modes.
class AllTasksArrayController : public TasksArrayController {
public:
    explicit AllTasksArrayController(TabViewController& views);

    std::vector<Task*> content() const override;
    bool contentContains(const Task&) const override { return true; }
    void updatePredicate() override;
    void taskCountsHasChanged() override;
    QString currentTasksFolderName() const override;
};
