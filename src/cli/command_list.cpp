#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "cli/listview.h"
#include "lists/listhost.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "lists/tasktablecolumns.h"

namespace {

// KEYS: column identifiers separated by commas, each with "-" in front for descending, or "natural".
Result<QList<SortDescriptor>> parseSort(TaskTableKind table, const QString& keys)
{
    if (keys == QLatin1String("natural")) {
        if (auto natural = sortDescriptorForNaturalOrder(table))
            return QList<SortDescriptor>{*natural};
        return Status::invalidArgument(QStringLiteral("this view has no natural order"));
    }
    QStringList identifiers;
    QStringList directions;
    for (const QString& key : keys.split(QLatin1Char(','))) {
        const bool descending = key.startsWith(QLatin1Char('-'));
        const QString identifier = descending ? key.mid(1) : key;
        if (!sortDescriptorForTableColumnIdentifier(table, identifier, true))
            return Status::invalidArgument(QStringLiteral("this view cannot sort by \"%1\"").arg(identifier));
        identifiers << identifier;
        directions << (descending ? QStringLiteral("0") : QStringLiteral("1"));
    }
    return sortDescriptorsForIdentifiers(table, identifiers, directions);
}

Result<int> modeValue(const QString& option, const QString& text, int last)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < 0 || value > last)
        return Status::invalidArgument(QStringLiteral("%1 takes a number from 0 to %2").arg(option).arg(last));
    return value;
}

} // namespace

int runList(CommandEnvironment& env)
{
    QString viewName = QStringLiteral("contexts");
    QString folder;
    std::optional<QString> search;
    std::optional<QString> sort;
    std::optional<int> timeMode;
    std::optional<int> ownerMode;
    std::optional<bool> flagged;
    std::optional<bool> nextActions;
    bool completed = false;
    bool json = false;
    const QStringList& args = env.arguments();
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        auto next = [&]() -> std::optional<QString> { return i + 1 < args.size() ? std::optional(args[++i]) : std::nullopt; };
        std::optional<QString> value;
        if (a == QLatin1String("--view") || a == QLatin1String("--folder") || a == QLatin1String("--search") || a == QLatin1String("--sort")
            || a == QLatin1String("--time-mode") || a == QLatin1String("--owner-mode")) {
            value = next();
            if (!value)
                return env.fail(QStringLiteral("list: %1 needs a value").arg(a), ExitUsage);
        }
        if (a == QLatin1String("--view"))
            viewName = *value;
        else if (a == QLatin1String("--folder"))
            folder = *value;
        else if (a == QLatin1String("--search"))
            search = *value;
        else if (a == QLatin1String("--sort"))
            sort = *value;
        else if (a == QLatin1String("--time-mode") || a == QLatin1String("--owner-mode")) {
            const bool time = a == QLatin1String("--time-mode");
            auto n = modeValue(a, *value, time ? 4 : 3);
            if (!n)
                return env.fail(QStringLiteral("list: ") + n.status().message(), ExitUsage);
            (time ? timeMode : ownerMode) = *n;
        } else if (a == QLatin1String("--flagged") || a == QLatin1String("--no-flagged"))
            flagged = a == QLatin1String("--flagged");
        else if (a == QLatin1String("--next-actions") || a == QLatin1String("--no-next-actions"))
            nextActions = a == QLatin1String("--next-actions");
        else if (a == QLatin1String("--completed"))
            completed = true;
        else if (a == QLatin1String("--json"))
            json = true;
        else
            return env.fail(QStringLiteral("list: unknown argument %1").arg(a), ExitUsage);
    }
    auto view = parseTaskView(viewName);
    if (!view)
        return env.fail(QStringLiteral("list: ") + view.status().message(), ExitUsage);
    const ViewModeKeys keys = viewModeKeys(*view);
    if ((timeMode || ownerMode) && keys.time.isEmpty())
        return env.fail(QStringLiteral("list: the %1 view has no time or owner mode").arg(viewName), ExitUsage);
    if (flagged && keys.flagged.isEmpty())
        return env.fail(QStringLiteral("list: the %1 view has no flagged mode").arg(viewName), ExitUsage);
    if (nextActions && keys.nextActions.isEmpty())
        return env.fail(QStringLiteral("list: the %1 view has no next-actions mode").arg(viewName), ExitUsage);
    if (completed && *view != TaskView::Projects)
        return env.fail(QStringLiteral("list: --completed belongs to the projects view"), ExitUsage);

    if (auto failed = env.openStore())
        return *failed;
    ListHost host;
    TabViewController views(env.appDelegate().managedObjectContext(), env.preferences(), host);
    if (Status s = selectViewFolder(views, *view, folder); !s.isOk())
        return env.fail(QStringLiteral("list: ") + s.message(), ExitUsage);
    TasksArrayController& list = views.taskList(*view);
    if (sort) {
        auto descriptors = parseSort(TaskTableKind(int(*view)), *sort);
        if (!descriptors)
            return env.fail(QStringLiteral("list: ") + descriptors.status().message(), ExitUsage);
        list.setSortDescriptors(*descriptors);
    }
    // Every option holds for this run only: the stored modes stay as they are.
    ViewModes modes = views.modes(*view);
    modes.timeMode = timeMode.value_or(modes.timeMode);
    modes.ownerMode = ownerMode.value_or(modes.ownerMode);
    modes.flagged = flagged.value_or(modes.flagged);
    modes.nextActions = nextActions.value_or(modes.nextActions);
    modes.completed = completed;
    if (search)
        views.setSearchText(*search);
    views.setModesOverride(*view, modes);

    if (json)
        printTasksJson(env.out(), list.arrangedObjects());
    else
        printTasksTable(env.out(), list.arrangedObjects());
    return ExitOk;
}
