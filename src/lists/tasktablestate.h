#pragma once

#include "lists/tasktablecolumns.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <utility>
#include <vector>

class Preferences;

// The state of one task table that does not need a widget: its columns (shown, hidden, widths), its sort
// (the current identifier and direction lists, the installed sort, the header indicators and highlight)
// and how both are kept in the preferences. The table widget draws what this holds and forwards header
// clicks, column resizes and the visible-columns menu to it.
//
// The current lists and the installed sort usually agree, with one deliberate exception: a plain click
// that turns the primary column descending installs that column alone but leaves the other entries of a
// multi-key sort in the lists. They are written to the preferences with it and come back as secondary keys
// the next time the table is created.
class TaskTableState {
public:
    enum class SortIndicator { None, Ascending, Descending };

    struct MenuEntry {
        QString identifier;
        QString title;
        bool checked = false;

        bool operator==(const MenuEntry&) const = default;
    };

    // Sets up the designed columns and installs the stored sort ("name" ascending when none is stored).
    TaskTableState(TaskTableKind kind, Preferences& preferences);

    TaskTableKind kind() const { return m_kind; }
    bool hasNaturalOrder() const;
    // The table is in its natural order: it has one and no column sorts it.
    bool isNaturalOrder() const { return hasNaturalOrder() && m_identifiers.isEmpty(); }

    // The installed sort: what the task list sorts by.
    const QList<SortDescriptor>& sortDescriptors() const { return m_sort; }
    // Told after every change of the installed sort (not at construction).
    void setSortChangedHandler(std::function<void()> handler) { m_sortChanged = std::move(handler); }
    // Further listeners, told after the handler (the table widget redraws its indicators); the id
    // removes one again.
    int addSortChangedListener(std::function<void()> listener)
    {
        m_sortListeners.emplace_back(++m_lastListenerId, std::move(listener));
        return m_lastListenerId;
    }
    void removeSortChangedListener(int id)
    {
        std::erase_if(m_sortListeners, [id](const auto& l) { return l.first == id; });
    }

    const QStringList& currentSortIdentifiers() const { return m_identifiers; }
    // True for ascending, one per identifier.
    const QList<bool>& currentSortDirections() const { return m_directions; }
    // The primary sort column; empty in natural order.
    const QString& highlightedColumn() const { return m_highlighted; }
    SortIndicator sortIndicator(const QString& identifier) const { return m_indicators.value(identifier, SortIndicator::None); }

    // A header click: replace is true for a plain click, false for a Command-click, which edits a
    // multi-key sort in place. Plain clicks on one header cycle ascending, descending, then natural order
    // where the table has one, else ascending again. A column that is not shown or does not sort is
    // ignored.
    void sortByColumnWithIdentifier(const QString& identifier, bool replaceCurrentSorting);
    // Installs a whole sort in its stored form (see sortDescriptorsForIdentifiers) and writes it back;
    // columns that are not shown are dropped.
    void sortByColumnsWithIdentifiers(const QStringList& identifiers, const QStringList& directions);
    // Between natural order and the last column sort the user chose (or "name" ascending). Does nothing
    // for a table without natural order.
    void toggleNaturalOrderSorting();

    // Rebuilds the shown columns from the design, the hidden-columns list and the stored widths.
    void setupColumns();
    bool showColumn(const QString& identifier) const;
    void setColumnHidden(const QString& identifier, bool hidden);
    const QList<TaskTableColumn>& visibleColumns() const { return m_columns; }
    const QList<TaskTableColumn>& designedColumns() const { return m_allColumns; }
    // Every designed column with a title longer than three characters, checked when shown.
    QList<MenuEntry> visibleColumnsMenu() const;
    // Hides a checked entry's column, shows an unchecked one's; identifiers not in the menu are ignored.
    void visibleColumnsMenuItemClicked(const QString& identifier);
    // A resize of a shown column; saved once the columns have been set up.
    void setColumnWidth(const QString& identifier, double width);
    // Replaces the stored widths with those of the shown columns.
    void saveColumnSizes();

private:
    QStringList hiddenColumns() const;
    bool hasVisibleColumn(const QString& identifier) const;
    void installSort(QList<SortDescriptor> sort);
    void writeSortKeys(bool alsoLastNonNatural);

    TaskTableKind m_kind;
    Preferences& m_preferences;
    TaskTablePreferenceKeys m_keys;

    QList<TaskTableColumn> m_allColumns;
    QList<TaskTableColumn> m_columns;
    bool m_columnsSetUp = false;

    QStringList m_identifiers;
    QList<bool> m_directions;
    QList<SortDescriptor> m_sort;
    QString m_highlighted;
    QHash<QString, SortIndicator> m_indicators;
    std::function<void()> m_sortChanged;
    std::vector<std::pair<int, std::function<void()>>> m_sortListeners;
    int m_lastListenerId = 0;
};
