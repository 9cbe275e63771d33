#include "app/preferences.h"
#include "app/weblinks.h"
#include "ui/dialogs.h"
#include "ui/versioncheckalerts.h"

#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

// Answers the question with a chosen button and records every alert.
struct ScriptedDialogs : Dialogs {
    int answer = 0;
    QStringList shown; // "message|text|buttons"
    void inform(QWidget*, const QString& message, const QString& text) override { shown << message + u'|' + text + QStringLiteral("|OK"); }
    int choose(QWidget*, const QString& message, const QString& text, const QStringList& buttons) override
    {
        shown << message + u'|' + text + u'|' + buttons.join(u',');
        return answer;
    }
};

// Serves `body` as every file.
struct VersionFileServer {
    VersionFileServer()
    {
        server.listen(QHostAddress::LocalHost);
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* socket = server.nextPendingConnection()) {
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    const QByteArray request = socket->readAll();
                    if (!request.contains("\r\n\r\n"))
                        return;
                    requests << QString::fromLatin1(request.left(request.indexOf(' ', 4)));
                    socket->write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) +
                                  "\r\nConnection: close\r\n\r\n" + body);
                    socket->disconnectFromHost();
                });
                QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
        qputenv("VYRO_VERSION_BASE", QStringLiteral("http://127.0.0.1:%1").arg(server.serverPort()).toUtf8());
    }
    ~VersionFileServer() { qputenv("VYRO_VERSION_BASE", "http://127.0.0.1:9"); }
    QTcpServer server;
    QByteArray body;
    QStringList requests; // "GET /path?query"
};

const QString kQuestion = QStringLiteral("New release of Vyro available|Would you like to download it now?|Download now,Ignore,Remind me later");
const QString kNoNewer = QStringLiteral("No newer release available.|Please be patient :-)|OK");

} // namespace

TEST(VersionCheckAlertsTest, AlertsAndAnswers)
{
    QTemporaryDir dir;
    Preferences preferences(dir.filePath(QStringLiteral("prefs.ini")));
    VersionFileServer server;
    const QString local = QStringLiteral(VYRO_VERSION);

    struct Row {
        const char* what;
        QByteArray body;
        bool menu;
        int button;
        QStringList alerts;
        QString remembered; // lastDownloadPromptForVersion afterwards
        bool opensDownload;
    } rows[] = {
        {"same version, menu", local.toUtf8(), true, 0, {kNoNewer}, {}, false},
        {"same version, quiet", local.toUtf8(), false, 0, {}, {}, false},
        {"remind me later", "77.0", false, 2, {kQuestion}, {}, false},
        {"asked again, ignored", "77.0", true, 1, {kQuestion}, QStringLiteral("77.0"), false},
        {"ignored stays quiet, menu too", "77.0", true, 0, {}, QStringLiteral("77.0"), false},
        {"a newer one, downloaded", "78.0", false, 0, {kQuestion}, QStringLiteral("78.0"), true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        server.body = row.body;
        ScriptedDialogs dialogs;
        dialogs.answer = row.button;
        QStringList opened;
        VersionCheckAlerts alerts(preferences, dialogs, nullptr, [&](const QString& url) { opened << url; });
        QEventLoop loop;
        QObject::connect(&alerts, &VersionCheckAlerts::done, &loop, &QEventLoop::quit);
        QTimer::singleShot(30000, &loop, &QEventLoop::quit);
        row.menu ? alerts.checkForNewVersion() : alerts.checkQuietly();
        loop.exec();
        EXPECT_EQ(dialogs.shown, row.alerts);
        EXPECT_EQ(preferences.stringForKey("lastDownloadPromptForVersion"), row.remembered);
        EXPECT_EQ(opened, row.opensDownload ? QStringList{downloadAddress()} : QStringList{});
    }
    // Each check asked for the version file with a query of its own, so that no cache answered it.
    ASSERT_EQ(server.requests.size(), qsizetype(std::size(rows)));
    for (const QString& request : server.requests)
        EXPECT_TRUE(request.startsWith(QLatin1String("GET /download/version.txt?"))) << request.toStdString();
    EXPECT_EQ(QSet<QString>(server.requests.begin(), server.requests.end()).size(), server.requests.size());
}
