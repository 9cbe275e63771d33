// The cloud-disk copy of a generated data file of 100,000 tasks (--tasks=N for another size) through a
// lighttpd WebDAV share on loopback with basic authentication: a whole upload (consistent copy, PUT to
// a scratch name, MOVE into place) and a whole download (PROPFIND, GET, data-file check, cloud-disk
// backup, rename into place). Needs lighttpd with mod_webdav; exits with a note without it.
//
//   vyro_clouddisk_bench [--tasks=N] [benchmark flags]

#include "benchmain.h"
#include "storegenerator.h"

#include "app/backups.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/dotmacsynccontroller.h"
#include "exchange/webdavclouddisk.h"
#include "store/log.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>

namespace {

int g_taskCount = 100000;

struct Share {
    QTemporaryDir dir;
    QProcess server;
    QUrl url;

    Share()
    {
        const QString lighttpd = QStandardPaths::findExecutable(QStringLiteral("lighttpd"), {QStringLiteral("/usr/sbin")});
        if (lighttpd.isEmpty()) {
            std::fprintf(stderr, "lighttpd is not installed\n");
            std::exit(77);
        }
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        const quint16 port = probe.serverPort();
        probe.close();
        QDir().mkpath(dir.filePath(QStringLiteral("root")));
        QFile users(dir.filePath(QStringLiteral("users")));
        users.open(QIODevice::WriteOnly);
        users.write("alice:secret\n");
        users.close();
        QFile conf(dir.filePath(QStringLiteral("lighttpd.conf")));
        conf.open(QIODevice::WriteOnly);
        conf.write(QStringLiteral(
                       "server.modules = (\"mod_auth\", \"mod_authn_file\", \"mod_webdav\")\n"
                       "server.document-root = \"%1/root\"\nserver.bind = \"127.0.0.1\"\nserver.port = %2\n"
                       "server.errorlog = \"%1/error.log\"\nwebdav.activate = \"enable\"\nwebdav.is-readonly = \"disable\"\n"
                       "auth.backend = \"plain\"\nauth.backend.plain.userfile = \"%1/users\"\n"
                       "auth.require = (\"\" => (\"method\" => \"basic\", \"realm\" => \"vyro\", \"require\" => \"valid-user\"))\n")
                       .arg(dir.path())
                       .arg(port)
                       .toUtf8());
        conf.close();
        server.start(lighttpd, {QStringLiteral("-D"), QStringLiteral("-f"), conf.fileName()});
        for (int i = 0; i < 200; ++i) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, port);
            if (socket.waitForConnected(100))
                break;
            QThread::msleep(25);
        }
        url = QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(port));
    }
    ~Share()
    {
        server.terminate();
        server.waitForFinished(5000);
    }
};

struct Fixture {
    Share share;
    QTemporaryDir dir;
    QString dataFile = dir.filePath(QStringLiteral("Vyro.sql"));
    Preferences preferences{dir.filePath(QStringLiteral("prefs.ini"))};

    Fixture()
    {
        GeneratorOptions options;
        options.tasks = g_taskCount;
        if (Status s = generateStore(dataFile, options); !s.isOk()) {
            std::fprintf(stderr, "cannot generate the store: %s\n", qPrintable(s.toString()));
            std::exit(1);
        }
    }

    DotMacSyncController::Outcome run(bool upload)
    {
        DotMacSyncController controller(dataFile, preferences,
                                        std::make_unique<WebDavCloudDisk>(share.url, QStringLiteral("alice"), QStringLiteral("secret")),
                                        [](const QString&, const QString& message) {
                                            std::fprintf(stderr, "%s\n", qPrintable(message));
                                        });
        QEventLoop loop;
        auto outcome = DotMacSyncController::Outcome::Failed;
        auto done = [&](DotMacSyncController::Outcome o) {
            outcome = o;
            loop.quit();
        };
        if (upload)
            controller.uploadDataToDotMac(done);
        else
            controller.downloadDataFromDotMac(done);
        loop.exec();
        return outcome;
    }
};

Fixture& fixture()
{
    static Fixture f;
    return f;
}

void quietly(benchmark::State& state, bool upload)
{
    Fixture& f = fixture();
    std::FILE* devNull = std::fopen("/dev/null", "w");
    setLogSink(devNull);
    if (!upload && f.run(true) != DotMacSyncController::Outcome::Transferred)
        state.SkipWithError("the first upload failed");
    for (auto _ : state) {
        if (!upload)
            f.preferences.setBool(PreferenceKey::dotMacWaitingForFirstSync, true); // download whatever the dates
        if (f.run(upload) != DotMacSyncController::Outcome::Transferred) {
            state.SkipWithError("the transfer failed");
            break;
        }
    }
    setLogSink(nullptr);
    std::fclose(devNull);
    state.counters["MB"] = double(QFileInfo(f.dataFile).size()) / (1024.0 * 1024.0);
}

void BM_CloudDiskUpload(benchmark::State& state) { quietly(state, true); }
void BM_CloudDiskDownload(benchmark::State& state) { quietly(state, false); }
BENCHMARK(BM_CloudDiskUpload)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_CloudDiskDownload)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    return runBenchmarkMain(argc, argv, g_taskCount);
}
