#include "lists/tasktablecolumns.h"

#include "app/preferencedefaults.h"
#include "model/sortingnilsortdescriptor.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr unsigned bit(TaskTableKind kind)
{
    return 1u << unsigned(kind);
}

constexpr unsigned kContext = bit(TaskTableKind::ContextTasks);
constexpr unsigned kProject = bit(TaskTableKind::ProjectTasks);
constexpr unsigned kAll = bit(TaskTableKind::AllTasks);
constexpr unsigned kCompleted = bit(TaskTableKind::CompletedTasks);
constexpr unsigned kArchived = bit(TaskTableKind::ArchivedTasks);

enum class KeyKind { Text, Number, Date };

struct SortableColumn {
    QLatin1StringView identifier;
    QLatin1StringView key;
    KeyKind kind;
    unsigned tables;
};

// The context table sorts by no context and the project table by no project: each shows only one.
constexpr std::array kSortableColumns{
    SortableColumn{"name"_L1, "name"_L1, KeyKind::Text, kContext | kProject | kAll | kCompleted | kArchived},
    SortableColumn{"status"_L1, "status"_L1, KeyKind::Number, kContext | kProject | kAll},
    SortableColumn{"context"_L1, "parentContext.pathName"_L1, KeyKind::Text, kProject | kAll | kCompleted},
    SortableColumn{"project"_L1, "parentProject.pathName"_L1, KeyKind::Text, kContext | kAll | kCompleted},
    SortableColumn{"priority"_L1, "priority"_L1, KeyKind::Number, kContext | kProject | kAll | kCompleted | kArchived},
    SortableColumn{"effort"_L1, "effort"_L1, KeyKind::Number, kContext | kProject | kAll | kCompleted},
    SortableColumn{"startdate"_L1, "startDate"_L1, KeyKind::Date, kContext | kProject | kAll},
    SortableColumn{"duedate"_L1, "dueDate"_L1, KeyKind::Date, kContext | kProject | kAll},
    SortableColumn{"nextaction"_L1, "nextAction"_L1, KeyKind::Number, kContext | kProject | kAll},
    SortableColumn{"completiondate"_L1, "completionDate"_L1, KeyKind::Date, kCompleted},
};

TaskTableColumn column(const char* identifier, const QString& title, double width)
{
    return {QString::fromLatin1(identifier), title, width};
}

} // namespace

TaskTablePreferenceKeys taskTablePreferenceKeys(TaskTableKind kind)
{
    using namespace PreferenceKey;
    switch (kind) {
    case TaskTableKind::ContextTasks:
        return {tableViewContextTasksHiddenColumns, tableViewContextTasksColumnsSizes, sortDescriptorContextTasksIdentifiers,
                sortDescriptorContextTasksDirections, sortDescriptorContextTasksLastNonNaturalIdentifiers,
                sortDescriptorContextTasksLastNonNaturalDirections};
    case TaskTableKind::ProjectTasks:
        return {tableViewProjectTasksHiddenColumns, tableViewProjectTasksColumnsSizes, sortDescriptorProjectTasksIdentifiers,
                sortDescriptorProjectTasksDirections, sortDescriptorProjectTasksLastNonNaturalIdentifiers,
                sortDescriptorProjectTasksLastNonNaturalDirections};
    case TaskTableKind::AllTasks:
        return {tableViewAllTasksHiddenColumns, tableViewAllTasksColumnsSizes, sortDescriptorAllTasksIdentifiers,
                sortDescriptorAllTasksDirections, {}, {}};
    case TaskTableKind::CompletedTasks:
        return {tableViewCompletedTasksHiddenColumns, tableViewCompletedTasksColumnsSizes, sortDescriptorCompletedTasksIdentifiers,
                sortDescriptorCompletedTasksDirections, {}, {}};
    case TaskTableKind::ArchivedTasks:
        return {tableViewArchivedTasksHiddenColumns, tableViewArchivedTasksColumnsSizes, sortDescriptorArchivedTasksIdentifiers,
                sortDescriptorArchivedTasksDirections, {}, {}};
    }
    return {};
}

QList<TaskTableColumn> designedTaskTableColumns(TaskTableKind kind)
{
    // The done box and the next-action flag have one-character titles, so they are always shown.
    const TaskTableColumn done = column("done", u"\u2713"_s, 22);
    const TaskTableColumn flag = column("nextaction", u"\u2691"_s, 22);
    const TaskTableColumn status = column("status", u"Status"_s, 44);
    const TaskTableColumn name = column("name", u"Name"_s, 260);
    const TaskTableColumn context = column("context", u"Context"_s, 96);
    const TaskTableColumn project = column("project", u"Project"_s, 104);
    const TaskTableColumn priority = column("priority", u"Priority"_s, 58);
    const TaskTableColumn effort = column("effort", u"Effort"_s, 48);
    const TaskTableColumn startDate = column("startdate", u"Start date"_s, 94);
    const TaskTableColumn dueDate = column("duedate", u"Due date"_s, 94);
    const TaskTableColumn completionDate = column("completiondate", u"Completed"_s, 110);

    switch (kind) {
    case TaskTableKind::ContextTasks:
        return {done, flag, status, name, project, priority, effort, startDate, dueDate};
    case TaskTableKind::ProjectTasks:
        return {done, flag, status, name, context, priority, effort, startDate, dueDate};
    case TaskTableKind::AllTasks:
        return {done, flag, status, name, context, project, priority, effort, startDate, dueDate};
    case TaskTableKind::CompletedTasks:
        // The flag stays visible on finished tasks but does not sort them.
        return {done, flag, name, context, project, priority, effort, completionDate};
    case TaskTableKind::ArchivedTasks:
        return {done, flag, name, priority};
    }
    return {};
}

std::optional<SortDescriptor> sortDescriptorForTableColumnIdentifier(TaskTableKind kind, const QString& identifier, bool ascending)
{
    for (const SortableColumn& c : kSortableColumns) {
        if (c.identifier != identifier)
            continue;
        if (!(c.tables & bit(kind)))
            return std::nullopt;
        const QString key(c.key);
        switch (c.kind) {
        case KeyKind::Text:
            return SortDescriptor(key, ascending, SortDescriptor::Comparison::CaseInsensitiveCompare);
        case KeyKind::Number:
            return SortDescriptor(key, ascending);
        case KeyKind::Date:
            return sortingNilSortDescriptor(key, ascending);
        }
    }
    return std::nullopt;
}

std::optional<SortDescriptor> sortDescriptorForNaturalOrder(TaskTableKind kind)
{
    switch (kind) {
    case TaskTableKind::ContextTasks:
        return SortDescriptor(u"positionInContext"_s, true);
    case TaskTableKind::ProjectTasks:
        return SortDescriptor(u"positionInProject"_s, true);
    default:
        return std::nullopt;
    }
}

QList<SortDescriptor> sortDescriptorsForIdentifiers(TaskTableKind kind, const QStringList& identifiers, const QStringList& directions)
{
    const std::optional<SortDescriptor> natural = sortDescriptorForNaturalOrder(kind);
    QList<SortDescriptor> out;
    QStringList taken;
    if (!natural || identifiers.isEmpty() || !identifiers.first().isEmpty()) {
        for (qsizetype i = 0; i < identifiers.size(); ++i) {
            if (taken.contains(identifiers[i]))
                continue;
            const bool ascending = i >= directions.size() || directions[i] != u"0";
            if (auto descriptor = sortDescriptorForTableColumnIdentifier(kind, identifiers[i], ascending)) {
                out << *descriptor;
                taken << identifiers[i];
            }
        }
    }
    if (out.isEmpty() && natural)
        out << *natural;
    return out;
}
