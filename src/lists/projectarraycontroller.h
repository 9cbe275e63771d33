#pragma once

#include "lists/folderarraycontroller.h"

class Project;
class TabViewController;
class Task;

// The flat list of all projects by path name, without regard to case. Its selection is the project
// tree's.
class ProjectArrayController : public TypedFolderArrayController<Project> {
public:
    explicit ProjectArrayController(TabViewController& views);

    // Inserts an active, open project under `parent` (copying its default context, default tags and
    // kind) or at the top.
    Project* addNewProject(const QString& name, Project* parent);

    void switchToPreviousProject() { switchToPrevious(); }
    void switchToNextProject() { switchToNext(); }
    void switchToGivenProject(Project* project, Task* task, bool switchTab);

    // Deletes the selected project after the user confirms; its tasks stay in their contexts.
    void remove();

    // Brings projects of older data files up to date: every project active when none is, and path
    // names where they are missing.
    void repairOldProjects();

private:
    TabViewController& m_views;
};
