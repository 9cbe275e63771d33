#pragma once

#include "lists/naturalorderabletasksarraycontroller.h"

class Project;

// The tasks of the projects selected in the project tree. Its completed mode (cleaned-up tasks shown
// too) lives only as long as the list.
class ProjectTasksArrayController : public NaturalOrderableTasksArrayController {
public:
    explicit ProjectTasksArrayController(TabViewController& views);

    bool completedMode() const { return m_completedMode; }
    void setCompletedMode(bool on);

    std::vector<Task*> content() const override;
    bool contentContains(const Task& task) const override;
    std::vector<Record*> contentFolders() const override;
    void updatePredicate() override;
    void taskCountsHasChanged() override;
    QString currentTasksFolderName() const override;
    bool isNaturalOrdered() const override;
    Task* insertNewTask() override;
    void handlePastedTask(Task* task) override;

    // The context comes from the selected task (when the preferences say to copy it), else the
    // project's default context, else the Inbox; the tags are always the project's default tags.
    Task* addNewTask(const QString& name, Project* project, const QString& content, const QString& url, bool noGUI);

private:
    bool m_completedMode = false;
};
