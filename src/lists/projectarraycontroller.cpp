#include "lists/projectarraycontroller.h"

#include "lists/listhost.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/project.h"
#include "store/log.h"
#include "store/objectcontext.h"

ProjectArrayController::ProjectArrayController(TabViewController& views)
    : TypedFolderArrayController<Project>(views.store(), QStringLiteral("project"),
                                          {SortDescriptor(QStringLiteral("pathName"), true, SortDescriptor::Comparison::CaseInsensitiveCompare)}),
      m_views(views)
{
}

Project* ProjectArrayController::addNewProject(const QString& name, Project* parent)
{
    auto* project = store().insertNewObject<Project>(QStringLiteral("project"));
    project->setName(name);
    project->setActive(true);
    project->setCompleted(false);
    if (parent) {
        parent->addSubprojectsObject(project);
        project->setDefaultContext(parent->defaultContext());
        project->setDefaultTags(parent->defaultTags());
        project->setHasSingleTasks(parent->hasSingleTasks());
    }
    m_views.host().refetchFolderTree(TaskView::Projects);
    return project;
}

void ProjectArrayController::switchToGivenProject(Project* project, Task* task, bool switchTab)
{
    selectRecord(project);
    ProjectTasksArrayController& list = m_views.projectTasks();
    list.updatePredicate();
    list.selectObject(task);
    if (switchTab) {
        m_views.selectTab(TaskView::Projects);
        m_views.host().focusTaskTable();
        m_views.host().focusNextControl();
    }
}

void ProjectArrayController::remove()
{
    Project* project = selectedObject();
    if (!project)
        return;
    // The safe answer is the default here, unlike for a context.
    const bool keep = m_views.host().confirm(QStringLiteral("Confirmation"),
                                             QStringLiteral("Are you sure to delete this project? Tasks will remain in their contexts but without project assigned."),
                                             QStringLiteral("Don't delete"), QStringLiteral("Delete"));
    if (keep)
        return;
    project->deleteWithSubtree();
    store().processPendingChanges();
    m_views.projectTasks().rearrangeObjects();
}

void ProjectArrayController::repairOldProjects()
{
    logLine(QStringLiteral("Controlling old projects..."));
    auto active = store().executeFetchRequest(FetchRequest(QStringLiteral("project"), Predicate::fromFormat(QStringLiteral("active == YES"))));
    if (active && active->empty()) {
        logLine(QStringLiteral("Repairing old projects..."));
        for (Record* r : store().allObjects(QStringLiteral("project")))
            static_cast<Project*>(r)->setActive(true);
    }
    auto unnamed = store().executeFetchRequest(FetchRequest(QStringLiteral("project"), Predicate::fromFormat(QStringLiteral("pathName == NULL or pathName == ''"))));
    if (unnamed && !unnamed->empty()) {
        logLine(QStringLiteral("Creating path names for old projects..."));
        for (Record* r : store().allObjects(QStringLiteral("project")))
            static_cast<Project*>(r)->computePathNamesForProjectAndSubprojects();
    }
}
