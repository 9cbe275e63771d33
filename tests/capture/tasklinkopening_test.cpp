#include "support/listsfixture.h"
#include "support/logcapture.h"

#include "capture/urlcontrollers.h"
#include "lists/archivedtasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "model/archivecategory.h"
#include "store/objecturi.h"



using namespace Qt::StringLiterals;

class TaskLinkOpeningTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        home = folder(u"Home"_s);
        garden = project(u"Garden"_s);
        category = context->insertNewObject<ArchiveCategory>(u"archiveCategory"_s);
        category->setName(u"2026"_s);
        inProject = addTask(u"weed"_s, home, garden);
        alone = addTask(u"call"_s, home);
        archived = addTask(u"old"_s, home);
        archived->setParentContext(nullptr);
        archived->setArchived(true);
        archived->setParentArchiveCategory(category);
        gone = addTask(u"gone"_s, home);
        ASSERT_TRUE(context->save().isOk());
        goneLink = link(gone);
        context->deleteObject(gone);
    }

    QString link(const Record* record) const { return taskLinkFromObjectURI(context->uriForRecord(*record)); }

    // Where the views stand: the view shown, and the first selected folder and task of its lists.
    QString where()
    {
        TabViewController& v = switcher();
        const auto name = [](const auto* record) { return record ? record->name() : u"-"_s; };
        switch (v.selectedTab()) {
        case TaskView::Contexts:
            return u"contexts "_s + name(v.contextController().selectedObject()) + u" "_s + name(v.contextTasks().selectedObject());
        case TaskView::Projects:
            return u"projects "_s + name(v.projectController().selectedObject()) + u" "_s + name(v.projectTasks().selectedObject());
        case TaskView::Archive:
            return u"archive "_s + name(v.archiveCategoryController().selectedObject()) + u" "_s + name(v.archivedTasks().selectedObject());
        default:
            return u"other"_s;
        }
    }

    Context* home = nullptr;
    Project* garden = nullptr;
    ArchiveCategory* category = nullptr;
    Task* inProject = nullptr;
    Task* alone = nullptr;
    Task* archived = nullptr;
    Task* gone = nullptr;
    QString goneLink;
};

TEST_F(TaskLinkOpeningTest, LinksOpenTheirTaskInTheRightView)
{
    struct Case {
        TaskView shown;
        QString url;
        QString expected; // where() afterwards; the views stay where they were when it does not resolve
    };
    const QString other = formatObjectURI(u"00000000-0000-0000-0000-000000000000"_s, u"task"_s, 1);
    const Case cases[] = {
        {TaskView::Contexts, link(inProject), u"contexts Home weed"_s},
        {TaskView::Projects, link(inProject), u"projects Garden weed"_s},
        {TaskView::Projects, link(alone), u"contexts Home call"_s},
        {TaskView::Completed, link(alone), u"contexts Home call"_s},
        {TaskView::Projects, link(archived), u"archive 2026 old"_s},
        {TaskView::Contexts, link(alone).toUpper().replace(u"/TASK/P"_s, u"/task/p"_s), u"contexts Home call"_s},
        {TaskView::Completed, goneLink, u"other"_s},
        {TaskView::Completed, link(home), u"other"_s},
        {TaskView::Completed, taskLinkFromObjectURI(other), u"other"_s},
        {TaskView::Completed, context->uriForRecord(*alone), u"other"_s},
        {TaskView::Completed, u"vyro:"_s, u"other"_s},
        {TaskView::Completed, u"vyro://"_s, u"other"_s},
        {TaskView::Completed, u"vyro://x/task/pabc"_s, u"other"_s},
        {TaskView::Completed, link(alone) + u"/extra"_s, u"other"_s},
        {TaskView::Completed, u"vyro://"_s + QString(100'000, u'/'), u"other"_s},
        {TaskView::Completed, u"http://example.com"_s, u"other"_s},
        {TaskView::Completed, QString(), u"other"_s},
    };
    for (const Case& c : cases) {
        switcher().selectTab(c.shown);
        handleGetURL(switcher(), c.url);
        EXPECT_EQ(where(), c.expected) << c.url.left(80).toStdString();
    }
}

TEST_F(TaskLinkOpeningTest, TheServiceTakesOnlyTextThatBeginsWithTheScheme)
{
    struct Case {
        QString text;
        QString expected;
    };
    const Case cases[] = {
        {link(alone), u"contexts Home call"_s},
        {u"VYRO"_s + link(alone).mid(4), u"contexts Home call"_s},
        {u" "_s + link(alone), u"other"_s},
        {context->uriForRecord(*alone), u"other"_s},
        {u"vyro"_s, u"other"_s},
    };
    for (const Case& c : cases) {
        switcher().selectTab(TaskView::Completed);
        openVyroLinkAndSwitchToItem(switcher(), c.text);
        EXPECT_EQ(where(), c.expected) << c.text.toStdString();
    }
}

TEST_F(TaskLinkOpeningTest, ArchivedTaskWithoutCategoryStillComesForward)
{
    archived->setParentArchiveCategory(nullptr);
    EXPECT_TRUE(AppURLController(switcher()).handleURL(link(archived), false));
    EXPECT_EQ(switcher().selectedTab(), TaskView::Archive);
    EXPECT_EQ(switcher().archiveCategoryController().selectedObject(), nullptr);
}

TEST_F(TaskLinkOpeningTest, EditorLinksAreOnlyLogged)
{
    struct Case {
        QString url;
        QStringList logged;
    };
    const Case cases[] = {
        {u"xcode:///src/a.cpp#10,20"_s, {u"///src/a.cpp"_s, u"10"_s, u"20"_s}},
        {u"XCode://a#1,2,3"_s, {u"//a"_s, u"1"_s, u"2"_s}},
        {u"textwrangler:///notes.txt#5,9"_s, {u"///notes.txt"_s, u"5"_s, u"9"_s}},
        {u"xcode:///src/a.cpp"_s, {}},
        {u"textwrangler:///notes.txt#5"_s, {}},
        {u"ftp://example.com#1,2"_s, {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(loggedBy([&] { handleGetURL(switcher(), c.url); }), c.logged) << c.url.toStdString();
    }
    EXPECT_EQ(switcher().selectedTab(), TaskView::Contexts);
}
