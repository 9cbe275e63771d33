#pragma once

#include "lists/tasksarraycontroller.h"

class ArchiveCategory;

// The entries of the archive categories selected in the archive tree.
class ArchivedTasksArrayController : public TasksArrayController {
public:
    explicit ArchivedTasksArrayController(TabViewController& views);

    std::vector<Task*> content() const override;
    bool contentContains(const Task& task) const override;
    std::vector<Record*> contentFolders() const override;
    void updatePredicate() override;
    void taskCountsHasChanged() override;
    QString currentTasksFolderName() const override;
    Task* insertNewTask() override;
    void handlePastedTask(Task* task) override;

    // An archive entry: archived, in the category, without a context or project.
    Task* addNewTask(const QString& name, ArchiveCategory* category, const QString& content, const QString& url,
                     std::optional<qint64> priority, const QString& tags, bool noGUI);
};
