#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "cli/listview.h"
#include "cli/recordlookup.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "lists/tasktablecolumns.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"

#include <algorithm>

int runMove(CommandEnvironment& env)
{
    QString uri;
    QString viewName = QStringLiteral("contexts");
    QString folder;
    std::optional<int> position;
    QString move;
    bool json = false;
    const QStringList& args = env.arguments();
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if ((a == QLatin1String("--view") || a == QLatin1String("--folder") || a == QLatin1String("--to-position")) && i + 1 >= args.size())
            return env.fail(QStringLiteral("move: %1 needs a value").arg(a), ExitUsage);
        if (a == QLatin1String("--view")) {
            viewName = args[++i];
        } else if (a == QLatin1String("--folder")) {
            folder = args[++i];
        } else if (a == QLatin1String("--to-position")) {
            bool ok = false;
            position = args[++i].toInt(&ok);
            if (!ok || *position < 0)
                return env.fail(QStringLiteral("move: --to-position takes the number of tasks to put before the task: a whole number, 0 or more"), ExitUsage);
            move = a;
        } else if (a == QLatin1String("--top") || a == QLatin1String("--bottom") || a == QLatin1String("--up") || a == QLatin1String("--down")) {
            if (!move.isEmpty())
                return env.fail(QStringLiteral("move: give one of --to-position, --top, --bottom, --up, --down"), ExitUsage);
            move = a;
        } else if (a == QLatin1String("--json")) {
            json = true;
        } else if (a.startsWith(QLatin1String("--")) || !uri.isEmpty()) {
            return env.fail(QStringLiteral("move: unknown argument %1").arg(a), ExitUsage);
        } else {
            uri = a;
        }
    }
    if (uri.isEmpty() || move.isEmpty())
        return env.fail(QStringLiteral("move takes a task URI and one of --to-position N, --top, --bottom, --up, --down"), ExitUsage);
    auto view = parseTaskView(viewName);
    if (!view)
        return env.fail(QStringLiteral("move: ") + view.status().message(), ExitUsage);
    const auto natural = sortDescriptorForNaturalOrder(TaskTableKind(int(*view)));
    if (!natural)
        return env.fail(QStringLiteral("move: only the contexts and projects views keep an order of their own"), ExitUsage);

    if (auto failed = env.openStore())
        return *failed;
    ObjectContext& store = env.appDelegate().managedObjectContext();
    auto found = lookupRecord(store, uri, QStringLiteral("task"));
    if (!found)
        return env.fail(QStringLiteral("move: ") + found.status().message(), ExitUsage);
    auto* task = static_cast<Task*>(*found);
    if (folder.isEmpty()) { // the task's own folder
        Record* own = *view == TaskView::Contexts ? static_cast<Record*>(task->parentContext()) : task->parentProject();
        if (!own)
            return env.fail(QStringLiteral("move: the task has no %1; name one with --folder").arg(*view == TaskView::Contexts ? "context" : "project"), ExitUsage);
        folder = own->uri();
    }

    ListHost host;
    TabViewController views(store, env.preferences(), host);
    if (Status s = selectViewFolder(views, *view, folder); !s.isOk())
        return env.fail(QStringLiteral("move: ") + s.message(), ExitUsage);
    TasksArrayController& list = views.taskList(*view);
    list.updatePredicate();
    // The moves read the rows as the user's own order shows them, whatever the table's stored sort.
    list.setSortDescriptors({*natural});
    list.selectObject(task);
    if (list.selectedObjects().empty())
        return env.fail(QStringLiteral("move: the task is not shown in that list (another folder, or hidden by the view's modes)"), ExitUsage);

    // N counts the other shown tasks that end up before the task; past the last of them the move
    // would quietly become --bottom.
    const qsizetype others = qsizetype(list.arrangedObjects().size()) - 1;
    if (position && *position > others)
        return env.fail(QStringLiteral("move: --to-position %1 is past the end: the list shows %2 other task%3, so N is 0 to %2 "
                                       "(the number of tasks to put before it)")
                            .arg(*position)
                            .arg(others)
                            .arg(others == 1 ? "" : "s"),
                        ExitUsage);

    if (move == QLatin1String("--to-position"))
        list.moveToPosition(*position);
    else if (move == QLatin1String("--top"))
        list.moveToTop();
    else if (move == QLatin1String("--bottom"))
        list.moveToBottom();
    else if (move == QLatin1String("--up"))
        list.moveUp();
    else
        list.moveDown();
    if (Status s = env.save(); !s.isOk())
        return env.fail(QStringLiteral("nothing was moved: %1").arg(s.message()));
    if (json)
        printTasksJson(env.out(), list.arrangedObjects());
    else
        printTasksTable(env.out(), list.arrangedObjects());
    return ExitOk;
}
