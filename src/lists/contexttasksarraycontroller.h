#pragma once

#include "lists/naturalorderabletasksarraycontroller.h"

#include <QDateTime>

class Context;
class Project;

// The tasks of the contexts selected in the context tree (each context's own tasks, not its
// subcontexts').
class ContextTasksArrayController : public NaturalOrderableTasksArrayController {
public:
    explicit ContextTasksArrayController(TabViewController& views);

    std::vector<Task*> content() const override;
    bool contentContains(const Task& task) const override;
    std::vector<Record*> contentFolders() const override;
    void updatePredicate() override;
    void taskCountsHasChanged() override;
    QString currentTasksFolderName() const override;
    bool isNaturalOrdered() const override;
    // "New task" in the selected context, with the selected task's project and priority when the
    // preferences say to copy them.
    Task* insertNewTask() override;
    void handlePastedTask(Task* task) override;

    // The way in for every capture path. Without noGUI the task is made to stay visible in the current
    // modes (maybe in time mode 3, waiting in owner mode 2) and shown selected with its name being
    // edited; with noGUI a notification tells of it instead.
    Task* addNewTask(const QString& name, Context* context, Project* project, const QString& content, const QString& url,
                     std::optional<qint64> priority, const QDateTime& startDate, const QDateTime& dueDate, const QString& tags,
                     bool noGUI);
};
