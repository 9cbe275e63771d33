#include "support/listsfixture.h"

#include "exchange/exportcontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tasktablestate.h"

#include <QDir>
#include <QFile>

#include <functional>

using namespace Qt::StringLiterals;

// Golden files: tests/exchange/golden/<set>_<kind>.<extension>, compared byte for byte. After a
// deliberate change of a shipped template, run the tests once with VYRO_REWRITE_GOLDEN=1 to write
// them anew, and read the diff before committing it.

namespace {

const char* const kSets[] = {"basichtml", "html", "csv", "txt"};

void writeFile(const QString& path, const QString& text)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(text.toUtf8());
}

QString readFile(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
}

} // namespace

class ExportTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        userFolder = path(u"user-templates"_s);
        emptyShipped = path(u"no-shipped"_s);
    }

    // A controller whose templates come from the user folder alone (nothing shipped), or with the
    // shipped sets behind it.
    ExportController exporter(bool shipped = false)
    {
        return ExportController(switcher(), ExportTemplates(userFolder, shipped ? u":/templates"_s : emptyShipped));
    }
    // The three templates of the styled set, for the kind, in the user folder.
    void userSet(const QString& kind, const QString& document, const QString& block, const QString& task)
    {
        static const QMap<QString, QString> blockNames{{u"contexts"_s, u"context"_s}, {u"projects"_s, u"project"_s}, {u"smartfolders"_s, u"smartfolder"_s}};
        const QString base = userFolder + u"/html/export_html_"_s + kind;
        if (!document.isNull())
            writeFile(base + u".txt"_s, document);
        if (!block.isNull())
            writeFile(base + u'_' + blockNames[kind] + u".txt"_s, block);
        if (!task.isNull())
            writeFile(base + u"_task.txt"_s, task);
    }
    SmartFolder* smartFolder(const QString& name, const QString& tags, bool allPending = false)
    {
        auto* f = context->insertNewObject<SmartFolder>(u"smartFolder"_s);
        f->setName(name);
        f->setIsAllPending(allPending);
        f->setTags(tags);
        f->setTagsQueryMode(0);
        return f;
    }

    // A small store that reaches every placeholder of the shipped sets.
    void sampleStore()
    {
        Context* errands = folder(u"Errands"_s);
        Context* shops = folder(u"Shops"_s, errands);
        folder(u"Attic"_s); // no pending task: left out
        Project* house = project(u"House"_s);
        Project* roof = project(u"Roof"_s);
        house->addSubprojectsObject(roof);
        project(u"Holiday"_s, false);
        Task* tiles = addTask(u"Order tiles, 40 \"matte\""_s, shops, roof);
        tiles->setContent(u"Grey ones\nAsk for the 10% discount"_s);
        tiles->setPriority(4);
        tiles->setNextAction(true);
        tiles->setStartDate(day(20));
        tiles->setDueDate(day(27));
        tiles->setContact(u"Ana Lind"_s);
        tiles->setTags(u"roof"_s);
        addTask(u"Return library books"_s, errands)->setPriority(2);
        addTask(u"Sort the mail"_s, inbox)->setPriority(1);
        Task* gutter = addTask(u"Clean the gutter"_s, errands, house);
        gutter->setPriority(3);
        gutter->setTags(u"roof"_s);
        smartFolder(u"All tasks"_s, QString(), true);
        smartFolder(u"Roof work"_s, u"roof"_s);
        smartFolder(u"Nothing tagged"_s, u"nosuchtag"_s);
        for (TaskView view : {TaskView::Contexts, TaskView::Projects, TaskView::ToComplete})
            switcher().tableState(view).sortByColumnsWithIdentifiers({u"name"_s}, {u"1"_s});
    }

    QString userFolder;
    QString emptyShipped;
};

TEST_F(ExportTest, ShippedSetsMatchTheirGoldenFiles)
{
    sampleStore();
    const bool rewrite = qEnvironmentVariableIsSet("VYRO_REWRITE_GOLDEN");
    const struct {
        const char* kind;
        TaskView view;
    } kinds[] = {{"contexts", TaskView::Contexts}, {"projects", TaskView::Projects}, {"smartfolders", TaskView::ToComplete}};
    for (int type = 0; type < 4; ++type)
        for (const auto& k : kinds) {
            ExportController e = exporter(true);
            e.setExportType(type);
            e.setExportMode(1);
            const QString golden = QStringLiteral(VYRO_EXCHANGE_GOLDEN "/%1_%2.%3").arg(QLatin1String(kSets[type]), QLatin1String(k.kind), e.extensionForExportType());
            SCOPED_TRACE(golden.toStdString());
            Result<QString> text = e.exportView(k.view, true);
            ASSERT_TRUE(text.isOk()) << text.status();
            if (rewrite)
                writeFile(golden, *text);
            EXPECT_EQ(*text, readFile(golden));
        }
}

// Each row fills one task template over one task; the replacements run in a fixed order over the
// growing text and nothing is escaped.
TEST_F(ExportTest, TaskFillingKeepsItsOrderAndQuirks)
{
    const QString pad70(70, u' ');
    const QString x97(97, u'x');
    const struct Row {
        const char* label;
        QString templateText;
        std::function<void(Task*)> setUp;
        QString expected;
        bool notes = true;
    } rows[] = {
        {"placeholder in the name is filled by a later step", u"%NAME%"_s, [](Task* t) { t->setName(u"%PRIORITY% check"_s); t->setPriority(3); }, u"3 check"_s},
        {"note placeholder in the name takes the note", u"%NAME%"_s, [](Task* t) { t->setName(u"see %NOTE%"_s); t->setContent(u"a\nb"_s); }, u"see a<br/>b"_s},
        {"30 characters pad to 100 without dots", u"[%SHORTNOTE%]"_s, [](Task* t) { t->setContent(QString(30, u'n')); }, u'[' + QString(30, u'n') + pad70 + u']'},
        {"101 characters cut to 100 with dots", u"%SHORTNOTE%"_s, [](Task* t) { t->setContent(QString(100, u'n') + u'Z'); }, QString(100, u'n') + u"..."_s},
        {"exactly 100 characters: no dots", u"%SHORTNOTE%"_s, [](Task* t) { t->setContent(QString(100, u'n')); }, QString(100, u'n')},
        {"a mark is one blank after the padding", u"%SHORTNOTE%"_s, [](Task* t) { t->setContent(u"a\nb"_s); }, u"a b"_s + QString(93, u' ')},
        {"a cut through a mark leaves its rest", u"%SHORTNOTE%"_s, [&](Task* t) { t->setContent(x97 + u"\nyy"_s); }, x97 + u"<br..."_s},
        {"without notes both are empty", u"<%NOTE%|%SHORTNOTE%>"_s, [](Task* t) { t->setContent(u"secret"_s); }, u"<|>"_s, false},
        {"no project, dates or contact: empty", u"%PROJECTNAME%|%STARTDATE%|%DUEDATE%|%CONTACT%"_s, [](Task*) {}, u"|||"_s},
        {"nothing is escaped", u"%NAME%,%PRIORITY%"_s, [](Task* t) { t->setName(u"<b>\"A\", &</b>"_s); t->setPriority(2); }, u"<b>\"A\", &</b>,2"_s},
    };
    ExportController e = exporter();
    for (const Row& r : rows) {
        SCOPED_TRACE(r.label);
        Task* t = addTask(u"task"_s, inbox);
        r.setUp(t);
        EXPECT_EQ(e.fillTask(r.templateText, *t, r.notes, nullptr), r.expected);
    }
}

// Blocks as "name:class;": with single pages on, every block but the last of the chosen containers
// breaks the page, and a skipped container still counts among them.
TEST_F(ExportTest, PageClassesCountSkippedContainers)
{
    Context* home = folder(u"Home"_s);
    addTask(u"one"_s, home)->setTags(u"a b"_s);
    addTask(u"two"_s, inbox)->setTags(u"b"_s);
    smartFolder(u"A"_s, u"a"_s);
    smartFolder(u"B"_s, u"b"_s);
    smartFolder(u"C none"_s, u"zzz"_s);
    smartFolder(u"All"_s, QString(), true);
    userSet(u"contexts"_s, u"%CONTEXTS%"_s, u"%NAME%:%PRINTPAGESCLASS%;"_s, u""_s);
    userSet(u"smartfolders"_s, u"%SMARTFOLDERS%"_s, u"%NAME%:%PRINTPAGESCLASS%;"_s, u""_s);
    const struct {
        const char* label;
        TaskView view;
        bool singlePages;
        QString expected;
    } rows[] = {
        {"contexts, single pages", TaskView::Contexts, true, u"Inbox:singlepage;Home:autopage;"_s},
        {"contexts, off", TaskView::Contexts, false, u"Inbox:autopage;Home:autopage;"_s},
        {"last smart folder skipped", TaskView::ToComplete, true, u"A:singlepage;B:singlepage;"_s},
        {"skipped, off", TaskView::ToComplete, false, u"A:autopage;B:autopage;"_s},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.label);
        ExportController e = exporter();
        e.setExportType(1);
        e.setExportMode(1);
        e.setPrintSinglePages(r.singlePages);
        Result<QString> text = e.exportView(r.view, true);
        ASSERT_TRUE(text.isOk()) << text.status();
        EXPECT_EQ(*text, r.expected);
    }
}

// Which containers an export takes, in which order, and which of their tasks.
TEST_F(ExportTest, ContainersFollowTheListsAndTheirFilters)
{
    Context* zoo = folder(u"Zoo"_s);
    Context* attic = folder(u"Attic"_s);
    Context* bare = folder(u"Bare"_s);
    Context* later = folder(u"Later"_s);
    addTask(u"feed"_s, zoo);
    addTask(u"sweep"_s, attic);
    addTask(u"inbox task"_s, inbox);
    addTask(u"done"_s, bare)->setPrimitiveValue(Task::Attr::done, Value::boolean(true));
    addTask(u"someday"_s, later)->setMaybe(true);
    Project* asleep = project(u"Asleep"_s, false);
    Project* awake = project(u"Zest"_s);
    addTask(u"p1"_s, attic, asleep);
    addTask(u"p2"_s, attic, awake);
    userSet(u"contexts"_s, u"%CONTEXTS%"_s, u"%NAME%[%TASKS%]"_s, u"%NAME%,"_s);
    userSet(u"projects"_s, u"%PROJECTS%"_s, u"%NAME%[%TASKS%]"_s, u"%NAME%,"_s);
    switcher().contextController().setSelectedRecords({zoo, attic});
    switcher().projectController().setSelectedRecords({awake});
    switcher().tableState(TaskView::Contexts).sortByColumnsWithIdentifiers({u"name"_s}, {u"0"_s});
    const struct {
        const char* label;
        TaskView view;
        int mode;
        QString expected;
    } rows[] = {
        // The Inbox first, then by path name; "Later" has no pending task (a maybe is not pending), a
        // done task not cleaned up is; the context list hides the tasks of inactive projects ("p1").
        {"all contexts", TaskView::Contexts, 1, u"Inbox[inbox task,]Attic[sweep,p2,]Bare[done,]Zoo[feed,]"_s},
        {"selected contexts in selection order", TaskView::Contexts, 0, u"Zoo[feed,]Attic[sweep,p2,]"_s},
        {"all projects: active first", TaskView::Projects, 1, u"Zest[p2,]Asleep[p1,]"_s},
        {"selected projects", TaskView::Projects, 0, u"Zest[p2,]"_s},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.label);
        ExportController e = exporter();
        e.setExportType(1);
        e.setExportMode(r.mode);
        Result<QString> text = e.exportView(r.view, true);
        ASSERT_TRUE(text.isOk()) << text.status();
        EXPECT_EQ(*text, r.expected) << text->toStdString();
    }
    switcher().setSearchText(u"SWEEP"_s);
    switcher().updateAllControllerPredicates();
    ExportController e = exporter();
    e.setExportType(1);
    e.setExportMode(0);
    // Zoo's pending task does not pass the search: its block stays, empty.
    EXPECT_EQ(*e.exportContexts(true), u"Zoo[]Attic[sweep,]"_s) << "the search in force narrows the export";
    EXPECT_FALSE(e.exportView(TaskView::Completed, true).isOk());
}

// A missing template fails only where it is first needed.
TEST_F(ExportTest, MissingTemplatesFailWhereTheyAreNeeded)
{
    Context* quiet = folder(u"Quiet"_s);
    addTask(u"pending"_s, quiet);
    switcher().setSearchText(u"no such words"_s); // the list hides it: a block without tasks
    switcher().updateAllControllerPredicates();
    const struct {
        const char* label;
        bool document, block, task;
        bool withContainer;
        bool ok;
    } rows[] = {
        {"all three", true, true, true, true, true},
        {"no document", false, true, true, false, false},
        {"no block, no container", true, false, true, false, true},
        {"no block, a container", true, false, true, true, false},
        {"no task, no task shown", true, true, false, true, true},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.label);
        QDir(userFolder).removeRecursively();
        userSet(u"contexts"_s, r.document ? u"%CONTEXTS%"_s : QString(), r.block ? u"%NAME%%TASKS%"_s : QString(), r.task ? u"%NAME%"_s : QString());
        switcher().contextController().setSelectedRecords(r.withContainer ? std::vector<Record*>{quiet} : std::vector<Record*>{});
        ExportController e = exporter();
        e.setExportType(1);
        const QString out = path(u"out.html"_s);
        QFile::remove(out);
        EXPECT_EQ(e.exportContextsToFile(out, true).isOk(), r.ok);
        EXPECT_EQ(QFile::exists(out), r.ok) << "nothing is written on failure";
    }
}

TEST_F(ExportTest, UserTemplatesWinFileByFile)
{
    addTask(u"Sort the mail"_s, inbox);
    switcher().contextController().selectRecord(inbox);
    writeFile(userFolder + u"/txt/export_txt_contexts_task.txt"_s, u"* %NAME%\n"_s);
    ExportController e = exporter(true);
    e.setExportType(3);
    Result<QString> text = e.exportContexts(true);
    ASSERT_TRUE(text.isOk()) << text.status();
    EXPECT_TRUE(text->startsWith(readFile(u":/templates/txt/export_txt_contexts.txt"_s).section(u'%', 0, 0)));
    EXPECT_TRUE(text->contains(u"Inbox\n* Sort the mail\n"_s)) << text->toStdString();
}
