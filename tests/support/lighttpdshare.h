#pragma once
// A lighttpd WebDAV share on loopback for the tests of the cloud-disk copy.

#include "support/testprocesses.h"

#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QUrl>

inline quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

inline bool waitForPort(quint16 port)
{
    for (int attempt = 0; attempt < 200; ++attempt) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        if (socket.waitForConnected(100))
            return true;
        QThread::msleep(25);
    }
    return false;
}

// A lighttpd WebDAV share on loopback, user "alice" with password "secret".
class LighttpdShare {
public:
    // `maxRequestKilobytes` 0 means no limit.
    bool start(const QString& workDir, const QString& documentRoot, int maxRequestKilobytes = 0)
    {
        const QString program = QStandardPaths::findExecutable(QStringLiteral("lighttpd"), {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/bin")});
        if (program.isEmpty()) {
            m_error = QStringLiteral("lighttpd is not installed");
            return false;
        }
        QDir().mkpath(workDir);
        QDir().mkpath(documentRoot);
        m_port = freePort();
        if (!write(workDir + QStringLiteral("/users"), "alice:secret\n"))
            return false;
        QString conf = QStringLiteral(
            "server.modules = (\"mod_auth\", \"mod_authn_file\", \"mod_webdav\")\n"
            "server.document-root = \"%1\"\n"
            "server.bind = \"127.0.0.1\"\n"
            "server.port = %2\n"
            "server.errorlog = \"%3/error.log\"\n"
            // The tests change files behind the server's back.
            "server.stat-cache-engine = \"disable\"\n"
            "webdav.activate = \"enable\"\n"
            "webdav.is-readonly = \"disable\"\n"
            "auth.backend = \"plain\"\n"
            "auth.backend.plain.userfile = \"%3/users\"\n"
            "auth.require = (\"\" => (\"method\" => \"basic\", \"realm\" => \"vyro\", \"require\" => \"valid-user\"))\n")
            .arg(documentRoot).arg(m_port).arg(workDir);
        if (maxRequestKilobytes > 0)
            conf += QStringLiteral("server.max-request-size = %1\n").arg(maxRequestKilobytes);
        if (!write(workDir + QStringLiteral("/lighttpd.conf"), conf.toUtf8()))
            return false;
        m_process.setProgram(program);
        m_process.setArguments({QStringLiteral("-D"), QStringLiteral("-f"), workDir + QStringLiteral("/lighttpd.conf")});
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        endWithParent(m_process);
        m_process.start();
        if (!m_process.waitForStarted() || !waitForPort(m_port)) {
            m_error = QStringLiteral("lighttpd did not start: ") + QString::fromLocal8Bit(m_process.readAll())
                      + QString::fromLocal8Bit(read(workDir + QStringLiteral("/error.log")));
            stop();
            return false;
        }
        return true;
    }
    void stop()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000))
                m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    ~LighttpdShare() { stop(); }

    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_port)); }
    const QString& error() const { return m_error; }

private:
    bool write(const QString& path, const QByteArray& bytes)
    {
        QFile f(path);
        if (f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size())
            return true;
        m_error = QStringLiteral("cannot write %1: %2").arg(path, f.errorString());
        return false;
    }
    static QByteArray read(const QString& path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

    QProcess m_process;
    quint16 m_port = 0;
    QString m_error;
};

