#include "lists/contextarraycontroller.h"

#include "lists/contexttasksarraycontroller.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "lists/taskcreation.h"
#include "model/context.h"
#include "store/objectcontext.h"

ContextArrayController::ContextArrayController(TabViewController& views)
    : TypedFolderArrayController<Context>(views.store(), QStringLiteral("context"),
                                          {SortDescriptor(QStringLiteral("isInbox"), false),
                                           SortDescriptor(QStringLiteral("pathName"), true, SortDescriptor::Comparison::CaseInsensitiveCompare)}),
      m_views(views)
{
}

Context* ContextArrayController::inboxContext() const
{
    return ::inboxContext(store());
}

Context* ContextArrayController::addNewContext(const QString& name)
{
    auto* context = store().insertNewObject<Context>(QStringLiteral("context"));
    context->setName(name);
    saveOrLog(store());
    ListHost& host = m_views.host();
    m_views.selectTab(TaskView::Contexts);
    host.focusFolderList();
    host.bringMainWindowToFront(true);
    host.activateApplication();
    selectRecord(context);
    host.beginEditing(context, QStringLiteral("name"));
    return context;
}

Context* ContextArrayController::addNewContext(const QString& name, Context* parent)
{
    auto* context = store().insertNewObject<Context>(QStringLiteral("context"));
    context->setName(name);
    context->setIsInbox(false);
    if (parent) {
        parent->addSubcontextsObject(context);
        context->setSynchronizable(parent->synchronizable());
    }
    m_views.host().refetchFolderTree(TaskView::Contexts);
    return context;
}

void ContextArrayController::switchToGivenContext(Context* context, Task* task, bool switchTab)
{
    selectRecord(context);
    ContextTasksArrayController& list = m_views.contextTasks();
    list.updatePredicate();
    list.selectObject(task);
    if (switchTab) {
        m_views.selectTab(TaskView::Contexts);
        m_views.host().focusTaskTable();
        m_views.host().focusNextControl();
    }
}

void ContextArrayController::remove()
{
    Context* context = selectedObject();
    if (!context)
        return;
    ListHost& host = m_views.host();
    if (context->isInbox()) {
        host.showWarning(QStringLiteral("Warning"), QStringLiteral("Inbox context cannot be deleted."));
        return;
    }
    if (!host.confirm(QStringLiteral("Confirmation"), QStringLiteral("Are you sure to delete this context? All tasks will be lost!"),
                      QStringLiteral("Delete"), QStringLiteral("Don't delete")))
        return;
    context->deleteWithSubtree();
    store().processPendingChanges();
    m_views.contextTasks().rearrangeObjects();
}
