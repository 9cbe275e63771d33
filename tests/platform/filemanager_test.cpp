#include "platform/filemanager.h"

#include "support/privatebus.h"

#include <QDBusContext>

#include <gtest/gtest.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// A file manager that remembers what it was asked to show, or refuses.
class FakeFileManager : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    explicit FakeFileManager(bool refuse) : m_refuse(refuse) {}
    QList<QStringList> shown;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString&)
    {
        if (m_refuse) {
            sendErrorReply(QDBusError::AccessDenied, u"no"_s);
            return;
        }
        shown << uris;
    }

private:
    bool m_refuse;
};

} // namespace

TEST(FileManager, RevealsThroughTheServiceOrOpensTheFolder)
{
    PrivateBus bus;
    if (!bus.isUp())
        GTEST_SKIP() << "dbus-daemon did not start";
    enum class Service { Present, Refusing, Absent, NoBus };
    struct Case {
        Service service;
        QString link;
        std::optional<bool> done;   // what the caller is told; nullopt: never told
        QStringList shown;          // what the service was asked to show
        QString opened;             // what was opened instead
    };
    const Case cases[] = {
        {Service::Present, u"file:///home/me/a%20b.txt"_s, true, {u"file:///home/me/a%20b.txt"_s}, {}},
        {Service::Present, u"file:///home/me/Projects/"_s, true, {u"file:///home/me/Projects/"_s}, {}},
        {Service::Refusing, u"file:///home/me/a.txt"_s, false, {}, u"file:///home/me"_s},
        {Service::Absent, u"file:///home/me/a.txt"_s, false, {}, u"file:///home/me"_s},
        {Service::NoBus, u"file:///a.txt"_s, false, {}, u"file:///"_s},
        {Service::Present, u"http://example.com/a.txt"_s, false, {}, {}},
        {Service::Present, u"not a link"_s, false, {}, {}},
    };
    for (const Case& c : cases) {
        const QString server = bus.connect().name();
        const QString client = c.service == Service::NoBus ? u"no-such-connection"_s : bus.connect().name();
        FakeFileManager fake(c.service == Service::Refusing);
        if (c.service == Service::Present || c.service == Service::Refusing) {
            QDBusConnection(server).registerObject(u"/org/freedesktop/FileManager1"_s, &fake, QDBusConnection::ExportAllSlots);
            ASSERT_TRUE(QDBusConnection(server).registerService(u"org.freedesktop.FileManager1"_s));
        }
        QString opened;
        FileManager files(client, [&opened](const QUrl& url) {
            opened = url.toString();
            return true;
        });
        std::optional<bool> done;
        files.reveal(c.link, [&done](bool viaFileManager) { done = viaFileManager; });
        EXPECT_TRUE(waitFor([&] { return done.has_value(); })) << c.link.toStdString();
        EXPECT_EQ(done, c.done) << c.link.toStdString();
        EXPECT_EQ(fake.shown, c.shown.isEmpty() ? QList<QStringList>() : QList<QStringList>{c.shown}) << c.link.toStdString();
        EXPECT_EQ(opened, c.opened) << c.link.toStdString();
        QDBusConnection(server).unregisterService(u"org.freedesktop.FileManager1"_s);
        QDBusConnection(server).unregisterObject(u"/org/freedesktop/FileManager1"_s);
    }
}

TEST(FileManager, TaskLinksStayInsideEverythingElseGoesOut)
{
    struct Case {
        QString link;
        bool taken;
        QString inside;
        QString outside;
    };
    const Case cases[] = {
        {u"vyro://S/task/p1"_s, true, u"vyro://S/task/p1"_s, {}},
        {u"VYRO://S/task/p1"_s, true, u"VYRO://S/task/p1"_s, {}},
        {u"http://example.com"_s, true, {}, u"http://example.com"_s},
        {u"mailto:bob@example.com"_s, true, {}, u"mailto:bob@example.com"_s},
        {u"file:///tmp/a.txt"_s, true, {}, u"file:///tmp/a.txt"_s},
        {QString(), false, {}, {}},
    };
    for (const Case& c : cases) {
        QString inside;
        QString outside;
        FileManager files({}, [&outside](const QUrl& url) {
            outside = url.toString();
            return true;
        });
        EXPECT_EQ(files.open(c.link, [&inside](const QString& link) { inside = link; }), c.taken) << c.link.toStdString();
        EXPECT_EQ(inside, c.inside) << c.link.toStdString();
        EXPECT_EQ(outside, c.outside) << c.link.toStdString();
    }
}

#include "filemanager_test.moc"
