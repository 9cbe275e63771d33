#include "lists/statusmenucontent.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <QFileInfo>

namespace {

void addLinkEntries(Task* task, StatusMenuContent& content)
{
    if (task->url().isEmpty())
        return;
    const QString name = task->name();
    for (const QString& text : task->urlsFromUrl()) {
        const QUrl url(text, QUrl::StrictMode);
        if (!url.isValid() || url.isRelative())
            continue;
        if (url.isLocalFile()) {
            const QString file = QFileInfo(url.toLocalFile()).fileName();
            content.fileLinks.push_back({QStringLiteral("%1: %2").arg(file, name), nullptr, nullptr, url});
        } else {
            // A link without a host (mailto:) is named by itself.
            const QString where = url.host().isEmpty() ? url.toString() : url.host();
            content.webLinks.push_back({QStringLiteral("%1: %2").arg(where, name), nullptr, nullptr, url});
        }
    }
}

} // namespace

StatusMenuContent statusMenuContent(const TabViewController& views)
{
    StatusMenuContent content;
    for (Context* context : views.contextController().arrangedObjects())
        content.contexts.push_back({context->displayPathNameForList(), context, nullptr, {}});
    for (Project* project : views.projectController().arrangedObjects())
        content.projects.push_back({project->displayPathNameForList(), nullptr, project, {}});
    // Read from the store rather than from a task table, whose rows wait for the window to re-arrange
    // them and follow its smart folder.
    for (Record* record : views.store().allObjects(QStringLiteral("task"))) {
        auto* task = static_cast<Task*>(record);
        if (!task->isDeleted() && !task->done() && !task->archived())
            addLinkEntries(task, content);
    }
    return content;
}

void chooseStatusMenuEntry(TabViewController& views, const StatusMenuEntry& entry)
{
    const QString name = QStringLiteral("New task");
    if (entry.context && !entry.context->isDeleted())
        views.contextTasks().addNewTask(name, entry.context, nullptr, QString(), QString(), qint64(0), QDateTime(),
                                        QDateTime(), QString(), false);
    else if (entry.project && !entry.project->isDeleted())
        views.projectTasks().addNewTask(name, entry.project, QString(), QString(), false);
}

std::vector<QuickTagMenuItem> quickTagMenuItems(const Preferences& preferences)
{
    std::vector<QuickTagMenuItem> items;
    for (int n = 1; n <= quickTagCount; ++n) {
        const QStringList tags = preferences.stringListForKey(quickTagKey(n));
        if (!tags.isEmpty())
            items.push_back({n, QStringLiteral("(%1) %2").arg(QString::number(n), tags.join(QLatin1Char(',')))});
    }
    return items;
}
