#include "support/modelfixture.h"

#include "capture/quicktypeincontroller.h"
#include "capture/tasknameanalyzer.h"
#include "store/log.h"

#include <cstdio>

namespace {

// Dates are read by their own reader (tested on its own); here a fake one makes the cases readable:
// "d<n>" is the n-th of December, anything else reads nothing.
std::optional<QDateTime> fakeDate(const QString& text)
{
    if (text.size() >= 2 && text.startsWith(QLatin1Char('d')) && text.mid(1).toInt() > 0)
        return QDateTime(QDate(2026, 12, text.mid(1).toInt()), QTime(0, 0));
    return std::nullopt;
}

struct Expected {
    const char* line;
    const char* name;
    const char* content = "";
    int priority = 3;
    const char* context = nullptr;
    const char* project = nullptr;
    const char* tags = nullptr;
    int start = 0; // day of December, 0: none
    int due = 0;
};

} // namespace

class TaskNameAnalyzerTest : public ModelFixture {
protected:
    void SetUp() override
    {
        ModelFixture::SetUp();
        newContext(QStringLiteral("Calls"));
        newContext(QStringLiteral("Homework"));
        newContext(QStringLiteral("home"));
        newProject(QStringLiteral("Holiday"));
        newProject(QStringLiteral(" Home  base"));
        newProject(QStringLiteral("Garden"));
    }
};

TEST_F(TaskNameAnalyzerTest, EveryStepAndItsBoundaries)
{
    const Expected cases[] = {
        {"Call Bob", "Call Bob"},
        {"  Call Bob  ", "  Call Bob  "},
        {"@home", "@home"},
        {"@home call", "call", "", 3, "Homework"},
        {" @home call", " @home call"},
        {"@zz call", "call"},
        {"Buy milk @home", "Buy milk @home"},
        {"Write report #d5", "Write report", "", 3, nullptr, nullptr, nullptr, 0, 5},
        {"Write report #d1, d5", "Write report", "", 3, nullptr, nullptr, nullptr, 1, 5},
        {"Write report #d1,", "Write report", "", 3, nullptr, nullptr, nullptr, 1, 0},
        {"Write report #, d5", "Write report", "", 3, nullptr, nullptr, nullptr, 0, 5},
        {"Write report #d1, d2, d5", "Write report", "", 3, nullptr, nullptr, nullptr, 0, 5},
        {"#d5", "", "", 3, nullptr, nullptr, nullptr, 0, 5},
        {"Fix bug: see #12", "Fix bug", "see"},
        {"Plan trip [Hol] {travel,summer}: book flights!", "Plan trip", "book flights!", 3, nullptr, "Holiday", "travel,summer"},
        {"Plan trip! : details", "Plan trip", "details", 2},
        {"Really?!", "Really?", "", 2},
        {"Go!! now?", "Go!! now", "", 1},
        {"Buy!! milk", "Buy!! milk", "", 1},
        {"Call mom !", "Call mom ", "", 2},
        {"Maybe later??", "Maybe later", "", 5},
        {"Maybe?", "Maybe", "", 4},
        {"[ Home ]", "", "", 3, nullptr, " Home  base"},
        {"[g*n] dig", "dig", "", 3, nullptr, "Garden"},
        {"[Nothing] x", "x"},
        {"a {b", "a {b"},
        {"a }b{", "a }b{"},
        {"x {} y", "x y", "", 3, nullptr, nullptr, ""},
        {"a {x} b {y}", "a b {y}", "", 3, nullptr, nullptr, "x"},
        {"Meet at 10:30", "Meet at 10", "30"},
        {"@cal  Ring [gar] {t}: note!! #d3", "Ring", "note!!", 3, "Calls", "Garden", "t", 0, 3},
        {"tab\tkept ", "tab\tkept "},
    };
    TaskNameAnalyzer analyzer(*context, fakeDate);
    for (const Expected& e : cases) {
        SCOPED_TRACE(e.line);
        auto parsed = analyzer.parseTaskName(QString::fromUtf8(e.line));
        ASSERT_TRUE(parsed.isOk()) << parsed.status();
        EXPECT_EQ(parsed->name, QString::fromUtf8(e.name));
        EXPECT_EQ(parsed->content, QString::fromUtf8(e.content));
        EXPECT_EQ(parsed->priority, e.priority);
        EXPECT_EQ(parsed->context ? parsed->context->name() : QString(), e.context ? QString::fromUtf8(e.context) : QString());
        EXPECT_EQ(parsed->project ? parsed->project->name() : QString(), e.project ? QString::fromUtf8(e.project) : QString());
        EXPECT_EQ(parsed->tags.has_value(), e.tags != nullptr);
        if (e.tags && parsed->tags) {
            EXPECT_EQ(*parsed->tags, QString::fromUtf8(e.tags));
        }
        EXPECT_EQ(parsed->startDate.has_value() ? parsed->startDate->date().day() : 0, e.start);
        EXPECT_EQ(parsed->dueDate.has_value() ? parsed->dueDate->date().day() : 0, e.due);
    }
}

TEST_F(TaskNameAnalyzerTest, TwoLinesCannotBeRead)
{
    TaskNameAnalyzer analyzer(*context, fakeDate);
    for (const char* line : {"@home#next week", " @home call #d1", "@h#x y"}) {
        auto parsed = analyzer.parseTaskName(QString::fromUtf8(line));
        EXPECT_FALSE(parsed.isOk()) << line;
    }
    // The first space at the very end of what is left is still inside it.
    EXPECT_TRUE(analyzer.parseTaskName(QStringLiteral("@home #d1")).isOk());
}

TEST_F(TaskNameAnalyzerTest, TheTextsOfEachPartAreKeptFoundOrNot)
{
    struct Texts {
        const char* line;
        const char* context;
        const char* project;
        const char* start;
        const char* due;
    };
    const Texts cases[] = {
        {"Call Bob", nullptr, nullptr, nullptr, nullptr},
        {"@zz Plan [Nope] #soon, d2", "zz", "Nope", "soon", "d2"},
        {"@home call [ Ho ] #d1", "home", " Ho ", nullptr, "d1"},
        {"@home", nullptr, nullptr, nullptr, nullptr},
        {"x #", nullptr, nullptr, nullptr, ""},
        {"x #,", nullptr, nullptr, nullptr, nullptr},
        {"x # , later ", nullptr, nullptr, nullptr, "later"},
        {"Fix bug: see #12", nullptr, nullptr, nullptr, "12"},
    };
    auto same = [](const std::optional<QString>& actual, const char* expected) {
        return expected ? actual == QString::fromUtf8(expected) : !actual.has_value();
    };
    TaskNameAnalyzer analyzer(*context, fakeDate);
    for (const Texts& e : cases) {
        SCOPED_TRACE(e.line);
        auto parsed = analyzer.parseTaskName(QString::fromUtf8(e.line));
        ASSERT_TRUE(parsed.isOk()) << parsed.status();
        EXPECT_TRUE(same(parsed->contextName, e.context)) << parsed->contextName.value_or(QStringLiteral("(none)")).toStdString();
        EXPECT_TRUE(same(parsed->projectName, e.project)) << parsed->projectName.value_or(QStringLiteral("(none)")).toStdString();
        EXPECT_TRUE(same(parsed->startDateText, e.start)) << parsed->startDateText.value_or(QStringLiteral("(none)")).toStdString();
        EXPECT_TRUE(same(parsed->dueDateText, e.due)) << parsed->dueDateText.value_or(QStringLiteral("(none)")).toStdString();
    }
}

TEST_F(TaskNameAnalyzerTest, TheTraceInTheLog)
{
    std::FILE* log = std::tmpfile();
    setLogSink(log);
    static_cast<void>(TaskNameAnalyzer(*context, fakeDate).parseTaskName(QStringLiteral("@zz Plan {t} [Nope]: go! #d1, d2")));
    setLogSink(nullptr);
    std::rewind(log);
    QFile f;
    f.open(log, QIODevice::ReadOnly);
    const QStringList lines = QString::fromUtf8(f.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    f.close();
    std::fclose(log);
    EXPECT_EQ(lines, QStringList({
                         "---------", "> '@zz Plan {t} [Nope]: go! #d1, d2'", "DatePart 'd1, d2'", "Start date 'd1'", "Due date 'd2'",
                         "> '@zz Plan {t} [Nope]: go!'", "ContextName 'zz'", "No context found for @name", "> 'Plan {t} [Nope]: go!'",
                         "Tags 't'", "> 'Plan [Nope]: go!'", "> 'Plan [Nope]: go!'", "ProjectName 'Nope'",
                         "No project found for [name], trying to match [name*]", "No project found for [name*]", "> 'Plan : go!'",
                         "TaskName 'Plan'", "TaskContent 'go!'", "> 'Plan'", "TaskPriority: 3", "---------",
                     }));
}

TEST_F(TaskNameAnalyzerTest, QuickTypeInMakesTheTask)
{
    Context* inbox = newContext(QStringLiteral("Inbox"));
    inbox->setIsInbox(true);
    Project* holiday = static_cast<Project*>(context->allObjects(QStringLiteral("project"))[0]);
    Context* calls = static_cast<Context*>(context->allObjects(QStringLiteral("context"))[0]);
    holiday->setDefaultContext(calls);
    holiday->setDefaultTags(QStringLiteral("travel"));
    preferences[QStringLiteral("setStartDateToTodayForNewTasks")] = true;
    save();

    QuickTypeInController quick(*context);
    auto plain = quick.quickTypeInDone(QStringLiteral("Buy stamps!"));
    ASSERT_TRUE(plain.isOk());
    EXPECT_EQ((*plain)->parentContext(), inbox);
    EXPECT_EQ((*plain)->priority(), 2);
    EXPECT_EQ((*plain)->startDate(), DateAnchors::today(now()));
    EXPECT_EQ((*plain)->effort(), 1);
    EXPECT_TRUE((*plain)->newInContext());
    EXPECT_FALSE(context->hasChanges()) << "saved";

    auto inProject = quick.quickTypeInDone(QStringLiteral("Book hotel [hol]"));
    ASSERT_TRUE(inProject.isOk());
    EXPECT_EQ((*inProject)->parentContext(), calls) << "the project's default context";
    EXPECT_EQ((*inProject)->tags(), QStringLiteral("travel"));
    EXPECT_EQ((*inProject)->positionInProject(), 1);

    EXPECT_EQ(*quick.quickTypeInDone(QString()), nullptr);
    EXPECT_FALSE(quick.quickTypeInDone(QStringLiteral("@home#x y")).isOk());
    EXPECT_EQ(context->countForEntity(QStringLiteral("task")), 2);
}

// The index stands in for "name BEGINSWITH[c] %@" and "name LIKE[c] %@" fetches: it must give the
// same first record for every text.
TEST_F(TaskNameAnalyzerTest, NameIndexAnswersAsTheFetchWould)
{
    for (const char* name : {"home", "Home office", "HOME", "hom", "Émile", "émile's", "Straße", "a", "", "b", "home", "Ho"})
        newContext(QString::fromUtf8(name));
    NameIndex index(*context, QStringLiteral("context"));
    auto first = [&](const char* format, const QString& text) -> Record* {
        FetchRequest request(QStringLiteral("context"), Predicate::fromFormat(QLatin1String(format), {text}));
        auto found = context->executeFetchRequest(request);
        return found->empty() ? nullptr : found->front();
    };
    for (const char* text : {"home", "HOME", "ho", "h", "", "émile", "ÉMILE'S", "straße", "zz", "a", "b", "homes", "Home office"}) {
        const QString t = QString::fromUtf8(text);
        EXPECT_EQ(index.firstWithPrefix(t), first("name BEGINSWITH[c] %@", t)) << text;
        EXPECT_EQ(index.firstEqual(t), first("name LIKE[c] %@", t)) << text;
    }
    // A change to the store is seen at the next lookup.
    Context* fresh = newContext(QStringLiteral("Zebra"));
    EXPECT_EQ(index.firstWithPrefix(QStringLiteral("zeb")), fresh);
    context->deleteObject(fresh);
    EXPECT_EQ(index.firstWithPrefix(QStringLiteral("zeb")), nullptr);
}

// The date rows again, read by the real natural-language reader under the fixed clock
// (Sunday 22 November 2026).
TEST_F(TaskNameAnalyzerTest, DatesThroughTheNaturalLanguageReader)
{
    struct Row {
        const char* line;
        const char* name;
        QDate start, due;
    };
    const Row rows[] = {
        {"Write report #tomorrow", "Write report", {}, {2026, 11, 23}},
        {"Write report #today, next friday", "Write report", {2026, 11, 22}, {2026, 11, 27}},
        {"#tomorrow", "", {}, {2026, 11, 23}},
        {"Fix bug: see #12", "Fix bug", {}, {}},
        {"Trip #Jan 5, 2027", "Trip", {2027, 1, 5}, {}},
        {"Call #monday,", "Call", {2026, 11, 23}, {}},
    };
    TaskNameAnalyzer analyzer(*context);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        auto parsed = analyzer.parseTaskName(QString::fromUtf8(row.line));
        ASSERT_TRUE(parsed.isOk());
        EXPECT_EQ(parsed->name, QString::fromUtf8(row.name));
        EXPECT_EQ(parsed->startDate ? parsed->startDate->date() : QDate(), row.start);
        EXPECT_EQ(parsed->dueDate ? parsed->dueDate->date() : QDate(), row.due);
        if (parsed->dueDate) {
            EXPECT_EQ(parsed->dueDate->time(), QTime(0, 0)) << "a date without a time starts the day, as \"Today\" does";
        }
    }
}
