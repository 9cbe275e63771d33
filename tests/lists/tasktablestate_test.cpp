#include "support/modelfixture.h"

#include "app/preferences.h"
#include "lists/tasktablestate.h"

#include <QFile>

#include <cstring>

#include <memory>

using namespace Qt::StringLiterals;
using Kind = TaskTableKind;
using Indicator = TaskTableState::SortIndicator;

namespace {

constexpr Kind kAllKinds[] = {Kind::ContextTasks, Kind::ProjectTasks, Kind::AllTasks, Kind::CompletedTasks, Kind::ArchivedTasks};

// "priority-,dueDate+": the installed sort in short.
QString describe(const QList<SortDescriptor>& sort)
{
    QStringList parts;
    for (const SortDescriptor& d : sort)
        parts << d.key() + (d.ascending ? u"+"_s : u"-"_s);
    return parts.join(u',');
}

QStringList identifiersOf(const QList<TaskTableColumn>& columns)
{
    QStringList out;
    for (const TaskTableColumn& c : columns)
        out << c.identifier;
    return out;
}

std::string kindName(Kind kind)
{
    static const char* names[] = {"context", "project", "all", "completed", "archived"};
    return names[int(kind)];
}

} // namespace

class TaskTableStateTest : public ModelFixture {
protected:
    void SetUp() override
    {
        ModelFixture::SetUp();
        prefs = std::make_unique<Preferences>(path(u"prefs.ini"_s));
    }

    // What a later run reads: a copy of the file under a new name, so that QSettings parses it again.
    std::unique_ptr<Preferences> reopenFromDisk()
    {
        EXPECT_TRUE(prefs->sync());
        const QString copy = path(u"reopened%1.ini"_s.arg(++reopenCount));
        EXPECT_TRUE(QFile::copy(prefs->filePath(), copy));
        return std::make_unique<Preferences>(copy);
    }

    QString stored(QLatin1StringView key) const { return prefs->hasKey(key) ? prefs->stringForKey(key) : u"<none>"_s; }
    // "identifiers|directions" as stored, and the same for the last column sort.
    QString storedSort(Kind kind) const
    {
        const TaskTablePreferenceKeys keys = taskTablePreferenceKeys(kind);
        return stored(keys.sortIdentifiers) + u"|"_s + stored(keys.sortDirections);
    }
    QString storedLastNonNatural(Kind kind) const
    {
        const TaskTablePreferenceKeys keys = taskTablePreferenceKeys(kind);
        if (keys.lastNonNaturalIdentifiers.isEmpty())
            return u"<no key>"_s;
        return stored(keys.lastNonNaturalIdentifiers) + u"|"_s + stored(keys.lastNonNaturalDirections);
    }

    std::vector<Record*> sorted(std::vector<Task*> tasks, const QList<SortDescriptor>& sort)
    {
        std::vector<Record*> records(tasks.begin(), tasks.end());
        sortRecords(records, sort);
        return records;
    }
    static QStringList names(const std::vector<Record*>& records)
    {
        QStringList out;
        for (Record* r : records)
            out << static_cast<Task*>(r)->name();
        return out;
    }

    std::unique_ptr<Preferences> prefs;
    int reopenCount = 0;
};

TEST_F(TaskTableStateTest, SortMapOfEveryTable)
{
    // Per identifier: its sort key, its comparison, and the tables (context, project, all, completed,
    // archived) that sort by it.
    struct Row {
        const char* identifier;
        const char* key;
        const char* comparison; // "text", "number", "date"
        const char* tables;     // one of C P A D R per table that lists it
    };
    const Row rows[] = {
        {"name", "name", "text", "CPADR"},
        {"status", "status", "number", "CPA"},
        {"context", "parentContext.pathName", "text", "PAD"},
        {"project", "parentProject.pathName", "text", "CAD"},
        {"priority", "priority", "number", "CPADR"},
        {"effort", "effort", "number", "CPAD"},
        {"startdate", "startDate", "date", "CPA"},
        {"duedate", "dueDate", "date", "CPA"},
        {"nextaction", "nextAction", "number", "CPA"},
        {"completiondate", "completionDate", "date", "D"},
        {"done", "", "", ""},
        {"", "", "", ""},
    };
    const char letters[] = "CPADR";
    for (const Row& row : rows) {
        for (Kind kind : kAllKinds) {
            SCOPED_TRACE(std::string(row.identifier) + " in " + kindName(kind));
            const bool listed = std::strchr(row.tables, letters[int(kind)]) != nullptr;
            const auto descriptor = sortDescriptorForTableColumnIdentifier(kind, QString::fromLatin1(row.identifier), false);
            ASSERT_EQ(descriptor.has_value(), listed);
            if (!listed)
                continue;
            EXPECT_EQ(descriptor->key(), QString::fromLatin1(row.key));
            EXPECT_FALSE(descriptor->ascending);
            const QString comparison = QString::fromLatin1(row.comparison);
            EXPECT_EQ(descriptor->nullsLast, comparison == u"date");
            EXPECT_EQ(descriptor->comparison == SortDescriptor::Comparison::CaseInsensitiveCompare, comparison == u"text");
            // A table shows every column it can sort by.
            EXPECT_TRUE(identifiersOf(designedTaskTableColumns(kind)).contains(QString::fromLatin1(row.identifier)));
        }
    }

    EXPECT_EQ(describe({*sortDescriptorForNaturalOrder(Kind::ContextTasks)}), u"positionInContext+"_s);
    EXPECT_EQ(describe({*sortDescriptorForNaturalOrder(Kind::ProjectTasks)}), u"positionInProject+"_s);
    for (Kind kind : {Kind::AllTasks, Kind::CompletedTasks, Kind::ArchivedTasks})
        EXPECT_FALSE(sortDescriptorForNaturalOrder(kind).has_value()) << kindName(kind);
}

TEST_F(TaskTableStateTest, WithNothingStoredEveryTableSortsByNameAscending)
{
    for (Kind kind : kAllKinds) {
        SCOPED_TRACE(kindName(kind));
        TaskTableState table(kind, *prefs);
        EXPECT_EQ(describe(table.sortDescriptors()), u"name+"_s);
        EXPECT_EQ(table.currentSortIdentifiers(), QStringList{u"name"_s});
        EXPECT_EQ(table.currentSortDirections(), QList<bool>{true});
        EXPECT_EQ(table.highlightedColumn(), u"name"_s);
        EXPECT_EQ(table.sortIndicator(u"name"_s), Indicator::Ascending);
        EXPECT_FALSE(table.isNaturalOrder());
        EXPECT_EQ(storedSort(kind), u"name|1"_s);
        // Installing a sort is not a column sort of the user's: nothing to go back to yet.
        EXPECT_EQ(storedLastNonNatural(kind), kind == Kind::ContextTasks || kind == Kind::ProjectTasks ? u"<none>|<none>"_s : u"<no key>"_s);
    }
}

TEST_F(TaskTableStateTest, PlainClicksCycleThroughTheDirectionsAndNaturalOrder)
{
    struct Step {
        QString sort;      // installed
        QString stored;    // identifiers|directions
        QString lastSort;  // last-non-natural keys
        Indicator indicator;
    };
    const Step natural{u"positionInContext+"_s, u"|"_s, u"priority|0"_s, Indicator::None};
    const Step asc{u"priority+"_s, u"priority|1"_s, u"priority|1"_s, Indicator::Ascending};
    const Step desc{u"priority-"_s, u"priority|0"_s, u"priority|0"_s, Indicator::Descending};
    Step projectNatural = natural;
    projectNatural.sort = u"positionInProject+"_s;
    Step plainAsc = asc, plainDesc = desc;
    plainAsc.lastSort = plainDesc.lastSort = u"<no key>"_s;

    const struct {
        Kind kind;
        QList<Step> steps;
    } cases[] = {
        {Kind::ContextTasks, {asc, desc, natural, asc}},
        {Kind::ProjectTasks, {asc, desc, projectNatural, asc}},
        {Kind::AllTasks, {plainAsc, plainDesc, plainAsc, plainDesc}},
        {Kind::CompletedTasks, {plainAsc, plainDesc, plainAsc}},
        {Kind::ArchivedTasks, {plainAsc, plainDesc, plainAsc}},
    };
    for (const auto& c : cases) {
        TaskTableState table(c.kind, *prefs);
        int changes = 0;
        table.setSortChangedHandler([&] { ++changes; });
        for (qsizetype i = 0; i < c.steps.size(); ++i) {
            SCOPED_TRACE(kindName(c.kind) + " click " + std::to_string(i + 1));
            const Step& step = c.steps[i];
            table.sortByColumnWithIdentifier(u"priority"_s, true);
            EXPECT_EQ(changes, i + 1);
            EXPECT_EQ(describe(table.sortDescriptors()), step.sort);
            EXPECT_EQ(storedSort(c.kind), step.stored);
            EXPECT_EQ(storedLastNonNatural(c.kind), step.lastSort);
            EXPECT_EQ(table.sortIndicator(u"priority"_s), step.indicator);
            EXPECT_EQ(table.sortIndicator(u"name"_s), Indicator::None);
            EXPECT_EQ(table.isNaturalOrder(), step.indicator == Indicator::None);
            EXPECT_EQ(table.highlightedColumn(), step.indicator == Indicator::None ? QString() : u"priority"_s);
        }
    }
}

TEST_F(TaskTableStateTest, CommandClicksEditAMultiKeySortInPlace)
{
    TaskTableState table(Kind::ContextTasks, *prefs);
    table.sortByColumnWithIdentifier(u"priority"_s, true);

    table.sortByColumnWithIdentifier(u"duedate"_s, false);
    EXPECT_EQ(describe(table.sortDescriptors()), u"priority+,dueDate+"_s);
    EXPECT_EQ(storedSort(Kind::ContextTasks), u"priority,duedate|1,1"_s);
    EXPECT_EQ(storedLastNonNatural(Kind::ContextTasks), u"priority,duedate|1,1"_s);
    EXPECT_EQ(table.sortIndicator(u"duedate"_s), Indicator::Ascending);

    table.sortByColumnWithIdentifier(u"duedate"_s, false);
    EXPECT_EQ(describe(table.sortDescriptors()), u"priority+,dueDate-"_s);
    EXPECT_EQ(storedSort(Kind::ContextTasks), u"priority,duedate|1,0"_s);
    EXPECT_EQ(table.sortIndicator(u"duedate"_s), Indicator::Descending);
    EXPECT_EQ(table.sortIndicator(u"priority"_s), Indicator::Ascending);
    EXPECT_EQ(table.highlightedColumn(), u"priority"_s);

    // Flipping the primary key keeps its rank.
    table.sortByColumnWithIdentifier(u"priority"_s, false);
    EXPECT_EQ(describe(table.sortDescriptors()), u"priority-,dueDate-"_s);

    // Columns that do not sort, and columns the table does not have, change nothing.
    for (const QString& id : {u"done"_s, u"context"_s, u"completiondate"_s, u"bogus"_s}) {
        table.sortByColumnWithIdentifier(id, false);
        table.sortByColumnWithIdentifier(id, true);
    }
    EXPECT_EQ(describe(table.sortDescriptors()), u"priority-,dueDate-"_s);

    // In natural order a Command-click starts a plain one-key sort.
    table.toggleNaturalOrderSorting();
    table.sortByColumnWithIdentifier(u"effort"_s, false);
    EXPECT_EQ(describe(table.sortDescriptors()), u"effort+"_s);
    EXPECT_EQ(storedSort(Kind::ContextTasks), u"effort|1"_s);
}

TEST_F(TaskTableStateTest, SecondaryKeysLeftByAPlainClickComeBackAtTheNextStart)
{
    {
        TaskTableState table(Kind::AllTasks, *prefs);
        table.sortByColumnWithIdentifier(u"priority"_s, true);
        table.sortByColumnWithIdentifier(u"duedate"_s, false);
        table.sortByColumnWithIdentifier(u"priority"_s, true);
        EXPECT_EQ(describe(table.sortDescriptors()), u"priority-"_s);
        EXPECT_EQ(table.currentSortIdentifiers(), QStringList({u"priority"_s, u"duedate"_s}));
        EXPECT_EQ(table.currentSortDirections(), QList<bool>({false, true}));
        EXPECT_EQ(storedSort(Kind::AllTasks), u"priority,duedate|0,1"_s);
    }
    const auto later = reopenFromDisk();
    TaskTableState table(Kind::AllTasks, *later);
    EXPECT_EQ(describe(table.sortDescriptors()), u"priority-,dueDate+"_s);
    EXPECT_EQ(table.highlightedColumn(), u"priority"_s);

    // A Command-click sorts by the whole lists again, left-over entries included.
    TaskTableState again(Kind::AllTasks, *prefs);
    again.sortByColumnWithIdentifier(u"effort"_s, false);
    EXPECT_EQ(describe(again.sortDescriptors()), u"priority-,dueDate+,effort+"_s);
    EXPECT_EQ(storedSort(Kind::AllTasks), u"priority,duedate,effort|0,1,1"_s);
}

TEST_F(TaskTableStateTest, InstallingAStoredSort)
{
    const struct {
        Kind kind;
        QString hidden;
        QString identifiers;
        QString directions;
        QString sort;   // installed
        QString stored; // written back
    } cases[] = {
        {Kind::ContextTasks, u""_s, u"duedate,priority"_s, u"0,1"_s, u"dueDate-,priority+"_s, u"duedate,priority|0,1"_s},
        {Kind::ContextTasks, u"duedate"_s, u"duedate,priority,name"_s, u"1,0,0"_s, u"priority-,name-"_s, u"priority,name|0,0"_s},
        // Nothing left to sort by: the natural order, as the empty lists are stored.
        {Kind::ContextTasks, u"effort,duedate"_s, u"duedate,effort"_s, u"1"_s, u"positionInContext+"_s, u"|"_s},
        {Kind::AllTasks, u"effort"_s, u"effort"_s, u"1"_s, u""_s, u"|"_s},
        // Not sortable in that table, unknown, or not a sort column at all: skipped with the direction.
        {Kind::ContextTasks, u""_s, u"context,bogus,done,effort"_s, u"0,0,0,1"_s, u"effort+"_s, u"effort|1"_s},
        {Kind::ProjectTasks, u""_s, u"project,context"_s, u"0,0"_s, u"parentContext.pathName-"_s, u"context|0"_s},
        // Only "0" is descending; a missing direction is ascending.
        {Kind::AllTasks, u""_s, u"priority,effort,name"_s, u"x"_s, u"priority+,effort+,name+"_s, u"priority,effort,name|1,1,1"_s},
        {Kind::AllTasks, u""_s, u"priority,priority"_s, u"0,1"_s, u"priority-"_s, u"priority|0"_s},
        {Kind::ContextTasks, u""_s, u""_s, u""_s, u"positionInContext+"_s, u"|"_s},
        {Kind::ProjectTasks, u""_s, u",priority"_s, u",1"_s, u"positionInProject+"_s, u"|"_s},
        // A table without natural order reads an empty identifier as no column.
        {Kind::CompletedTasks, u""_s, u",completiondate"_s, u",0"_s, u"completionDate-"_s, u"completiondate|0"_s},
        {Kind::ArchivedTasks, u""_s, u"startdate,priority"_s, u"1,0"_s, u"priority-"_s, u"priority|0"_s},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(kindName(c.kind) + " " + c.identifiers.toStdString() + " hiding " + c.hidden.toStdString());
        const TaskTablePreferenceKeys keys = taskTablePreferenceKeys(c.kind);
        prefs->setString(keys.hiddenColumns, c.hidden);
        prefs->setString(keys.sortIdentifiers, c.identifiers);
        prefs->setString(keys.sortDirections, c.directions);
        TaskTableState table(c.kind, *prefs);
        EXPECT_EQ(describe(table.sortDescriptors()), c.sort);
        EXPECT_EQ(storedSort(c.kind), c.stored);
        EXPECT_EQ(table.highlightedColumn(), table.currentSortIdentifiers().value(0));
        for (qsizetype i = 0; i < table.currentSortIdentifiers().size(); ++i)
            EXPECT_EQ(table.sortIndicator(table.currentSortIdentifiers()[i]),
                      table.currentSortDirections()[i] ? Indicator::Ascending : Indicator::Descending);
        // The run-only form agrees wherever no column is hidden.
        if (c.hidden.isEmpty()) {
            EXPECT_EQ(describe(sortDescriptorsForIdentifiers(c.kind, c.identifiers.split(u','), c.directions.split(u','))), c.sort);
        }
        prefs->removeKey(keys.hiddenColumns);
    }
}

TEST_F(TaskTableStateTest, NaturalOrderToggleGoesBackToTheLastColumnSort)
{
    TaskTableState table(Kind::ContextTasks, *prefs);
    table.toggleNaturalOrderSorting();
    EXPECT_TRUE(table.isNaturalOrder());
    EXPECT_EQ(describe(table.sortDescriptors()), u"positionInContext+"_s);
    EXPECT_EQ(storedSort(Kind::ContextTasks), u"|"_s);
    EXPECT_EQ(table.highlightedColumn(), QString());
    EXPECT_EQ(table.sortIndicator(u"name"_s), Indicator::None);
    // Nothing stored to go back to: name ascending.
    table.toggleNaturalOrderSorting();
    EXPECT_EQ(describe(table.sortDescriptors()), u"name+"_s);
    EXPECT_EQ(storedLastNonNatural(Kind::ContextTasks), u"<none>|<none>"_s);

    table.sortByColumnWithIdentifier(u"duedate"_s, true);
    table.sortByColumnWithIdentifier(u"duedate"_s, true);
    table.sortByColumnWithIdentifier(u"priority"_s, false);
    table.toggleNaturalOrderSorting();
    EXPECT_EQ(storedLastNonNatural(Kind::ContextTasks), u"duedate,priority|0,1"_s);

    // The natural order survives a restart (stored as an empty string, not as nothing).
    const auto later = reopenFromDisk();
    TaskTableState restarted(Kind::ContextTasks, *later);
    EXPECT_TRUE(restarted.isNaturalOrder());
    restarted.toggleNaturalOrderSorting();
    EXPECT_EQ(describe(restarted.sortDescriptors()), u"dueDate-,priority+"_s);
    EXPECT_EQ(restarted.highlightedColumn(), u"duedate"_s);

    // Tables without natural order have no toggle.
    TaskTableState all(Kind::AllTasks, *prefs);
    all.toggleNaturalOrderSorting();
    EXPECT_EQ(describe(all.sortDescriptors()), u"name+"_s);
    EXPECT_FALSE(all.hasNaturalOrder());
}

TEST_F(TaskTableStateTest, ShortTitledColumnsAreNeverInTheMenu)
{
    for (Kind kind : kAllKinds) {
        SCOPED_TRACE(kindName(kind));
        TaskTableState table(kind, *prefs);
        const QList<TaskTableColumn> designed = designedTaskTableColumns(kind);
        ASSERT_TRUE(identifiersOf(designed).contains(u"done"_s));
        QStringList expected;
        for (const TaskTableColumn& c : designed)
            if (c.title.size() > 3)
                expected << c.identifier;
        QStringList listed;
        for (const TaskTableState::MenuEntry& e : table.visibleColumnsMenu()) {
            listed << e.identifier;
            EXPECT_TRUE(e.checked);
        }
        EXPECT_EQ(listed, expected);
        EXPECT_FALSE(listed.contains(u"done"_s));
        EXPECT_FALSE(listed.contains(u"nextaction"_s));
        // A click for a column that is not in the menu hides nothing.
        table.visibleColumnsMenuItemClicked(u"done"_s);
        EXPECT_EQ(table.visibleColumns(), designed);
    }
}

TEST_F(TaskTableStateTest, HidingAndShowingColumns)
{
    const TaskTablePreferenceKeys keys = taskTablePreferenceKeys(Kind::ContextTasks);
    prefs->setString(keys.hiddenColumns, u"effort"_s);
    TaskTableState table(Kind::ContextTasks, *prefs);
    EXPECT_FALSE(table.showColumn(u"effort"_s));
    EXPECT_TRUE(table.showColumn(u"duedate"_s));
    EXPECT_FALSE(identifiersOf(table.visibleColumns()).contains(u"effort"_s));

    table.visibleColumnsMenuItemClicked(u"duedate"_s);
    table.visibleColumnsMenuItemClicked(u"duedate"_s); // unchecked now: shown again
    table.visibleColumnsMenuItemClicked(u"startdate"_s);
    table.visibleColumnsMenuItemClicked(u"effort"_s);
    EXPECT_EQ(prefs->stringForKey(keys.hiddenColumns), u"startdate"_s);
    EXPECT_EQ(identifiersOf(table.visibleColumns()),
              QStringList({u"done"_s, u"nextaction"_s, u"status"_s, u"name"_s, u"project"_s, u"priority"_s, u"effort"_s, u"duedate"_s}));
    for (const TaskTableState::MenuEntry& e : table.visibleColumnsMenu())
        EXPECT_EQ(e.checked, e.identifier != u"startdate") << e.identifier;

    // A hidden column does not sort from its header.
    table.sortByColumnWithIdentifier(u"startdate"_s, true);
    EXPECT_EQ(describe(table.sortDescriptors()), u"name+"_s);
}

TEST_F(TaskTableStateTest, ColumnWidthsAreSavedForTheShownColumns)
{
    const TaskTablePreferenceKeys keys = taskTablePreferenceKeys(Kind::ProjectTasks);
    prefs->setObject(keys.columnsSizes, QVariantMap{{u"name"_s, 412.5}, {u"gone"_s, 10.0}});
    prefs->setString(keys.hiddenColumns, u"status"_s);
    auto widthOf = [](const TaskTableState& t, const QString& id) {
        for (const TaskTableColumn& c : t.visibleColumns())
            if (c.identifier == id)
                return c.width;
        return -1.0;
    };

    TaskTableState table(Kind::ProjectTasks, *prefs);
    EXPECT_EQ(widthOf(table, u"name"_s), 412.5);
    // Set-up only reads the widths.
    EXPECT_EQ(prefs->objectForKey(keys.columnsSizes).toMap().size(), 2);

    table.setColumnWidth(u"priority"_s, 80.25);
    table.setColumnWidth(u"effort"_s, 70);
    table.setColumnWidth(u"status"_s, 99); // not shown: ignored
    const QVariantMap saved = reopenFromDisk()->objectForKey(keys.columnsSizes).toMap();
    QStringList expected = identifiersOf(table.visibleColumns());
    expected.sort();
    EXPECT_EQ(saved.keys(), expected);
    EXPECT_EQ(saved.value(u"priority"_s).toDouble(), 80.25);
    EXPECT_EQ(saved.value(u"name"_s).toDouble(), 412.5);

    // A column keeps its width while it is hidden, though the saved sizes no longer name it.
    table.visibleColumnsMenuItemClicked(u"effort"_s);
    table.setColumnWidth(u"name"_s, 300);
    EXPECT_FALSE(prefs->objectForKey(keys.columnsSizes).toMap().contains(u"effort"_s));
    table.setColumnWidth(u"effort"_s, 5);
    table.visibleColumnsMenuItemClicked(u"effort"_s);
    EXPECT_EQ(widthOf(table, u"effort"_s), 70.0);
    EXPECT_EQ(widthOf(table, u"name"_s), 300.0);

    TaskTableState next(Kind::ProjectTasks, *prefs);
    EXPECT_EQ(widthOf(next, u"name"_s), 300.0);
}

TEST_F(TaskTableStateTest, InstalledSortsOrderTasks)
{
    Context* home = newContext(u"Home"_s);
    Project* garden = newProject(u"Garden"_s);
    Project* attic = newProject(u"attic"_s);
    Task* a = addTask(u"b undated"_s, home, garden);
    Task* b = addTask(u"A late"_s, home);
    Task* c = addTask(u"c early"_s, home, attic);
    Task* d = addTask(u"D undated"_s, home, attic);
    b->setDueDate(day(30));
    c->setDueDate(day(23));
    a->setPriority(2);
    b->setPriority(5);
    c->setPriority(2);
    d->setPriority(1);
    a->setPositionInContext(4);
    b->setPositionInContext(2);
    c->setPositionInContext(3);
    d->setPositionInContext(1);
    const std::vector<Task*> tasks{a, b, c, d};

    TaskTableState table(Kind::ContextTasks, *prefs);
    EXPECT_EQ(names(sorted(tasks, table.sortDescriptors())), QStringList({u"A late"_s, u"b undated"_s, u"c early"_s, u"D undated"_s}));

    const struct {
        QString identifiers;
        QString directions;
        QStringList order;
    } cases[] = {
        // Undated tasks stay last both ways, in their earlier (stable) order.
        {u"duedate"_s, u"1"_s, {u"c early"_s, u"A late"_s, u"b undated"_s, u"D undated"_s}},
        {u"duedate"_s, u"0"_s, {u"A late"_s, u"c early"_s, u"b undated"_s, u"D undated"_s}},
        {u"priority,name"_s, u"0,0"_s, {u"A late"_s, u"c early"_s, u"b undated"_s, u"D undated"_s}},
        // Project path names without regard to case; no project sorts first when ascending.
        {u"project,name"_s, u"1,1"_s, {u"A late"_s, u"c early"_s, u"D undated"_s, u"b undated"_s}},
        {u""_s, u""_s, {u"D undated"_s, u"A late"_s, u"c early"_s, u"b undated"_s}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.identifiers.toStdString() + "|" + c.directions.toStdString());
        table.sortByColumnsWithIdentifiers(c.identifiers.split(u','), c.directions.split(u','));
        EXPECT_EQ(names(sorted(tasks, table.sortDescriptors())), c.order);
    }
}

TEST_F(TaskTableStateTest, ListenersHearEverySortChangeUntilRemoved)
{
    TaskTableState table(Kind::ContextTasks, *prefs);
    QStringList heard;
    table.setSortChangedHandler([&] { heard << u"handler"_s; });
    const int first = table.addSortChangedListener([&] { heard << u"first"_s; });
    table.addSortChangedListener([&] { heard << u"second"_s; });

    table.sortByColumnWithIdentifier(u"priority"_s, true);
    EXPECT_EQ(heard, QStringList({u"handler"_s, u"first"_s, u"second"_s})) << "the list re-sorts before the widgets redraw";

    heard.clear();
    table.removeSortChangedListener(first);
    table.toggleNaturalOrderSorting();
    EXPECT_EQ(heard, QStringList({u"handler"_s, u"second"_s}));
}
