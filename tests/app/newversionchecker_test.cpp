#include "app/newversionchecker.h"
#include "app/preferences.h"
#include "support/logcapture.h"
#include "support/storefixture.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using Answer = VersionCheckResult::Answer;
using Mode = NewVersionChecker::Mode;

void ensureApplication()
{
    static int argc = 1;
    static char name[] = "app_tests";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QCoreApplication(argc, argv);
}

// A web server on loopback that answers every request with `body` (status 200), or 404 with `missing`.
// It records the request lines it got.
class VersionServer {
public:
    VersionServer()
    {
        server.listen(QHostAddress::LocalHost);
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* socket = server.nextPendingConnection()) {
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    request += socket->readAll();
                    if (!request.contains("\r\n\r\n"))
                        return;
                    requestLines << QString::fromLatin1(request.left(request.indexOf("\r\n")));
                    request.clear();
                    const QByteArray status = missing ? "404 Not Found" : "200 OK";
                    socket->write("HTTP/1.1 " + status + "\r\nContent-Type: text/plain\r\nContent-Length: " +
                                  QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
                    socket->disconnectFromHost();
                });
                QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }
    QString base() const { return QStringLiteral("http://127.0.0.1:%1").arg(server.serverPort()); }

    QTcpServer server;
    QByteArray body;
    bool missing = false;
    QByteArray request;
    QStringList requestLines;
};

class NewVersionCheckerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ensureApplication();
        prefs = std::make_unique<Preferences>(dir.filePath(QStringLiteral("prefs.ini")));
    }
    void TearDown() override { unsetenv("VYRO_VERSION_BASE"); }

    VersionCheckResult run(Mode mode, const QString& base, QStringList* log = nullptr)
    {
        qputenv("VYRO_VERSION_BASE", base.toUtf8());
        NewVersionChecker checker(*prefs, QStringLiteral("1.4"));
        VersionCheckResult result;
        bool done = false;
        QEventLoop loop;
        QObject::connect(&checker, &NewVersionChecker::finished, [&](const VersionCheckResult& r) {
            result = r;
            done = true;
            loop.quit();
        });
        const QStringList lines = loggedBy([&] {
            EXPECT_TRUE(checker.check(mode, 5000));
            EXPECT_FALSE(checker.check(mode, 5000)); // one check at a time
            // A guard against a hang of the test itself, far above the checker's own limit.
            QTimer::singleShot(30000, &loop, &QEventLoop::quit);
            loop.exec();
        });
        EXPECT_TRUE(done);
        if (log)
            *log = lines;
        return result;
    }

    QTemporaryDir dir;
    std::unique_ptr<Preferences> prefs;
};

} // namespace

// The decision alone, for every combination that leads somewhere else.
TEST(NewVersionDecision, Table)
{
    const QString none; // never answered
    struct Row {
        const char* what;
        Mode mode;
        std::optional<QByteArray> body;
        QString lastPrompt;
        Answer expected;
    } rows[] = {
        {"equal, menu", Mode::Menu, QByteArray("1.4"), none, Answer::NoNewer},
        {"equal, quiet", Mode::Quiet, QByteArray("1.4"), none, Answer::Nothing},
        {"older on the server counts", Mode::Quiet, QByteArray("1.3"), none, Answer::AskToDownload},
        {"no trimming", Mode::Menu, QByteArray("1.4\n"), none, Answer::AskToDownload},
        {"answered before", Mode::Menu, QByteArray("1.5"), QStringLiteral("1.5"), Answer::Nothing},
        {"answered another", Mode::Quiet, QByteArray("1.6"), QStringLiteral("1.5"), Answer::AskToDownload},
        {"answered the empty text", Mode::Menu, QByteArray("1.6"), QStringLiteral(""), Answer::AskToDownload},
        {"empty, menu", Mode::Menu, QByteArray(), none, Answer::NoNewer},
        {"unread, quiet", Mode::Quiet, std::nullopt, none, Answer::Nothing},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const VersionCheckResult result = NewVersionChecker::decide(row.mode, row.body, QStringLiteral("1.4"), row.lastPrompt);
        EXPECT_EQ(result.answer, row.expected);
        if (row.expected == Answer::AskToDownload) {
            EXPECT_EQ(result.serverVersion.toUtf8(), *row.body);
        }
    }
}

TEST(NewVersionDecision, LogLinesOfEachMode)
{
    const auto menu = loggedBy([] { NewVersionChecker::decide(Mode::Menu, QByteArray("2.0"), QStringLiteral("1.4"), QStringLiteral("1.9")); });
    EXPECT_EQ(menu, QStringList({"Net version string", "2.0", "Bundle version string", "1.4", "Last prompt version string", "1.9"}));
    const auto quiet = loggedBy([] { NewVersionChecker::decide(Mode::Quiet, QByteArray("2.0"), QStringLiteral("1.4"), QString()); });
    EXPECT_TRUE(quiet.isEmpty());
    const auto unread = loggedBy([] { NewVersionChecker::decide(Mode::Quiet, std::nullopt, QStringLiteral("1.4"), QString()); });
    EXPECT_EQ(unread, QStringList({"Could not read the version status!"}));
}

TEST_F(NewVersionCheckerTest, AgainstALocalServer)
{
    VersionServer server;
    ASSERT_TRUE(server.server.isListening());
    struct Row {
        const char* what;
        QByteArray body;
        bool missing;
        Mode mode;
        Answer expected;
    } rows[] = {
        {"equal", "1.4", false, Mode::Menu, Answer::NoNewer},
        {"different", "1.5b", false, Mode::Menu, Answer::AskToDownload},
        {"different, quiet", "1.5b", false, Mode::Quiet, Answer::AskToDownload},
        {"empty", "", false, Mode::Menu, Answer::NoNewer},
        {"no such file", "1.9", true, Mode::Menu, Answer::NoNewer},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        server.body = row.body;
        server.missing = row.missing;
        const VersionCheckResult result = run(row.mode, server.base());
        EXPECT_EQ(result.answer, row.expected);
    }
    // Every request asked for the version file with a query that no cache can have answered before.
    ASSERT_EQ(server.requestLines.size(), qsizetype(std::size(rows)));
    QSet<QString> distinct;
    for (const QString& line : server.requestLines) {
        EXPECT_TRUE(line.startsWith(QLatin1String("GET /download/version.txt?"))) << line.toStdString();
        distinct.insert(line);
    }
    EXPECT_EQ(distinct.size(), server.requestLines.size());
}

TEST_F(NewVersionCheckerTest, UnreachableServerLogsAndSaysNothingNew)
{
    quint16 port;
    {
        QTcpServer closed;
        closed.listen(QHostAddress::LocalHost);
        port = closed.serverPort();
    }
    QStringList log;
    const VersionCheckResult result = run(Mode::Quiet, QStringLiteral("http://127.0.0.1:%1").arg(port), &log);
    EXPECT_EQ(result.answer, Answer::Nothing);
    EXPECT_EQ(log, QStringList({"Checking for new version...", "Could not read the version status!"}));
}

TEST_F(NewVersionCheckerTest, AnswersAreRememberedExceptRemindLater)
{
    VersionServer server;
    server.body = "2.0";
    NewVersionChecker checker(*prefs, QStringLiteral("1.4"));
    EXPECT_FALSE(checker.answer(NewVersionChecker::AlertAnswer::RemindLater, QStringLiteral("2.0")));
    EXPECT_EQ(run(Mode::Quiet, server.base()).answer, Answer::AskToDownload);
    EXPECT_FALSE(checker.answer(NewVersionChecker::AlertAnswer::Ignore, QStringLiteral("2.0")));
    EXPECT_EQ(run(Mode::Quiet, server.base()).answer, Answer::Nothing);
    EXPECT_EQ(run(Mode::Menu, server.base()).answer, Answer::Nothing);
    server.body = "2.1";
    EXPECT_EQ(run(Mode::Menu, server.base()).answer, Answer::AskToDownload);
    EXPECT_TRUE(checker.answer(NewVersionChecker::AlertAnswer::DownloadNow, QStringLiteral("2.1")));
    EXPECT_EQ(prefs->stringForKey("lastDownloadPromptForVersion"), QStringLiteral("2.1"));
}
