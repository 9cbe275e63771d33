#include "support/appfixture.h"

#include "app/preferencedefaults.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "ui/mainwindow.h"
#include "ui/trayicon.h"

#include <QApplication>
#include <QImage>
#include <QMenu>

namespace {

QStringList titles(const QMenu& menu)
{
    QStringList out;
    for (QAction* a : menu.actions())
        if (!a->isSeparator())
            out << a->text();
    return out;
}

} // namespace

using DesktopNoticesTest = AppFixture;

TEST_F(DesktopNoticesTest, AClickOnANoticeShowsItsTaskInItsContext)
{
    Context* work = newContext(QStringLiteral("Work"));
    Task* call = newTask(QStringLiteral("call"), work);
    Task* gone = newTask(QStringLiteral("gone"), work);
    store().processPendingChanges();
    const QString callUri = call->uri();
    const QString goneUri = gone->uri();
    store().deleteObject(gone);
    store().processPendingChanges();

    const struct {
        QString context;
        bool selects;
    } cases[] = {
        {QString(), false},
        {QStringLiteral("not a uri"), false},
        {goneUri, false},
        {work->uri(), false}, // a folder, not a task
        {callUri, true},
    };
    for (const auto& c : cases) {
        views().selectTab(TaskView::Projects);
        views().contextController().selectRecord(views().contextController().inboxContext());
        app->notificationWasClicked(c.context);
        EXPECT_EQ(views().selectedTab() == TaskView::Contexts, c.selects) << c.context.toStdString();
        EXPECT_EQ(views().contextController().selectedObject() == work, c.selects) << c.context.toStdString();
        if (c.selects) {
            EXPECT_EQ(views().contextTasks().selectedObjects(), std::vector<Task*>{call});
        }
    }
}

TEST_F(DesktopNoticesTest, TheQuickTagsMenuListsTheFilledQuickTags)
{
    auto* menu = window().window().findChild<QMenu*>(QStringLiteral("quickTagsMenu"));
    ASSERT_NE(menu, nullptr);
    const struct {
        std::vector<std::pair<int, QStringList>> set;
        QStringList items;
    } cases[] = {
        {{{5, {QStringLiteral("home")}}, {2, {QStringLiteral("phone"), QStringLiteral("urgent")}}},
         {QStringLiteral("(2) phone,urgent"), QStringLiteral("(5) home")}},
        {{{5, {QStringLiteral("home")}}}, {QStringLiteral("(5) home")}},
        {{}, {}},
    };
    for (const auto& c : cases) {
        for (int n = 1; n <= quickTagCount; ++n)
            app->preferences().removeKey(quickTagKey(n));
        for (const auto& [n, tags] : c.set)
            app->preferences().setStringList(quickTagKey(n), tags);
        window().rebuildQuickTagsMenu();
        EXPECT_EQ(titles(*menu), c.items);
        EXPECT_EQ(window().action(QStringLiteral("performQuickTagAction2")) != nullptr, c.items.size() == 2);
    }
}

TEST_F(DesktopNoticesTest, TheTrayMenuAddsToFoldersAndListsLinks)
{
    Context* work = newContext(QStringLiteral("Work"));
    newTask(QStringLiteral("read"), work)->setUrl(QStringLiteral("https://example.org/x#$#file:///home/u/plan.odt"));
    store().processPendingChanges();
    TrayIcon tray(*app);
    tray.refreshMenu();
    auto submenu = [&](const char* name) { return tray.menu().findChild<QMenu*>(QString::fromLatin1(name)); };
    EXPECT_EQ(titles(*submenu("statusContextsMenu")), (QStringList{QStringLiteral("Inbox"), QStringLiteral("Work")}));
    EXPECT_EQ(titles(*submenu("statusWebLinksMenu")), QStringList{QStringLiteral("example.org: read")});
    EXPECT_EQ(titles(*submenu("statusFileLinksMenu")), QStringList{QStringLiteral("plan.odt: read")});
    EXPECT_FALSE(submenu("statusProjectsMenu")->isEnabled()) << "no projects";

    tray.refreshMenu(); // opened again: nothing doubles
    EXPECT_EQ(submenu("statusContextsMenu")->actions().size(), 2);
    submenu("statusContextsMenu")->actions().at(1)->trigger();
    QStringList inWork;
    for (Record* r : work->tasks())
        inWork << static_cast<Task*>(r)->name();
    inWork.sort();
    EXPECT_EQ(inWork, (QStringList{QStringLiteral("New task"), QStringLiteral("read")}));
}

TEST(TrayIconCount, TheCountIsDrawnAboveZeroOnly)
{
    QPixmap plain(32, 32);
    plain.fill(Qt::transparent);
    const QIcon base(plain);
    EXPECT_EQ(TrayIcon::iconWithCount(base, 0).cacheKey(), base.cacheKey());
    EXPECT_EQ(TrayIcon::iconWithCount(base, -3).cacheKey(), base.cacheKey());
    const QColor disc = QApplication::palette().color(QPalette::Highlight);
    const QColor text = QApplication::palette().color(QPalette::HighlightedText);
    for (int count : {1, 42, 1000}) {
        const QImage image = TrayIcon::iconWithCount(base, count).pixmap(64, 64).toImage();
        int discPixels = 0, textPixels = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QColor c = image.pixelColor(x, y);
                discPixels += c == disc;
                textPixels += c == text;
            }
        EXPECT_GT(discPixels, 64 * 64 / 8) << count;
        EXPECT_GT(textPixels, 20) << count << ": the number stands out from the disc";
    }
}
