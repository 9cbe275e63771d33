#include "support/storefixture.h"

#include "store/recordjson.h"
#include "store/xmlstore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

namespace {

// The dump with every URI replaced by its record's place in the dump, so two stores can be compared.
QJsonObject normalised(const ObjectContext& context)
{
    QByteArray json = QJsonDocument(storeToJson(context)).toJson(QJsonDocument::Compact);
    QString text = QString::fromUtf8(json);
    QMap<QString, QString> names;
    static const QRegularExpression uri(QStringLiteral("x-coredata://[^\"]+"));
    auto it = uri.globalMatch(text);
    while (it.hasNext()) {
        const QString u = it.next().captured(0);
        if (!names.contains(u))
            names.insert(u, QStringLiteral("ref%1").arg(names.size()));
    }
    for (auto n = names.begin(); n != names.end(); ++n)
        text.replace(n.key(), n.value());
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

} // namespace

class RecordFilesTest : public StoreFixture {
protected:
    // One of everything: each attribute kind, each relationship, a tree of three levels.
    void fill()
    {
        Context* home = newContext(QStringLiteral("Home"));
        home->setIsInbox(false);
        home->setSpecialIndex(4);
        Context* garden = newContext(QStringLiteral("Garden"), home);
        Context* shed = newContext(QStringLiteral("Shed"), garden);
        Project* house = newProject(QStringLiteral("House"));
        house->setDefaultContext(shed);
        house->setHasSingleTasks(false);
        Project* roof = newProject(QStringLiteral("Roof"), house, false);
        auto* folder = context->insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
        folder->setName(QStringLiteral("Soon"));
        folder->setDueDateDaysNumber(7);
        folder->setIncludeOverdueTasks(true);
        auto* shelf = context->insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
        shelf->setName(QStringLiteral("2026"));
        auto* sub = context->insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
        sub->setName(QStringLiteral("Q4"));
        sub->setParentCategory(shelf);
        Task* t = newTask(QStringLiteral("Fix <the> \"roof\" & gutters"), shed, roof);
        t->setDueDate(QDateTime(QDate(2026, 12, 24), QTime(17, 0, 0, 125)));
        t->setStartDate(QDateTime(QDate(2026, 12, 1), QTime(0, 0)));
        t->setDone(false);
        t->setPriority(1);
        t->setTags(QStringLiteral("home,outside"));
        t->setContent(QStringLiteral("line one\nline two"));
        Task* old = newTask(QStringLiteral("filed"), home);
        old->setArchived(true);
        old->setParentArchiveCategory(sub);
    }
};

TEST_F(RecordFilesTest, JsonRoundTrip)
{
    fill();
    const QByteArray json = QJsonDocument(storeToJson(*context)).toJson();
    ObjectContext other(managedObjectModel());
    ASSERT_TRUE(other.addSqliteStore(path(QStringLiteral("other.sql"))).isOk());
    auto document = recordDocumentFromJson(json, other.model());
    ASSERT_TRUE(document.isOk()) << document.status();
    ASSERT_TRUE(importDocument(other, *document).isOk());
    EXPECT_EQ(normalised(other), normalised(*context));
}

TEST_F(RecordFilesTest, XmlDataFileConvertsIntoTheSameRecords)
{
    fill();
    const QString xml = path(QStringLiteral("Vyro.xml"));
    ASSERT_TRUE(writeXmlStore(*context, xml).isOk());
    auto document = readXmlStore(xml);
    ASSERT_TRUE(document.isOk()) << document.status();
    const QString converted = path(QStringLiteral("converted/Vyro.sql"));
    QDir().mkpath(path(QStringLiteral("converted")));
    ASSERT_TRUE(writeSqliteStore(*document, converted, managedObjectModel()).isOk());
    ObjectContext other(managedObjectModel());
    ASSERT_TRUE(other.addSqliteStore(converted).isOk());
    EXPECT_EQ(normalised(other), normalised(*context));
    EXPECT_FALSE(QFile::exists(converted + QStringLiteral(".converting")));
}

TEST_F(RecordFilesTest, BadXmlIsRefused)
{
    const QList<std::pair<const char*, const char*>> cases = {
        {"<notvyro/>", "not a Vyro XML data file"},
        {"<vyro-store><record entity=\"task\" id=\"a\"><attribute name=\"done\" type=\"bool\">maybe</attribute></record></vyro-store>", "not a bool value"},
        {"<vyro-store><record entity=\"task\" id=\"a\"><attribute name=\"dueDate\" type=\"date\">soon</attribute></record></vyro-store>", "not a date value"},
        {"<vyro-store><record entity=\"task\" id=\"a\"><attribute name=\"x\" type=\"blob\">1</attribute></record></vyro-store>", "unknown type"},
        {"<vyro-store><record entity=\"task\"><oops/></record></vyro-store>", "unexpected element"},
        {"<vyro-store><record entity=\"task\" id=\"a\">", "line"},
    };
    for (const auto& [text, message] : cases) {
        QFile f(path(QStringLiteral("bad.xml")));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(text);
        f.close();
        auto document = readXmlStore(f.fileName());
        ASSERT_FALSE(document.isOk()) << text;
        EXPECT_TRUE(document.status().message().contains(QLatin1String(message))) << document.status() << " for " << text;
    }
}

TEST_F(RecordFilesTest, BadJsonNamesTheRecordAndFieldAndAddsNothing)
{
    fill();
    const QString existingContext = context->allObjects(QStringLiteral("context"))[0]->uri();
    const QList<std::pair<QString, QString>> cases = {
        {"{", "line 1"},
        {"[]", "one JSON object"},
        {R"({"people": []})", "unknown array \"people\""},
        {R"({"tasks": {}})", "\"tasks\" must be an array"},
        {R"({"tasks": [1]})", "tasks[0]: must be an object"},
        {R"({"tasks": [{"name": 5}]})", "tasks[0].name: must be a text"},
        {R"({"tasks": [{"name": "a"}, {"done": "yes"}]})", "tasks[1].done: must be true or false"},
        {R"({"tasks": [{"priority": 1.5}]})", "tasks[0].priority: must be a whole number"},
        {R"({"tasks": [{"dueDate": "next week"}]})", "tasks[0].dueDate: must be a date"},
        {R"({"tasks": [{"colour": "red"}]})", "tasks[0].colour: task has no such attribute"},
        {R"({"contexts": [{"tasks": []}]})", "contexts[0].tasks: a to-many relationship"},
        {R"({"tasks": [{"parentContext": "c9"}]})", "tasks[0].parentContext: no record \"c9\""},
        {R"({"projects": [{"uri": "p"}], "tasks": [{"parentContext": "p"}]})", "tasks[0].parentContext: \"p\" is a project, not a context"},
        {R"({"tasks": [{"uri": "a"}, {"uri": "a"}]})", "tasks[1]: the id \"a\" is already used by tasks[0]"},
        {R"({"contexts": [{"uri": "a", "parentContext": "b"}, {"uri": "b", "parentContext": "a"}]})", "the records form a loop"},
        {R"({"contexts": [{"uri": "a", "parentContext": "a"}]})", "the records form a loop"},
    };
    const QJsonObject before = normalised(*context);
    for (const auto& [json, message] : cases) {
        auto document = recordDocumentFromJson(json.toUtf8(), context->model());
        Status status = document.status();
        if (document.isOk())
            status = importDocument(*context, *document);
        EXPECT_FALSE(status.isOk()) << json;
        EXPECT_TRUE(status.message().contains(message)) << status << "\nexpected: " << message;
    }
    EXPECT_EQ(normalised(*context), before);

    // References may name records already in the store.
    auto document = recordDocumentFromJson(QStringLiteral(R"({"tasks": [{"name": "new", "parentContext": "%1"}]})").arg(existingContext).toUtf8(), context->model());
    ASSERT_TRUE(document.isOk());
    std::vector<Record*> made;
    ASSERT_TRUE(importDocument(*context, *document, &made).isOk());
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(static_cast<Task*>(made[0])->parentContext()->uri(), existingContext);
}
