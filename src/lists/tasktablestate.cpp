#include "lists/tasktablestate.h"

#include "app/preferences.h"

#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace {

QString joinedDirections(const QList<bool>& directions)
{
    QStringList texts;
    for (bool ascending : directions)
        texts << (ascending ? u"1"_s : u"0"_s);
    return texts.join(u',');
}

} // namespace

TaskTableState::TaskTableState(TaskTableKind kind, Preferences& preferences)
    : m_kind(kind), m_preferences(preferences), m_keys(taskTablePreferenceKeys(kind)), m_allColumns(designedTaskTableColumns(kind))
{
    setupColumns();
    // A stored empty identifiers string is the natural order; only a missing one means "nothing stored".
    QString identifiers = m_keys.sortIdentifiers.isEmpty() ? QString() : m_preferences.stringForKey(m_keys.sortIdentifiers);
    QString directions;
    if (identifiers.isNull()) {
        identifiers = u"name"_s;
        directions = u"1"_s;
    } else if (!m_keys.sortDirections.isEmpty()) {
        directions = m_preferences.stringForKey(m_keys.sortDirections);
    }
    sortByColumnsWithIdentifiers(identifiers.split(u','), directions.split(u','));
}

bool TaskTableState::hasNaturalOrder() const
{
    return sortDescriptorForNaturalOrder(m_kind).has_value();
}

void TaskTableState::sortByColumnWithIdentifier(const QString& identifier, bool replaceCurrentSorting)
{
    if (!hasVisibleColumn(identifier) || !sortDescriptorForTableColumnIdentifier(m_kind, identifier, true))
        return;

    if (m_identifiers.isEmpty() || replaceCurrentSorting) {
        const bool isPrimary = !m_identifiers.isEmpty() && m_identifiers.first() == identifier;
        if (isPrimary && m_directions.first()) {
            // Only the first entries change: the rest of a multi-key sort stays in the lists on purpose
            // and is stored with them (see the class comment).
            m_directions.first() = false;
            m_indicators[identifier] = SortIndicator::Descending;
            m_highlighted = identifier;
            installSort({*sortDescriptorForTableColumnIdentifier(m_kind, identifier, false)});
        } else if (isPrimary && hasNaturalOrder()) {
            m_highlighted.clear();
            m_indicators.remove(identifier);
            m_identifiers.clear();
            m_directions.clear();
            installSort({*sortDescriptorForNaturalOrder(m_kind)});
        } else {
            m_indicators.clear();
            m_indicators[identifier] = SortIndicator::Ascending;
            m_highlighted = identifier;
            m_identifiers = {identifier};
            m_directions = {true};
            installSort({*sortDescriptorForTableColumnIdentifier(m_kind, identifier, true)});
        }
    } else {
        const qsizetype rank = m_identifiers.indexOf(identifier);
        if (rank >= 0) {
            m_directions[rank] = !m_directions[rank];
        } else {
            m_identifiers << identifier;
            m_directions << true;
        }
        const bool ascending = m_directions[rank >= 0 ? rank : m_directions.size() - 1];
        m_indicators[identifier] = ascending ? SortIndicator::Ascending : SortIndicator::Descending;
        // Built from the whole lists, so that entries a plain click left behind sort again, in their
        // rank, as they will after the next start.
        QList<SortDescriptor> sort;
        for (qsizetype i = 0; i < m_identifiers.size(); ++i)
            if (auto descriptor = sortDescriptorForTableColumnIdentifier(m_kind, m_identifiers[i], m_directions[i]))
                sort << *descriptor;
        installSort(std::move(sort));
    }
    writeSortKeys(true);
}

void TaskTableState::sortByColumnsWithIdentifiers(const QStringList& identifiers, const QStringList& directions)
{
    m_highlighted.clear();
    m_indicators.clear();
    m_identifiers.clear();
    m_directions.clear();

    QList<SortDescriptor> sort;
    const bool natural = !identifiers.isEmpty() && identifiers.first().isEmpty() && hasNaturalOrder();
    for (qsizetype i = 0; !natural && i < identifiers.size(); ++i) {
        const QString& identifier = identifiers[i];
        if (m_identifiers.contains(identifier) || !hasVisibleColumn(identifier))
            continue;
        const bool ascending = i >= directions.size() || directions[i] != u"0";
        auto descriptor = sortDescriptorForTableColumnIdentifier(m_kind, identifier, ascending);
        if (!descriptor)
            continue;
        m_identifiers << identifier;
        m_directions << ascending;
        sort << *descriptor;
        m_indicators[identifier] = ascending ? SortIndicator::Ascending : SortIndicator::Descending;
        if (m_highlighted.isEmpty())
            m_highlighted = identifier;
    }
    // Empty lists are what the natural order is written as, so a sort whose every column is gone is the
    // natural order too where the table has one (elsewhere the list stays unsorted).
    if (m_identifiers.isEmpty())
        if (const auto naturalOrder = sortDescriptorForNaturalOrder(m_kind))
            sort = {*naturalOrder};
    installSort(std::move(sort));
    writeSortKeys(false);
}

void TaskTableState::toggleNaturalOrderSorting()
{
    if (!hasNaturalOrder())
        return;
    if (!m_identifiers.isEmpty()) {
        sortByColumnsWithIdentifiers({u""_s}, {u""_s});
        return;
    }
    QString identifiers = m_keys.lastNonNaturalIdentifiers.isEmpty() ? QString() : m_preferences.stringForKey(m_keys.lastNonNaturalIdentifiers);
    QString directions;
    if (identifiers.isEmpty()) {
        identifiers = u"name"_s;
        directions = u"1"_s;
    } else if (!m_keys.lastNonNaturalDirections.isEmpty()) {
        directions = m_preferences.stringForKey(m_keys.lastNonNaturalDirections);
    }
    sortByColumnsWithIdentifiers(identifiers.split(u','), directions.split(u','));
}

void TaskTableState::setupColumns()
{
    m_columns.clear();
    const QVariantMap sizes = m_keys.columnsSizes.isEmpty() ? QVariantMap() : m_preferences.objectForKey(m_keys.columnsSizes).toMap();
    const QStringList hidden = hiddenColumns();
    for (TaskTableColumn& column : m_allColumns) {
        if (column.identifier.isEmpty() || hidden.contains(column.identifier))
            continue;
        // A column keeps the width it last had when the stored sizes do not name it (it was hidden when
        // they were saved).
        bool ok = false;
        const double width = sizes.value(column.identifier).toDouble(&ok);
        if (ok)
            column.width = width;
        m_columns << column;
    }
    m_columnsSetUp = true;
}

bool TaskTableState::showColumn(const QString& identifier) const
{
    return !hiddenColumns().contains(identifier);
}

void TaskTableState::setColumnHidden(const QString& identifier, bool hidden)
{
    if (m_keys.hiddenColumns.isEmpty())
        return;
    QStringList list = hiddenColumns();
    if (hidden && !list.contains(identifier))
        list << identifier;
    else if (!hidden)
        list.removeAll(identifier);
    m_preferences.setString(m_keys.hiddenColumns, list.join(u','));
    setupColumns();
}

QList<TaskTableState::MenuEntry> TaskTableState::visibleColumnsMenu() const
{
    QList<MenuEntry> entries;
    for (const TaskTableColumn& column : m_allColumns)
        if (column.title.size() > 3)
            entries << MenuEntry{column.identifier, column.title, hasVisibleColumn(column.identifier)};
    return entries;
}

void TaskTableState::visibleColumnsMenuItemClicked(const QString& identifier)
{
    for (const MenuEntry& entry : visibleColumnsMenu()) {
        if (entry.identifier == identifier) {
            setColumnHidden(identifier, entry.checked);
            return;
        }
    }
}

void TaskTableState::setColumnWidth(const QString& identifier, double width)
{
    bool found = false;
    for (TaskTableColumn& column : m_columns) {
        if (column.identifier == identifier) {
            column.width = width;
            found = true;
        }
    }
    if (!found)
        return;
    for (TaskTableColumn& column : m_allColumns)
        if (column.identifier == identifier)
            column.width = width;
    if (m_columnsSetUp)
        saveColumnSizes();
}

void TaskTableState::saveColumnSizes()
{
    if (m_keys.columnsSizes.isEmpty())
        return;
    QVariantMap sizes;
    for (const TaskTableColumn& column : m_columns)
        sizes.insert(column.identifier, column.width);
    m_preferences.setObject(m_keys.columnsSizes, sizes);
}

QStringList TaskTableState::hiddenColumns() const
{
    if (m_keys.hiddenColumns.isEmpty())
        return {};
    return m_preferences.stringForKey(m_keys.hiddenColumns).split(u',', Qt::SkipEmptyParts);
}

bool TaskTableState::hasVisibleColumn(const QString& identifier) const
{
    for (const TaskTableColumn& column : m_columns)
        if (column.identifier == identifier)
            return true;
    return false;
}

void TaskTableState::installSort(QList<SortDescriptor> sort)
{
    m_sort = std::move(sort);
    if (m_sortChanged)
        m_sortChanged();
    // A copy: a listener may remove itself.
    const auto listeners = m_sortListeners;
    for (const auto& [id, listener] : listeners)
        listener();
}

void TaskTableState::writeSortKeys(bool alsoLastNonNatural)
{
    const QString identifiers = m_identifiers.join(u',');
    const QString directions = joinedDirections(m_directions);
    if (!m_keys.sortIdentifiers.isEmpty())
        m_preferences.setString(m_keys.sortIdentifiers, identifiers);
    if (!m_keys.sortDirections.isEmpty())
        m_preferences.setString(m_keys.sortDirections, directions);
    if (alsoLastNonNatural && !identifiers.isEmpty() && !m_keys.lastNonNaturalIdentifiers.isEmpty()) {
        m_preferences.setString(m_keys.lastNonNaturalIdentifiers, identifiers);
        m_preferences.setString(m_keys.lastNonNaturalDirections, directions);
    }
}
