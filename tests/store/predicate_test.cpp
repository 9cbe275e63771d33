#include "support/storefixture.h"

#include "store/predicate.h"
#include "store/preparedpredicates.h"

// A small world in which every example predicate of the program, and the NULL cases they rely on, can
// be checked. Flags that a task never had are absent (NULL), not false. Task values are stored as they
// are, so the model's setters (which renumber and clear flags) do not shape the fixture.
class PredicateTest : public StoreFixture {
protected:
    void SetUp() override
    {
        StoreFixture::SetUp();
        inbox = newContext(QStringLiteral("Inbox"));
        inbox->setIsInbox(true);
        home = newContext(QStringLiteral("Home"));
        home->setSyncID(QStringLiteral("home"));
        garden = newContext(QStringLiteral("Garden"), home); // syncID never set: NULL
        office = newContext(QStringLiteral("Office"));
        office->setSyncID(QStringLiteral(""));

        sequence = newProject(QStringLiteral("Sequence"));
        sequence->setHasSingleTasks(false);
        independent = newProject(QStringLiteral("independent"));
        independent->setHasSingleTasks(true);
        dormant = newProject(QStringLiteral("Dormant"), nullptr, false);
        sub = newProject(QStringLiteral("Subsequence"), sequence);

        // name, context, project, then attributes
        auto* a = newTask(QStringLiteral("alpha"), home);
        put(a, u"done", raw(true));
        put(a, u"cleanedUp", raw(false));
        put(a, u"archived", raw(false));
        put(a, u"tags", raw(QStringLiteral("homework,errands")));
        put(a, u"syncID", raw(QStringLiteral("sync-a")));

        auto* b = newTask(QStringLiteral("beta"), home, sequence);
        put(b, u"positionInProject", raw(1));
        put(b, u"maybe", raw(false));
        put(b, u"archived", raw(false));
        put(b, u"dueDate", raw(at(2026, 11, 20)));
        put(b, u"tags", raw(QStringLiteral("")));

        auto* c = newTask(QStringLiteral("Gamma"), garden, sequence);
        put(c, u"positionInProject", raw(2));
        put(c, u"maybe", raw(true));
        put(c, u"archived", raw(false));
        put(c, u"cleanedUp", raw(true));
        put(c, u"done", raw(true));
        put(c, u"dueDate", raw(at(2026, 11, 25)));

        auto* d = newTask(QStringLiteral("delta"), inbox, independent);
        put(d, u"positionInProject", raw(3));
        put(d, u"archived", raw(false));
        put(d, u"nextAction", raw(true));
        put(d, u"tags", raw(QStringLiteral("Work")));

        auto* e = newTask(QStringLiteral("epsilon"), office, dormant);
        put(e, u"archived", raw(true));
        put(e, u"nextAction", raw(false));
        // everything else absent

        tasks = {a, b, c, d, e};
    }

public:
    static QDateTime at(int y, int m, int d) { return QDateTime(QDate(y, m, d), QTime(12, 0)); }
    // Stored values exactly as given, without the side effects of the model's setters.
    static Value raw(bool b) { return Value::boolean(b); }
    static Value raw(int i) { return Value::integer(i); }
    static Value raw(const QString& s) { return Value::string(s); }
    static Value raw(const QDateTime& d) { return Value::date(d); }
    static void put(Record* r, const char16_t* key, Value v) { r->setPrimitiveValue(r->entity().attributeIndex(key), std::move(v)); }

    Context *inbox, *home, *garden, *office;
    Project *sequence, *independent, *dormant, *sub;
    std::vector<Task*> tasks;
};

struct PredicateCase {
    const char* entity;
    const char* format;
    std::function<QList<PredicateArgument>(PredicateTest&)> arguments;
    QStringList expected;
};

TEST_F(PredicateTest, ExamplesAndNullRules)
{
    auto none = [](PredicateTest&) { return QList<PredicateArgument> {}; };
    const QList<PredicateCase> cases = {
        // The program's own predicates.
        {"context", "isInbox == 1", none, {"Inbox"}},
        {"task", "(done == 1) and (cleanedUp <> 1)", none, {"alpha"}},
        {"project", "name BEGINSWITH[c] %@ AND parentProject==%@ AND active==YES",
         [](PredicateTest& t) { return QList<PredicateArgument> {QStringLiteral("sub"), t.sequence}; }, {"Subsequence"}},
        {"task", "tags <> NULL and tags<>''", none, {"alpha", "delta"}},
        {"context", "syncID == NULL or syncID == ''", none, {"Garden", "Inbox", "Office"}},
        {"context", "pathName == 'Home > Garden' or pathName BEGINSWITH[c] 'off'", none, {"Garden", "Office"}},
        {"task", "(parentProject == NULL) or (parentProject.hasSingleTasks == 1) or (positionInProject == 1)", none, {"alpha", "beta", "delta"}},
        {"task", "syncID==%@", [](PredicateTest&) { return QList<PredicateArgument> {QStringLiteral("sync-a")}; }, {"alpha"}},
        {"task", "name LIKE[c] %@", [](PredicateTest&) { return QList<PredicateArgument> {QStringLiteral("?E*A")}; }, {"beta", "delta"}},
        {"task", "name LIKE %@", [](PredicateTest&) { return QList<PredicateArgument> {QStringLiteral("*a")}; }, {"Gamma", "alpha", "beta", "delta"}},
        {"task", "(parentContext==%@) and (cleanedUp <> 1) and (archived == 0)",
         [](PredicateTest& t) { return QList<PredicateArgument> {t.home}; }, {"alpha", "beta"}},
        {"task", "(parentContext==%@) and (maybe==NO or maybe==NULL) and ((parentProject==NULL) or (parentProject.active <> 0)) and (cleanedUp <> 1) and (archived == 0)",
         [](PredicateTest& t) { return QList<PredicateArgument> {t.office}; }, {}},
        {"task", "tags contains[c] 'home'", none, {"alpha"}},
        {"task", "tags CONTAINS[c] 'work' OR tags contains[c] 'errands'", none, {"alpha", "delta"}},
        {"task", "tags contains 'work'", none, {"alpha"}},
        {"task", "(cleanedUp == 0) and (archived == 0) and (parentProject == NULL or parentProject.active == 1)", none, {"alpha"}},
        {"context", "tasks.@count > 1", none, {"Home"}},
        {"context", "subcontexts.@count == 0 AND isInbox <> 1", none, {"Garden", "Office"}},
        // NULL is a value of its own.
        {"task", "maybe==NO or maybe==NULL", none, {"alpha", "beta", "delta", "epsilon"}},
        {"task", "maybe == NO", none, {"beta"}},
        {"task", "cleanedUp <> 1", none, {"alpha", "beta", "delta", "epsilon"}},
        {"task", "cleanedUp == 0", none, {"alpha"}},
        {"task", "nextAction == NULL", none, {"alpha", "beta", "Gamma"}},
        {"task", "dueDate < %@", [](PredicateTest& t) { return QList<PredicateArgument> {t.at(2026, 12, 1)}; }, {"Gamma", "beta"}},
        {"task", "dueDate >= %@", [](PredicateTest& t) { return QList<PredicateArgument> {t.at(2026, 11, 21)}; }, {"Gamma"}},
        {"task", "(dueDate<>NULL) and (dueDate<%@)", [](PredicateTest& t) { return QList<PredicateArgument> {t.at(2026, 11, 21)}; }, {"beta"}},
        {"task", "NOT (dueDate <= %@)", [](PredicateTest& t) { return QList<PredicateArgument> {t.at(2026, 11, 21)}; }, {"Gamma", "alpha", "delta", "epsilon"}},
        {"task", "parentProject.active <> 0", none, {"Gamma", "alpha", "beta", "delta"}},
        {"task", "parentProject.active == 0", none, {"epsilon"}},
        {"task", "parentProject == %@", [](PredicateTest&) { return QList<PredicateArgument> {static_cast<Record*>(nullptr)}; }, {"alpha"}},
        {"task", "name BEGINSWITH[c] %@", [](PredicateTest&) { return QList<PredicateArgument> {QStringLiteral("g")}; }, {"Gamma"}},
        {"task", "name ENDSWITH 'ta'", none, {"beta", "delta"}},
        {"task", "priority == NULL && effort == NULL", none, {"Gamma", "alpha", "beta", "delta", "epsilon"}},
        {"task", "TRUEPREDICATE", none, {"Gamma", "alpha", "beta", "delta", "epsilon"}},
        {"task", "FALSEPREDICATE or positionInProject > 2.5", none, {"delta"}},
    };
    for (const PredicateCase& c : cases) {
        SCOPED_TRACE(c.format);
        const QList<PredicateArgument> args = c.arguments(*this);
        QStringList expected = c.expected;
        expected.sort();
        EXPECT_EQ(namesOf(fetch(QLatin1String(c.entity), QLatin1String(c.format), args)), expected);
        // The same predicate on a list in memory agrees with the fetch.
        auto predicate = Predicate::parse(QLatin1String(c.format), args);
        ASSERT_TRUE(predicate.isOk());
        EXPECT_EQ(namesOf(filteredArray(context->allObjects(QLatin1String(c.entity)), *predicate)), expected);
    }
}

TEST_F(PredicateTest, JoinedPredicates)
{
    const Predicate open = Predicate::fromFormat(QStringLiteral("cleanedUp <> 1"));
    const Predicate inHome = Predicate::fromFormat(QStringLiteral("parentContext == %@"), {home});
    EXPECT_EQ(namesOf(filteredArray(tasks, Predicate::andPredicateWithSubpredicates({open, inHome}))), QStringList({"alpha", "beta"}));
    EXPECT_EQ(namesOf(filteredArray(tasks, Predicate::orPredicateWithSubpredicates({inHome, Predicate::fromFormat(QStringLiteral("maybe == YES"))}))),
              QStringList({"Gamma", "alpha", "beta"}));
    EXPECT_EQ(filteredArray(tasks, Predicate::orPredicateWithSubpredicates({})).size(), 0u);
    EXPECT_EQ(filteredArray(tasks, Predicate::andPredicateWithSubpredicates({})).size(), tasks.size());
}

TEST_F(PredicateTest, PinnedFetchLooksOnlyAtTheInverseSet)
{
    const auto pinned = Predicate::fromFormat(QStringLiteral("(cleanedUp <> 1) and (parentContext==%@)"), {home});
    const EntityDescription* task = context->model().entity(u"task");
    EXPECT_EQ(pinned.pinnedRelationship(*task).second, home);
    // An OR does not pin; neither does a comparison with NULL.
    EXPECT_EQ(Predicate::fromFormat(QStringLiteral("parentContext==%@ or done == 1"), {home}).pinnedRelationship(*task).second, nullptr);
    EXPECT_EQ(Predicate::fromFormat(QStringLiteral("parentProject == NULL")).pinnedRelationship(*task).second, nullptr);
    // A task moved out of the context is no longer found through it.
    tasks[0]->setParentContext(office);
    EXPECT_EQ(namesOf(fetch(QStringLiteral("task"), QStringLiteral("parentContext == %@"), {home})), QStringList({"beta"}));
    EXPECT_EQ(namesOf(fetch(QStringLiteral("task"), QStringLiteral("parentContext == %@"), {office})), QStringList({"alpha", "epsilon"}));
}

TEST(PredicateParse, BadTextIsAnErrorNotACrash)
{
    const QList<std::pair<const char*, int>> cases = {
        {"name ==", 0}, {"(done == 1", 0}, {"done == 1 and", 0}, {"done == 1)", 0}, {"%@ == 1", 0},
        {"name == %@", 2}, {"name LIKE[x] 'a'", 0}, {"name == 'abc", 0}, {"done === 1", 0}, {"name CONTAINS", 0},
        {"and == 1", 0}, {"", 0}, {"done == 1 done == 2", 0}, {"name == %d", 0},
    };
    for (const auto& [format, argumentCount] : cases) {
        QList<PredicateArgument> args;
        for (int i = 0; i < argumentCount; ++i)
            args << PredicateArgument(QStringLiteral("x"));
        auto parsed = Predicate::parse(QLatin1String(format), args);
        EXPECT_FALSE(parsed.isOk()) << format;
        if (!parsed) {
            EXPECT_EQ(parsed.status().code(), Status::Code::InvalidArgument) << format;
        }
    }
}

TEST_F(PredicateTest, UnknownKeysFailTheFetch)
{
    for (const char* format : {"nosuchkey == 1", "parentContext.nosuch == 1", "name.length == 1", "tasks == NULL"}) {
        const auto entity = QString::fromLatin1(std::string_view(format).find("tasks") == 0 ? "context" : "task");
        auto result = context->executeFetchRequest(FetchRequest(entity, Predicate::fromFormat(QLatin1String(format))));
        EXPECT_FALSE(result.isOk()) << format;
    }
}

TEST_F(PredicateTest, TextFormRoundTrips)
{
    const auto p = Predicate::fromFormat(QStringLiteral("(done == 1 OR maybe == NULL) AND name CONTAINS[c] %@ AND NOT (priority > 2)"),
                                         {QStringLiteral("a \"quoted\" word")});
    auto again = Predicate::parse(p.predicateFormat());
    ASSERT_TRUE(again.isOk()) << again.status() << p.predicateFormat();
    EXPECT_EQ(again->predicateFormat(), p.predicateFormat());
    EXPECT_EQ(namesOf(filteredArray(tasks, *again)), namesOf(filteredArray(tasks, p)));
}

TEST_F(PredicateTest, TemplatesTakeNewArgumentsEachTime)
{
    const Predicate pending = Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (dueDate < %@)"));
    EXPECT_EQ(namesOf(filteredArray(tasks, pending.withArguments({home, at(2026, 12, 1)}))), QStringList({"beta"}));
    EXPECT_EQ(namesOf(filteredArray(tasks, pending.withArguments({garden, at(2026, 12, 1)}))), QStringList({"Gamma"}));
    EXPECT_EQ(namesOf(filteredArray(tasks, pending.withArguments({garden, at(2026, 11, 1)}))), QStringList());
    // Filled templates pin a fetch like any other predicate.
    EXPECT_EQ(pending.withArguments({home, at(2026, 12, 1)}).pinnedRelationship(*context->model().entity(u"task")).second, home);
    // Open placeholders read as NULL.
    EXPECT_EQ(namesOf(filteredArray(tasks, Predicate::templateFromFormat(QStringLiteral("parentProject == %@")))), QStringList({"alpha"}));
}

// Text compared without regard to case orders exactly as Qt's own comparison does, on the quick ASCII
// path and past it.
TEST(ValueCompare, CaseInsensitiveTextAgreesWithQt)
{
    const QStringList words{"apple", "Apple", "APPLES", "app", "", "_under", "[bracket", "Zebra", "zebra!", "Éclair",
                            "eclair", "éclair", "straße", "STRASSE", "naïve", "Naive", "a\u00e9", "A\u00c9", "1x", "~"};
    for (const QString& a : words)
        for (const QString& b : words) {
            const int qt = QString::compare(a, b, Qt::CaseInsensitive);
            const int expected = qt < 0 ? -1 : (qt > 0 ? 1 : 0);
            EXPECT_EQ(Value::compare(Value::string(a), Value::string(b), true), expected) << a.toStdString() << " vs " << b.toStdString();
        }
}

// The prepared form against the evaluator, over every mix of present, absent and differing values the
// folder queries read, and over predicates of other shapes that take the general route.
TEST_F(PredicateTest, PreparedPredicatesAnswerAsTheEvaluator)
{
    // A project whose `active` was never set, besides the active and inactive ones.
    auto* unset = context->insertNewObject<Project>(QStringLiteral("project"));
    put(unset, u"name", raw(QStringLiteral("Unset")));
    const std::vector<Record*> projects = {nullptr, sequence, dormant, unset};
    const std::vector<Record*> contexts = {nullptr, home, garden};
    const std::vector<std::optional<Value>> flags = {std::nullopt, raw(false), raw(true)};
    const std::vector<std::optional<Value>> dues = {std::nullopt, raw(at(2026, 11, 20)), raw(QDateTime(QDate(2026, 11, 22), QTime(23, 59))),
                                                    raw(QDateTime(QDate(2026, 11, 23), QTime(0, 0))), raw(at(2026, 11, 25))};
    const std::vector<std::optional<Value>> priorities = {std::nullopt, raw(1), raw(3)};
    std::vector<Record*> records;
    auto set = [](Record* r, const char16_t* key, const std::optional<Value>& v) {
        if (v)
            put(r, key, *v);
    };
    int n = 0;
    for (const auto& maybe : flags)
        for (const auto& cleanedUp : flags)
            for (const auto& archived : flags)
                for (const auto& nextAction : flags)
                    for (const auto& due : dues)
                        for (Record* project : projects) {
                            ++n;
                            Record* t = newTask(QStringLiteral("t%1").arg(n), static_cast<Context*>(contexts[size_t(n) % contexts.size()]),
                                                static_cast<Project*>(project));
                            set(t, u"maybe", maybe);
                            set(t, u"cleanedUp", cleanedUp);
                            set(t, u"archived", archived);
                            set(t, u"nextAction", nextAction);
                            set(t, u"dueDate", due);
                            set(t, u"priority", priorities[size_t(n / 7) % priorities.size()]);
                            records.push_back(t);
                        }
    // Records of other entities go to the predicates themselves.
    for (const char* entity : {"context", "project"})
        for (Record* r : context->allObjects(QLatin1String(entity)))
            records.push_back(r);

    Record* const none = nullptr;
    const QDateTime todayEnd(QDate(2026, 11, 22), QTime(23, 59));
    const QDateTime tomorrowStart(QDate(2026, 11, 23), QTime(0, 0));
    const QDateTime tomorrowEnd(QDate(2026, 11, 23), QTime(23, 59));
    // Each template's first placeholder is the record given with each evaluation.
    const std::vector<PreparedPredicates::Entry> folderQueries = {
        {Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (maybe==NO or maybe==NULL) and ((parentProject==NULL) or (parentProject.active <> 0)) and (cleanedUp <> 1) and (archived == 0)")), {none}},
        {Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (cleanedUp<>1) and (maybe==NO or maybe==NULL) and (nextAction == 1)")), {none}},
        {Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (cleanedUp<>1) and (maybe==NO or maybe==NULL) and (dueDate <= %@)")), {none, todayEnd}},
        {Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (cleanedUp<>1) and (maybe==NO or maybe==NULL) and ((dueDate >= %@) and (dueDate <= %@))")), {none, tomorrowStart, tomorrowEnd}},
        {Predicate::templateFromFormat(QStringLiteral("(parentProject==%@) and (cleanedUp <> 1) and (archived == 0) and (maybe==NO or maybe==NULL)")), {none}},
        {Predicate::templateFromFormat(QStringLiteral("(parentProject==%@) and (nextAction == 1) and (maybe==NO or maybe==NULL)")), {none}},
        {Predicate::templateFromFormat(QStringLiteral("%@ == parentContext or (parentProject != %@ and NOT (priority >= %@))")), {none, sequence, 2}},
        {Predicate::templateFromFormat(QStringLiteral("parentContext != %@ and (parentContext.parentContext == %@ or parentProject.name == 'Dormant')")), {none, home}},
        {Predicate::templateFromFormat(QStringLiteral("NOT (parentProject == %@) and (parentProject.active == NULL or parentProject.active <= 0)")), {none}},
    };
    const std::vector<PreparedPredicates::Entry> plain = {
        {Predicate::templateFromFormat(QStringLiteral("parentProject.active == 0")), {}},
        {Predicate::templateFromFormat(QStringLiteral("parentProject == NULL or parentProject.active != 1")), {}},
        {Predicate::templateFromFormat(QStringLiteral("priority == 1.0 or priority > 2.5")), {}},
        {Predicate::templateFromFormat(QStringLiteral("priority < %@ and done == NULL")), {3}},
        {Predicate::templateFromFormat(QStringLiteral("dueDate > 5 or cleanedUp == 2")), {}},
        {Predicate::templateFromFormat(QStringLiteral("dueDate == %@ or dueDate < %@")), {todayEnd, at(2026, 11, 21)}},
        {Predicate::templateFromFormat(QStringLiteral("dueDate != NULL and NOT (maybe == YES or archived == YES)")), {}},
        {Predicate::templateFromFormat(QStringLiteral("name BEGINSWITH 't1' and maybe == archived")), {}},
        {Predicate::templateFromFormat(QStringLiteral("(nextAction == YES and TRUEPREDICATE) or FALSEPREDICATE")), {}},
        {Predicate::templateFromFormat(QStringLiteral("parentContext == %@ or parentProject == %@")), {garden, static_cast<Record*>(nullptr)}},
        {Predicate::templateFromFormat(QStringLiteral("parentContext.name == 'Garden' or parentProject.name LIKE '*e*'")), {}},
    };

    const EntityDescription& task = *context->model().entity(u"task");
    auto check = [&](const std::vector<PreparedPredicates::Entry>& entries, int parameter, const std::vector<Record*>& parameters) {
        const PreparedPredicates together(entries, task, parameter);
        std::vector<PreparedPredicates> alone;
        for (const auto& entry : entries)
            alone.emplace_back(std::vector<PreparedPredicates::Entry> {entry}, task, parameter);
        const std::uint32_t all = (std::uint32_t(1) << entries.size()) - 1;
        for (Record* given : parameters)
            for (Record* r : records) {
                const std::uint32_t holds = together.evaluate(*r, all, given);
                for (size_t i = 0; i < entries.size(); ++i) {
                    QList<PredicateArgument> arguments = entries[i].arguments;
                    if (parameter >= 0)
                        arguments[parameter] = given;
                    const bool expected = entries[i].predicate.withArguments(arguments).evaluate(*r);
                    SCOPED_TRACE(entries[i].predicate.predicateFormat().toStdString() + " on " + r->valueForKey(u"name").toString().toStdString());
                    ASSERT_EQ(bool(holds >> i & 1), expected);
                    ASSERT_EQ(alone[i].evaluate(*r, 1, given), expected ? 1u : 0u);
                    // Asked for this one only.
                    ASSERT_EQ(together.evaluate(*r, std::uint32_t(1) << i, given), expected ? std::uint32_t(1) << i : 0u);
                }
            }
    };
    check(folderQueries, 0, {home, garden, nullptr, sequence, dormant, unset});
    check(plain, -1, {nullptr});

    // Over the tasks of one context, told that each of them links to it (as a fetch pinned to the
    // context is), they still agree, the comparisons with that link among them.
    const int parentContext = task.relationshipIndex(u"parentContext");
    for (Context* folder : {home, garden}) {
        const std::vector<PreparedPredicates::Entry> pinned = {
            {Predicate::templateFromFormat(QStringLiteral("(parentContext==%@) and (cleanedUp <> 1) and (archived == 0)")), {folder}},
            {Predicate::templateFromFormat(QStringLiteral("parentContext != %@ or maybe == YES")), {folder}},
            {Predicate::templateFromFormat(QStringLiteral("parentContext == %@ and parentProject == %@")), {home, sequence}},
        };
        for (const auto& entry : pinned) {
            const PreparedPredicates prepared({entry}, task, -1, {parentContext, folder});
            const Predicate filled = entry.predicate.withArguments(entry.arguments);
            ASSERT_FALSE(folder->tasks().empty());
            for (Record* r : folder->tasks())
                ASSERT_EQ(prepared.evaluate(*r, 1) != 0, filled.evaluate(*r)) << filled.predicateFormat().toStdString();
        }
    }
}
