#pragma once
// A Radicale calendar server of a test's own on loopback: user "alice", password "secret", its
// collections in a temporary folder, no configuration of the user's or the system's read, and its
// log (one line per request at level "info") kept in a file a test can read.

#include "support/testprocesses.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>



class RadicaleServer {
public:
    RadicaleServer() = default;
    // With its files in a folder of the caller's choosing (a benchmark puts them in memory).
    explicit RadicaleServer(const QString& parentFolder) : m_dir(parentFolder + QStringLiteral("/radicale-XXXXXX")) {}
    ~RadicaleServer() { stop(); }
    RadicaleServer(const RadicaleServer&) = delete;
    RadicaleServer& operator=(const RadicaleServer&) = delete;

    static QString program() { return QStandardPaths::findExecutable(QStringLiteral("radicale")); }
    // False only when Radicale is not there at all; a test skips then, and fails on any other error.
    static bool isInstalled() { return !program().isEmpty(); }

    bool start()
    {
        m_error.clear();
        if (!isInstalled())
            return fail(QStringLiteral("radicale is not installed"));
        if (!m_dir.isValid())
            return fail(QStringLiteral("no temporary folder: %1").arg(m_dir.errorString()));
        QFile users(m_dir.filePath(QStringLiteral("users")));
        if (!users.open(QIODevice::WriteOnly) || users.write("alice:secret\n") < 0)
            return fail(QStringLiteral("cannot write %1").arg(users.fileName()));
        users.close();
        // The port is free when picked but may be taken before Radicale binds it: try a few.
        for (int attempt = 0; attempt < 3; ++attempt) {
            if (launch(freePort()))
                return true;
        }
        return false;
    }

    QString error() const { return m_error; }
    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_port)); }
    QString homeHref() const { return QStringLiteral("/alice/"); }
    QString storageFolder() const { return m_dir.filePath(QStringLiteral("collections")); }
    QString logText() const
    {
        QFile log(logFile());
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
    }
    // How many requests of `verb` the server logged so far.
    int requestCount(const QString& verb) const { return logText().count(verb + QStringLiteral(" request for")); }

    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }
    // Up again on the same address with the same collections, after stop() or kill().
    bool restart()
    {
        m_error.clear();
        return launch(m_port) || fail(m_error.isEmpty() ? QStringLiteral("radicale did not start again") : m_error);
    }
    // Gone at once, as a crashed or unplugged server: connections are refused from now on.
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QString logFile() const { return m_dir.filePath(QStringLiteral("radicale.log")); }

    bool fail(const QString& reason)
    {
        m_error = reason;
        return false;
    }

    static quint16 freePort()
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        const quint16 port = probe.serverPort();
        probe.close();
        return port;
    }

    bool launch(quint16 port)
    {
        m_port = port;
        const QString folder = m_dir.path();
        const QStringList arguments{
            // No configuration file at all: every setting is here.
            QStringLiteral("--config"), QString(),
            QStringLiteral("--server-hosts"), QStringLiteral("127.0.0.1:%1").arg(port),
            QStringLiteral("--auth-type"), QStringLiteral("htpasswd"),
            QStringLiteral("--auth-htpasswd-filename"), QDir(folder).filePath(QStringLiteral("users")),
            QStringLiteral("--auth-htpasswd-encryption"), QStringLiteral("plain"),
            QStringLiteral("--auth-delay"), QStringLiteral("0"),
            QStringLiteral("--rights-type"), QStringLiteral("owner_only"),
            QStringLiteral("--storage-type"), QStringLiteral("multifilesystem"),
            QStringLiteral("--storage-filesystem-folder"), storageFolder(),
            QStringLiteral("--web-type"), QStringLiteral("none"),
            QStringLiteral("--logging-level"), QStringLiteral("info"),
        };
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("RADICALE_CONFIG"));
        env.insert(QStringLiteral("HOME"), folder);
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), QDir(folder).filePath(QStringLiteral("config")));
        m_process.setProcessEnvironment(env);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.setStandardOutputFile(logFile(), QIODevice::Append);
        // The server ends with the test process, even when that dies first.
        endWithParent(m_process);
        m_process.start(program(), arguments);
        if (!m_process.waitForStarted(5000))
            return fail(QStringLiteral("radicale did not start: %1").arg(m_process.errorString()));

        QDeadlineTimer limit(10000);
        while (!limit.hasExpired()) {
            if (m_process.state() == QProcess::NotRunning)
                return fail(QStringLiteral("radicale ended at start (exit %1); its log:\n%2").arg(m_process.exitCode()).arg(logText()));
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, port);
            if (socket.waitForConnected(200))
                return true;
            QThread::msleep(50);
        }
        kill();
        return fail(QStringLiteral("radicale did not answer on port %1 within 10 s; its log:\n%2").arg(port).arg(logText()));
    }

    QTemporaryDir m_dir;
    QProcess m_process;
    quint16 m_port = 0;
    QString m_error;
};
