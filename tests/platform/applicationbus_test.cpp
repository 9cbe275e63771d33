// The instance's bus object and the client against a private bus daemon, with a handler that records.

#include "platform/applicationbus.h"
#include "platform/instanceclient.h"

#include "support/privatebus.h"

#include <QDBusMessage>
#include <QThread>

#include <gtest/gtest.h>

#include <mutex>

namespace {

class RecordingHandler : public ApplicationBusHandler {
public:
    void activate() override { record(QStringLiteral("activate")); }
    void open(const QStringList& uris) override { record(QStringLiteral("open ") + uris.join(QLatin1Char(' '))); }
    void activateAction(const QString& name) override { record(QStringLiteral("action ") + name); }
    QString newInboxTask(const QVariantMap& userInfo) override
    {
        record(QStringLiteral("task ") + userInfo.keys().join(QLatin1Char(',')));
        return QStringLiteral("x-coredata://s/task/p1");
    }
    void putTextToInbox(const QString& text) override { record(QStringLiteral("text %1").arg(text.size())); }
    void openLink(const QString& link) override { record(QStringLiteral("link ") + link); }
    HostedCommandOutput runCommand(const HostedCommandRequest& request) override
    {
        record(QStringLiteral("command ") + request.arguments.join(QLatin1Char(' ')));
        lastInput = request.standardInput;
        return output;
    }

    QStringList takeCalls()
    {
        std::lock_guard guard(mutex);
        return std::exchange(calls, {});
    }
    HostedCommandOutput output;
    QByteArray lastInput;

private:
    void record(const QString& call)
    {
        std::lock_guard guard(mutex);
        calls << call;
    }
    std::mutex mutex;
    QStringList calls;
};

class ApplicationBusTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!privateBus.isUp())
            GTEST_SKIP() << "no dbus-daemon";
        ASSERT_TRUE(privateBus.connect(QStringLiteral("server")).isConnected());
        ASSERT_TRUE(privateBus.connect(QStringLiteral("client")).isConnected());
        bus = std::make_unique<ApplicationBus>(handler, QStringLiteral("server"));
        ASSERT_EQ(bus->claim(), ApplicationBus::Claim::Claimed) << bus->errorString().toStdString();
    }

    void TearDown() override { bus.reset(); }

    // A blocking call from the client side runs on another thread while this one serves the object.
    template <typename F>
    auto fromClient(F call)
    {
        decltype(call()) result{};
        QThread* thread = QThread::create([&] { result = call(); });
        thread->start();
        while (!thread->isFinished())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        thread->wait();
        delete thread;
        return result;
    }

    QDBusMessage send(const QString& interface, const QString& member, const QVariantList& arguments)
    {
        QDBusMessage m = QDBusMessage::createMethodCall(QString(kApplicationBusName), QString(kApplicationBusPath), interface, member);
        m.setArguments(arguments);
        return fromClient([&] { return QDBusConnection(QStringLiteral("client")).call(m, QDBus::Block, 20000); });
    }

    PrivateBus privateBus;
    RecordingHandler handler;
    std::unique_ptr<ApplicationBus> bus;
};

TEST_F(ApplicationBusTest, ASecondClaimFindsTheNameTaken)
{
    RecordingHandler other;
    ApplicationBus second(other, QStringLiteral("client"));
    EXPECT_EQ(second.claim(), ApplicationBus::Claim::Taken);
    EXPECT_TRUE(fromClient([] { return InstanceClient(QStringLiteral("client")).isRunning(); }));
    bus.reset();
    EXPECT_FALSE(fromClient([] { return InstanceClient(QStringLiteral("client")).isRunning(); }));
}

TEST_F(ApplicationBusTest, RequestsAreCheckedBeforeTheHandlerSeesThem)
{
    const QString app = QStringLiteral("org.freedesktop.Application");
    const QString own = QString(kApplicationBusInterface);
    const QString invalid = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");
    const QVariantMap nested{{QStringLiteral("deep"), QStringLiteral("x")}};
    struct Case {
        QString interface;
        const char* member;
        QVariantList arguments;
        QString error; // empty: a reply
        QString call;  // what the handler got; empty: nothing
    };
    const Case cases[] = {
        {app, "Activate", {QVariantMap()}, {}, QStringLiteral("activate")},
        {app, "Activate", {QStringLiteral("x")}, invalid, {}},
        {app, "Open", {QStringList{QStringLiteral("vyro://a"), QStringLiteral("file:///b")}, QVariantMap()}, {}, QStringLiteral("open vyro://a file:///b")},
        {app, "Open", {QStringLiteral("vyro://a"), QVariantMap()}, invalid, {}},
        {app, "ActivateAction", {QStringLiteral("quick-add"), QVariant::fromValue(QVariantList()), QVariantMap()}, {}, QStringLiteral("action quick-add")},
        {app, "ActivateAction", {QStringLiteral("format-disk"), QVariant::fromValue(QVariantList()), QVariantMap()}, invalid, {}},
        {own, "NewInboxTask", {QVariantMap{{QStringLiteral("name"), QStringLiteral("n")}, {QStringLiteral("count"), 3},
                                           {QStringLiteral("nested"), QVariant::fromValue(nested)}}}, {}, QStringLiteral("task count,name")},
        {own, "NewInboxTask", {QVariantMap{{QStringLiteral("name"), QString(ApplicationBus::kMaxTextLength + 1, QLatin1Char('x'))}}}, invalid, {}},
        {own, "NewInboxTask", {QStringLiteral("name")}, invalid, {}},
        {own, "PutTextToInbox", {QString(1000, QLatin1Char('t'))}, {}, QStringLiteral("text 1000")},
        {own, "PutTextToInbox", {QString(10 << 20, QLatin1Char('t'))}, invalid, {}},
        {own, "OpenLink", {5}, invalid, {}},
        {own, "OpenLink", {QStringLiteral("vyro://s/task/p9")}, {}, QStringLiteral("link vyro://s/task/p9")},
        {own, "Shutdown", {}, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"), {}},
        {own, "RunCommand", {QStringList{QStringLiteral("vyro")}, QStringLiteral("/"), QStringLiteral("/d")}, invalid, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.member);
        const QDBusMessage answer = send(c.interface, QLatin1String(c.member), c.arguments);
        if (c.error.isEmpty())
            EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << answer.errorMessage().toStdString();
        else
            EXPECT_EQ(answer.errorName(), c.error) << answer.errorMessage().toStdString();
        EXPECT_EQ(handler.takeCalls(), c.call.isEmpty() ? QStringList() : QStringList{c.call});
    }
}

// A dump of a large store is far over what one bus message may carry.
TEST_F(ApplicationBusTest, CommandsCarryInputAndOutputOfAnySize)
{
    QByteArray big(80 << 20, Qt::Uninitialized);
    for (qsizetype i = 0; i < big.size(); ++i)
        big[i] = char('a' + i % 26);
    handler.output = {3, big, QByteArrayLiteral("vyro: partly\n")};
    const QByteArray input(3 << 20, 'i');
    const auto output = fromClient([&] {
        return InstanceClient(QStringLiteral("client")).runCommand({{QStringLiteral("vyro"), QStringLiteral("dump")}, QStringLiteral("/w"), QStringLiteral("/d/Vyro.sql"), input});
    });
    ASSERT_TRUE(output.has_value());
    EXPECT_EQ(output->status, 3);
    EXPECT_TRUE(output->standardOutput == big);
    EXPECT_EQ(output->standardError, QByteArrayLiteral("vyro: partly\n"));
    EXPECT_TRUE(handler.lastInput == input);
    EXPECT_EQ(handler.takeCalls(), QStringList{QStringLiteral("command vyro dump")});

    handler.output = {0, {}, {}};
    const auto empty = fromClient([&] { return InstanceClient(QStringLiteral("client")).runCommand({{QStringLiteral("vyro")}, {}, {}, {}}); });
    ASSERT_TRUE(empty.has_value());
    EXPECT_TRUE(empty->standardOutput.isEmpty() && empty->standardError.isEmpty());
}

TEST_F(ApplicationBusTest, WithoutAnInstanceTheClientSaysSo)
{
    bus.reset();
    InstanceClient client(QStringLiteral("client"));
    EXPECT_FALSE(fromClient([&] { return client.activateAction(QStringLiteral("quick-add")); }));
    EXPECT_FALSE(fromClient([&] { return client.runCommand({{QStringLiteral("vyro"), QStringLiteral("dump")}, {}, {}, {}}).has_value(); }));
    EXPECT_TRUE(handler.takeCalls().isEmpty());
}

} // namespace
