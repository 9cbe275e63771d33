#include "support/listsfixture.h"
#include "support/logcapture.h"

#include "capture/inboxservices.h"
#include "capture/quicksilverobserver.h"
#include "lists/contexttasksarraycontroller.h"

#include <QDir>
#include <QFile>
#include <QUrl>


using namespace Qt::StringLiterals;

namespace {

QString fileURL(const QString& path) { return QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded); }

} // namespace

class InboxRequestsTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        errands = folder(u"Errands"_s);
        garden = project(u"Garden"_s);
        outside = folder(u"Outside"_s);
        garden->setDefaultContext(outside);
        project(u"Plain"_s);
        QFile(path(u"a b.txt"_s)).open(QIODevice::WriteOnly);
        QDir(path(u"home"_s)).mkpath(u"."_s);
        QFile(path(u"home/list.txt"_s)).open(QIODevice::WriteOnly);
        m_home = qgetenv("HOME");
        qputenv("HOME", path(u"home"_s).toUtf8());
    }
    void TearDown() override
    {
        qputenv("HOME", m_home);
        ListsFixture::TearDown();
    }

    Task* notify(const QVariantMap& userInfo)
    {
        QuickSilverObserver observer(switcher().contextTasks(), *prefs);
        return observer.observerNotification(userInfo);
    }

    Context* errands = nullptr;
    Context* outside = nullptr;
    Project* garden = nullptr;
    QByteArray m_home;
};

TEST_F(InboxRequestsTest, NotificationsBecomeTasks)
{
    struct Case {
        QVariantMap userInfo;
        QString name;
        QString url;
        Context* context;
        QString project = {};
        qint64 priority = 3;
    };
    const QString spaced = path(u"a b.txt"_s);
    const Case cases[] = {
        {{{u"name"_s, u"  http://www.example.com/page?q=1  "_s}}, u"www.example.com"_s, u"http://www.example.com/page?q=1"_s, inbox},
        {{{u"name"_s, u"HTTP://Example.COM/x"_s}}, u"example.com"_s, u"http://example.com/x"_s, inbox},
        // Only the plain web scheme is taken as an address; the secure one is read as a task line.
        {{{u"name"_s, u"https://example.com"_s}}, u"https"_s, QString(), inbox},
        {{{u"name"_s, u"Read"_s}, {u"url"_s, u"http://a.example/b/../c"_s}}, u"Read"_s, u"http://a.example/c"_s, inbox},
        {{{u"name"_s, u"@errands Read"_s}, {u"url"_s, u"http://a.example/"_s}}, u"@errands Read"_s, u"http://a.example/"_s, inbox},
        {{{u"name"_s, u"Doc"_s}, {u"file"_s, spaced}}, u"Doc"_s, fileURL(spaced), inbox},
        {{{u"name"_s, u"Doc"_s}, {u"url"_s, u"http://u.example"_s}, {u"file"_s, spaced}}, u"Doc"_s, u"http://u.example"_s, inbox},
        // An existing file is named by its URL's last component, escapes and all.
        {{{u"name"_s, u"  "_s + spaced + u" "_s}}, u"a%20b.txt"_s, fileURL(spaced), inbox},
        {{{u"name"_s, u"/no/such/file.txt"_s}}, u"/no/such/file.txt"_s, QString(), inbox},
        // The home folder counts for the file test only; the link is made from the name as written.
        {{{u"name"_s, u"~/list.txt"_s}}, u"list.txt"_s, fileURL(QDir::currentPath() + u"/~/list.txt"_s), inbox},
        {{{u"name"_s, u"~/none.txt"_s}}, u"~/none.txt"_s, QString(), inbox},
        {{{u"name"_s, u"@errands call Bob!!"_s}}, u"call Bob"_s, QString(), errands, QString(), 1},
        {{{u"name"_s, u"[Garden] weed"_s}}, u"weed"_s, QString(), outside, u"Garden"_s},
        {{{u"name"_s, u"@errands [Garden] weed"_s}}, u"weed"_s, QString(), errands, u"Garden"_s},
        {{{u"name"_s, u"[Plain] weed"_s}}, u"weed"_s, QString(), inbox, u"Plain"_s},
        {{{u"name"_s, u"\tcall  "_s}}, u"\tcall"_s, QString(), inbox},
        // Values of another type count as absent; the model names a task without a name.
        {{{u"name"_s, 42}}, u"New task"_s, QString(), inbox},
        {{{u"name"_s, u"http://x.example"_s}, {u"url"_s, 5}, {u"file"_s, QStringList{u"/tmp"_s}}}, u"x.example"_s, u"http://x.example"_s, inbox},
        {{}, u"New task"_s, QString(), inbox},
    };
    prefs->setBool(u"showGUIForQSActions"_s, false);
    for (const Case& c : cases) {
        const QString label = c.userInfo.value(u"name"_s).toString();
        Task* task = notify(c.userInfo);
        ASSERT_NE(task, nullptr) << label.toStdString();
        EXPECT_EQ(task->name(), c.name) << label.toStdString();
        EXPECT_EQ(task->url(), c.url) << label.toStdString();
        EXPECT_EQ(task->parentContext(), c.context) << label.toStdString();
        EXPECT_EQ(task->parentProject() ? task->parentProject()->name() : QString(), c.project) << label.toStdString();
        EXPECT_EQ(task->priority(), c.priority) << label.toStdString();
        EXPECT_FALSE(context->hasChanges()) << label.toStdString();
    }
    EXPECT_EQ(host.notifications.size(), std::size(cases));
}

TEST_F(InboxRequestsTest, NotificationLogsAndShowsByPreference)
{
    prefs->setBool(u"showGUIForQSActions"_s, true);
    const QStringList lines = loggedBy([&] { notify({{u"name"_s, u"  plan  "_s}}); });
    ASSERT_GE(lines.size(), 2);
    EXPECT_EQ(lines.mid(0, 2), QStringList({u"Received notification..."_s, u"plan"_s}));
    EXPECT_TRUE(host.notifications.empty());
}

TEST_F(InboxRequestsTest, OddNotificationsMakeNoTaskOrAHarmlessOne)
{
    // A line that the task syntax cannot read makes no task.
    EXPECT_EQ(notify({{u"name"_s, u"@home#next week"_s}}), nullptr);
    const QString huge(2'000'000, u'x');
    const QVariantMap odd[] = {
        {{u"name"_s, huge}},
        {{u"name"_s, u"http://"_s + huge}},
        {{u"name"_s, u"http://[::1"_s}},
        {{u"name"_s, u"x"_s}, {u"url"_s, u"::::"_s}},
        {{u"name"_s, u"x"_s}, {u"file"_s, QString()}},
        {{u"name"_s, u"x"_s}, {u"file"_s, u"\0/../\xFF"_s}},
        {{u"name"_s, u"{"_s}},
    };
    for (const QVariantMap& userInfo : odd)
        EXPECT_NE(notify(userInfo), nullptr);
}

TEST_F(InboxRequestsTest, ServiceTextBecomesAShownInboxTask)
{
    ContextTasksArrayController& tasks = switcher().contextTasks();
    EXPECT_EQ(putServiceStringToVyroInbox(tasks, QString()), nullptr);
    Task* task = putServiceStringToVyroInbox(tasks, u"line one\nline two"_s);
    ASSERT_NE(task, nullptr);
    EXPECT_EQ(task->name(), u"New task"_s);
    EXPECT_EQ(task->content(), u"line one\nline two"_s);
    EXPECT_EQ(task->parentContext(), inbox);
    EXPECT_TRUE(host.notifications.empty());
    EXPECT_TRUE(context->hasChanges()) << "not saved";
}

TEST_F(InboxRequestsTest, OpenedFilesAreNamedByTheirLastComponent)
{
    struct Case {
        QString path;
        QString name;
        QString url;
    };
    const Case cases[] = {
        {u"/tmp/report.pdf"_s, u"report.pdf"_s, u"/tmp/report.pdf"_s},
        // The path is read as URL text as it stands: a space makes it no URL.
        {u"/tmp/my report.pdf"_s, u"my report.pdf"_s, QString()},
        {u"/tmp/folder/"_s, u"folder"_s, u"/tmp/folder/"_s},
        {u"/"_s, u"/"_s, u"/"_s},
    };
    ContextTasksArrayController& tasks = switcher().contextTasks();
    for (const Case& c : cases) {
        Task* task = openFile(tasks, c.path);
        ASSERT_NE(task, nullptr) << c.path.toStdString();
        EXPECT_EQ(task->name(), c.name) << c.path.toStdString();
        EXPECT_EQ(task->url(), c.url) << c.path.toStdString();
        EXPECT_EQ(task->parentContext(), inbox);
        EXPECT_EQ(task->priority(), 0);
    }
    inbox->setIsInbox(false);
    EXPECT_EQ(openFile(tasks, u"/tmp/report.pdf"_s), nullptr);
}
