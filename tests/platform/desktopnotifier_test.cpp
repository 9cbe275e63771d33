#include "platform/desktopnotifier.h"
#include "platform/launcherbadge.h"

#include "support/privatebus.h"

#include <QDBusMessage>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <memory>

namespace {

// A notification service that remembers what it was asked and hands out ids from 7 on.
class FakeNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Call {
        QString app;
        QString summary;
        QStringList actions;
        QVariantMap hints;
        int timeout;
    };
    std::vector<Call> calls;
    uint nextId = 7;

public Q_SLOTS:
    uint Notify(const QString& app, uint, const QString&, const QString& summary, const QString&, const QStringList& actions,
                const QVariantMap& hints, int timeout)
    {
        calls.push_back({app, summary, actions, hints, timeout});
        return nextId++;
    }
};

class NotifierTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!bus.isUp())
            GTEST_SKIP() << "no dbus-daemon";
        service = bus.connect();
        service.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &fake, QDBusConnection::ExportAllSlots);
        ASSERT_TRUE(service.registerService(DesktopNotifier::kService));
    }
    void emitSignal(const QString& name, const QVariantList& args)
    {
        QDBusMessage m = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/Notifications"),
                                                    QStringLiteral("org.freedesktop.Notifications"), name);
        m.setArguments(args);
        service.send(m);
    }

    PrivateBus bus;
    QDBusConnection service{QString()};
    FakeNotifications fake;
};

} // namespace

TEST_F(NotifierTest, OnlyClicksOnOwnNoticesWithAContextAreReported)
{
    DesktopNotifier notifier(bus.connect());
    ASSERT_TRUE(notifier.isAvailable());
    QSignalSpy posted(&notifier, &DesktopNotifier::posted);
    QSignalSpy clicked(&notifier, &DesktopNotifier::clicked);
    notifier.notify(QStringLiteral("Task due"), QStringLiteral("call"), QStringLiteral("VyroTaskReminder"), QStringLiteral("x-coredata://s/task/p1"));
    notifier.notify(QStringLiteral("Task added to Vyro"), QStringLiteral("b"), QStringLiteral("VyroNewTaskAdded"), QString(), true);
    ASSERT_TRUE(waitFor([&] { return posted.size() == 2; }));

    ASSERT_EQ(fake.calls.size(), 2u);
    EXPECT_EQ(fake.calls[0].app, QStringLiteral("Vyro"));
    EXPECT_TRUE(fake.calls[0].actions.contains(QStringLiteral("default")));
    EXPECT_EQ(fake.calls[0].hints.value(QStringLiteral("desktop-entry")).toString(), QStringLiteral("com.quendar.Vyro"));
    EXPECT_EQ(fake.calls[0].hints.value(QStringLiteral("x-vyro-kind")).toString(), QStringLiteral("VyroTaskReminder"));
    EXPECT_EQ(fake.calls[1].hints.value(QStringLiteral("x-vyro-kind")).toString(), QStringLiteral("VyroNewTaskAdded"));
    EXPECT_EQ(fake.calls[1].timeout, 0) << "sticky";

    const struct {
        const char* signal;
        uint id;
        const char* second; // the action, or the closing reason as text
        int clicksAfter;
    } steps[] = {
        {"ActionInvoked", 999, "default", 0}, // another program's notice
        {"ActionInvoked", 7, "other", 0},
        {"ActionInvoked", 8, "default", 0},   // ours, without a context
        {"ActionInvoked", 7, "default", 1},
        {"NotificationClosed", 7, "2", 1},
        {"ActionInvoked", 7, "default", 1},   // closed: the id may be someone else's now
    };
    for (const auto& s : steps) {
        const QString name = QString::fromLatin1(s.signal);
        emitSignal(name, {s.id, name == QLatin1String("ActionInvoked") ? QVariant(QString::fromLatin1(s.second))
                                                                        : QVariant(QString::fromLatin1(s.second).toUInt())});
        // A marker round trip: the signal before it has been delivered once the reply is in.
        notifier.notify(QStringLiteral("marker"), QString(), QString(), QString());
        const qsizetype marks = posted.size() + 1;
        ASSERT_TRUE(waitFor([&] { return posted.size() == marks; }));
        EXPECT_EQ(clicked.size(), s.clicksAfter) << s.signal << " " << s.id << " " << s.second;
    }
    EXPECT_EQ(clicked.at(0).at(0).toString(), QStringLiteral("x-coredata://s/task/p1"));
}

TEST_F(NotifierTest, WithoutAServiceNothingIsSent)
{
    service.unregisterService(DesktopNotifier::kService);
    DesktopNotifier notifier(bus.connect());
    EXPECT_FALSE(notifier.isAvailable());
    notifier.notify(QStringLiteral("Task due"), QStringLiteral("call"), QStringLiteral("VyroTaskReminder"), QString());
    QCoreApplication::processEvents();
    EXPECT_TRUE(fake.calls.empty());
}

namespace {

class BadgeListener : public QObject {
    Q_OBJECT
public:
    std::vector<std::pair<qint64, bool>> updates;
    QString appUri;
public Q_SLOTS:
    void update(const QString& uri, const QVariantMap& properties)
    {
        appUri = uri;
        updates.emplace_back(properties.value(QStringLiteral("count")).toLongLong(),
                             properties.value(QStringLiteral("count-visible")).toBool());
    }
};

} // namespace

TEST_F(NotifierTest, TheLauncherCountIsShownAboveZeroOnly)
{
    BadgeListener listener;
    QDBusConnection listening = bus.connect();
    ASSERT_TRUE(listening.connect(QString(), QString(), QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"),
                                  &listener, SLOT(update(QString, QVariantMap))));
    LauncherBadge badge(bus.connect());
    for (int count : {3, 3, 0, -2, 12})
        badge.setCount(count);
    ASSERT_TRUE(waitFor([&] { return listener.updates.size() >= 3; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(listener.updates, (std::vector<std::pair<qint64, bool>>{{3, true}, {0, false}, {12, true}})) << "a repeated count is not sent";
    EXPECT_EQ(listener.appUri, QStringLiteral("application://com.quendar.Vyro.desktop"));
}

#include "desktopnotifier_test.moc"
