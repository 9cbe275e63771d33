#pragma once

#include "store/fetchrequest.h"

#include <QLatin1StringView>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The five task tables, numbered as the views that show them (contexts, projects, to-complete,
// completed, archive).
enum class TaskTableKind : int { ContextTasks = 0, ProjectTasks = 1, AllTasks = 2, CompletedTasks = 3, ArchivedTasks = 4 };
inline constexpr int kTaskTableKindCount = 5;

// Where a table keeps its state in the preferences. An empty name means the table keeps nothing of that
// kind: only the context and project tables remember the last column sort for leaving natural order.
struct TaskTablePreferenceKeys {
    QLatin1StringView hiddenColumns;
    QLatin1StringView columnsSizes;
    QLatin1StringView sortIdentifiers;
    QLatin1StringView sortDirections;
    QLatin1StringView lastNonNaturalIdentifiers;
    QLatin1StringView lastNonNaturalDirections;
};
TaskTablePreferenceKeys taskTablePreferenceKeys(TaskTableKind kind);

// One column as the table is designed. A title of three characters or fewer marks an icon or flag
// column, which the user cannot hide.
struct TaskTableColumn {
    QString identifier;
    QString title;
    double width = 0;

    bool operator==(const TaskTableColumn&) const = default;
};
// The columns of a table in design order, with their initial widths.
QList<TaskTableColumn> designedTaskTableColumns(TaskTableKind kind);

// The sort entry of a column of the table; nullopt for a column the table does not sort by (a header
// click on it does nothing). Dates keep undated tasks last either way.
std::optional<SortDescriptor> sortDescriptorForTableColumnIdentifier(TaskTableKind kind, const QString& identifier, bool ascending);
// The user's own order of the context and project tables; nullopt for the other tables.
std::optional<SortDescriptor> sortDescriptorForNaturalOrder(TaskTableKind kind);

// The stored form of a sort, read as a table installs it: an empty first identifier is the natural order
// (where the table has one); identifiers the table cannot sort by are skipped together with their
// direction; "0" is descending, any other direction (or none) ascending. Touches no preferences, so a
// one-off sort (the command line's) can use it.
QList<SortDescriptor> sortDescriptorsForIdentifiers(TaskTableKind kind, const QStringList& identifiers, const QStringList& directions);
