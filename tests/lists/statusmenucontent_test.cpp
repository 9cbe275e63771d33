#include "support/listsfixture.h"

#include "app/preferencedefaults.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/statusmenucontent.h"
#include "store/objectcontext.h"

namespace {

QStringList titles(const std::vector<StatusMenuEntry>& entries)
{
    QStringList out;
    for (const StatusMenuEntry& e : entries)
        out << e.title;
    return out;
}

} // namespace

class StatusMenuContentTest : public ListsFixture {};

TEST_F(StatusMenuContentTest, LinksAreSplitIntoWebAndFileEntries)
{
    const struct {
        QStringList urls;
        QStringList web;
        QStringList files;
    } cases[] = {
        {{QStringLiteral("https://example.org/a?b=c"), QStringLiteral("file:///home/u/plan.odt"), QStringLiteral("file:///tmp/x/notes.txt")},
         {QStringLiteral("example.org: T")},
         {QStringLiteral("plan.odt: T"), QStringLiteral("notes.txt: T")}},
        {{QStringLiteral("relative/path"), QStringLiteral("http://exa mple.org"), QStringLiteral("")}, {}, {}},
        {{QStringLiteral("mailto:someone@example.org"), QStringLiteral("file:///home/u/My%20File.pdf")},
         {QStringLiteral("mailto:someone@example.org: T")},
         {QStringLiteral("My File.pdf: T")}},
    };
    for (const auto& c : cases) {
        Task* t = addTask(QStringLiteral("T"), inbox);
        t->setUrl(Task::urlFromUrls(c.urls));
        context->processPendingChanges();
        const StatusMenuContent content = statusMenuContent(switcher());
        EXPECT_EQ(titles(content.webLinks), c.web) << c.urls.join(u' ').toStdString();
        EXPECT_EQ(titles(content.fileLinks), c.files) << c.urls.join(u' ').toStdString();
        if (!content.fileLinks.empty()) {
            EXPECT_TRUE(content.fileLinks.front().url.isLocalFile());
        }
        context->deleteObject(t);
        context->processPendingChanges();
    }
}

TEST_F(StatusMenuContentTest, FoldersFollowTheirListsAndLinksTheOpenTasksInTheOrderMade)
{
    Context* work = folder(QStringLiteral("work"));
    folder(QStringLiteral("Calls"), work);
    folder(QStringLiteral("Errands"));
    Project* house = project(QStringLiteral("House"));
    Project* paint = project(QStringLiteral("Paint"));
    house->addSubprojectsObject(paint);
    addTask(QStringLiteral("b"), inbox)->setUrl(QStringLiteral("https://b.example/"));
    addTask(QStringLiteral("a"), inbox)->setUrl(QStringLiteral("https://a.example/"));
    addTask(QStringLiteral("done"), inbox)->setUrl(QStringLiteral("https://done.example/"));
    addTask(QStringLiteral("archived"), inbox)->setUrl(QStringLiteral("https://archived.example/"));
    context->processPendingChanges();
    Task* done = static_cast<Task*>(context->allObjects(QStringLiteral("task"))[2]);
    done->setDone(true);
    static_cast<Task*>(context->allObjects(QStringLiteral("task"))[3])->setArchived(true);
    context->processPendingChanges();

    const StatusMenuContent content = statusMenuContent(switcher());
    EXPECT_EQ(titles(content.contexts),
              (QStringList{QStringLiteral("Inbox"), QStringLiteral("Errands"), QStringLiteral("work"), QStringLiteral(" Calls")}));
    EXPECT_EQ(titles(content.projects), (QStringList{QStringLiteral("House"), QStringLiteral(" Paint")}));
    EXPECT_EQ(titles(content.webLinks), (QStringList{QStringLiteral("b.example: b"), QStringLiteral("a.example: a")}));
}

TEST_F(StatusMenuContentTest, ChoosingAFolderAddsANewTaskThere)
{
    Context* work = folder(QStringLiteral("Work"));
    Project* house = project(QStringLiteral("House"));
    Context* gone = folder(QStringLiteral("Gone"));
    context->processPendingChanges();
    const StatusMenuContent content = statusMenuContent(switcher());
    auto entryFor = [](const std::vector<StatusMenuEntry>& entries, const QString& title) {
        return *std::find_if(entries.begin(), entries.end(), [&](const StatusMenuEntry& e) { return e.title == title; });
    };

    chooseStatusMenuEntry(switcher(), entryFor(content.contexts, QStringLiteral("Work")));
    chooseStatusMenuEntry(switcher(), entryFor(content.projects, QStringLiteral("House")));
    context->deleteObject(gone);
    chooseStatusMenuEntry(switcher(), entryFor(content.contexts, QStringLiteral("Gone")));
    chooseStatusMenuEntry(switcher(), StatusMenuEntry{QStringLiteral("x"), nullptr, nullptr, QUrl(QStringLiteral("https://x.example"))});
    context->processPendingChanges();

    auto tasks = context->records(*context->model().entity(u"task"));
    std::vector<Task*> made;
    for (const auto& r : tasks)
        if (!r->isDeleted())
            made.push_back(static_cast<Task*>(r.get()));
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[0]->name(), QStringLiteral("New task"));
    EXPECT_EQ(made[0]->parentContext(), work);
    EXPECT_EQ(made[0]->parentProject(), nullptr);
    EXPECT_EQ(made[0]->priority(), 0);
    EXPECT_FALSE(made[0]->dueDate().isValid());
    EXPECT_EQ(made[1]->name(), QStringLiteral("New task"));
    EXPECT_EQ(made[1]->parentProject(), house);
}

TEST_F(StatusMenuContentTest, QuickTagItemsListTheFilledOnesInOrder)
{
    const struct {
        std::vector<std::pair<int, QStringList>> set;
        std::vector<std::pair<int, QString>> items;
    } cases[] = {
        {{}, {}},
        {{{5, {QStringLiteral("home")}}, {2, {QStringLiteral("phone"), QStringLiteral("urgent")}}},
         {{2, QStringLiteral("(2) phone,urgent")}, {5, QStringLiteral("(5) home")}}},
        {{{9, {QStringLiteral("%1")}}, {1, {}}}, {{9, QStringLiteral("(9) %1")}}},
    };
    for (const auto& c : cases) {
        for (int n = 1; n <= quickTagCount; ++n)
            prefs->removeKey(quickTagKey(n));
        for (const auto& [n, tags] : c.set)
            prefs->setStringList(quickTagKey(n), tags);
        std::vector<std::pair<int, QString>> got;
        for (const QuickTagMenuItem& item : quickTagMenuItems(*prefs))
            got.emplace_back(item.number, item.title);
        EXPECT_EQ(got, c.items);
    }
}
