#include "exchange/clouddiskaccount.h"

#include "support/testprocesses.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <optional>

namespace {

// A session bus of the test's own with a gnome-keyring whose login keyring is unlocked, in a
// temporary home: the user's own keyring is never touched.
class PrivateKeyring {
public:
    bool start()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon")).isEmpty()
            || QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty())
            return fail(QStringLiteral("gnome-keyring-daemon or dbus-daemon is not installed"));
        QFile conf(m_dir.filePath(QStringLiteral("bus.conf")));
        if (!conf.open(QIODevice::WriteOnly))
            return fail(QStringLiteral("no temporary folder"));
        conf.write("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
                   "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n<busconfig><type>session</type>"
                   "<listen>unix:tmpdir=" + m_dir.path().toUtf8() + "</listen><auth>EXTERNAL</auth>"
                   "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                   "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
        conf.close();
        endWithParent(m_bus);
        m_bus.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--config-file=") + conf.fileName(), QStringLiteral("--nofork"),
                                                    QStringLiteral("--print-address=1")});
        if (!m_bus.waitForReadyRead(5000))
            return fail(QStringLiteral("dbus-daemon did not start"));
        m_address = QString::fromLocal8Bit(m_bus.readLine()).trimmed();

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_address);
        env.insert(QStringLiteral("HOME"), m_dir.path());
        env.insert(QStringLiteral("XDG_DATA_HOME"), m_dir.filePath(QStringLiteral("data")));
        QDir().mkpath(m_dir.filePath(QStringLiteral("runtime")));
        QFile::setPermissions(m_dir.filePath(QStringLiteral("runtime")), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_dir.filePath(QStringLiteral("runtime")));
        m_keyring.setProcessEnvironment(env);
        // The password for the new login keyring comes on standard input, whole before the daemon reads.
        endWithParent(m_keyring);
        m_keyring.start(QStringLiteral("/bin/sh"),
                        {QStringLiteral("-c"), QStringLiteral("printf test-password | exec gnome-keyring-daemon --foreground --components=secrets --unlock")});
        if (!m_keyring.waitForStarted())
            return fail(QStringLiteral("gnome-keyring-daemon did not start"));
        // Ready when the login keyring is the default collection.
        QDeadlineTimer limit(10000);
        while (!limit.hasExpired()) {
            QProcess ask;
            ask.setProcessEnvironment(env);
            ask.start(QStringLiteral("gdbus"), {QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("-d"),
                                                QStringLiteral("org.freedesktop.secrets"), QStringLiteral("-o"),
                                                QStringLiteral("/org/freedesktop/secrets"), QStringLiteral("-m"),
                                                QStringLiteral("org.freedesktop.Secret.Service.ReadAlias"), QStringLiteral("default")});
            ask.waitForFinished(5000);
            const QByteArray said = ask.readAllStandardOutput() + ask.readAllStandardError();
            if (said.contains("collection/login"))
                return true;
            m_error = QString::fromLocal8Bit(said);
            QThread::msleep(100);
        }
        return fail(QStringLiteral("the keyring did not come up on a private bus (%1): ").arg(m_keyring.state() == QProcess::Running ? QStringLiteral("running") : QStringLiteral("exited")) + QString::fromLocal8Bit(m_keyring.readAllStandardError() + m_keyring.readAllStandardOutput()) + m_error);
    }
    ~PrivateKeyring()
    {
        for (QProcess* p : {&m_keyring, &m_bus}) {
            if (p->state() != QProcess::NotRunning) {
                p->terminate();
                if (!p->waitForFinished(3000))
                    p->kill();
                p->waitForFinished(3000);
            }
        }
    }
    const QString& address() const { return m_address; }
    const QString& error() const { return m_error; }

private:
    bool fail(const QString& why)
    {
        m_error = why;
        return false;
    }
    QTemporaryDir m_dir;
    QProcess m_bus;
    QProcess m_keyring;
    QString m_address;
    QString m_error;
};

Result<QString> readPassword(const CloudDiskAccount& account)
{
    std::optional<Result<QString>> answer;
    QEventLoop loop;
    QTimer::singleShot(30000, &loop, &QEventLoop::quit); // a guard against a hang, not a measurement
    readCloudDiskPassword(account, [&](Result<QString> r) {
        answer = std::move(r);
        loop.quit();
    });
    if (!answer)
        loop.exec();
    return answer.value_or(Result<QString>(Status::ioError(QStringLiteral("no answer"))));
}

// Runs in a child process on the private keyring's bus (see the test below): the keyring library's
// connection ends its process when the bus goes away, so the bus must outlive the process that used it.
TEST(CloudDiskPassword, DISABLED_InsideAPrivateSession)
{
    ensureApplication();
    qunsetenv("VYRO_WEBDAV_PASSWORD");
    const CloudDiskAccount alice{QStringLiteral("https://dav.example/"), QStringLiteral("alice"), QString()};
    const CloudDiskAccount bob{QStringLiteral("https://dav.example/"), QStringLiteral("bob"), QString()};
    std::optional<Status> written;
    QEventLoop loop;
    writeCloudDiskPassword(alice, QStringLiteral("s3cret"), [&](Status s) {
        written = s;
        loop.quit();
    });
    if (!written)
        loop.exec();
    ASSERT_TRUE(written && written->isOk()) << (written ? written->toString().toStdString() : "no answer");

    struct Case {
        const char* name;
        CloudDiskAccount account;
        const char* environment; // nullptr: unset
        std::optional<QString> expected; // nullopt: not found
    } cases[] = {
        {"stored for this user and server", alice, nullptr, QStringLiteral("s3cret")},
        {"another user of the same server", bob, nullptr, std::nullopt},
        {"the environment wins", alice, "from-env", QStringLiteral("from-env")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.environment)
            qputenv("VYRO_WEBDAV_PASSWORD", c.environment);
        else
            qunsetenv("VYRO_WEBDAV_PASSWORD");
        const Result<QString> password = readPassword(c.account);
        if (c.expected) {
            ASSERT_TRUE(password.isOk()) << password.status().toString().toStdString();
            EXPECT_EQ(*password, *c.expected);
        } else {
            EXPECT_TRUE(!password.isOk() && password.status().isNotFound()) << password.status().toString().toStdString();
        }
    }
}

TEST(CloudDiskPassword, KeptInTheKeyringByAccountAndOverriddenByTheEnvironment)
{
    ensureApplication();
    PrivateKeyring keyring;
    if (!keyring.start())
        GTEST_SKIP() << "keyring test skipped: " << keyring.error().toStdString();
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), keyring.address());
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--gtest_also_run_disabled_tests"),
                 QStringLiteral("--gtest_filter=CloudDiskPassword.DISABLED_InsideAPrivateSession")});
    ASSERT_TRUE(child.waitForFinished(60000));
    const QString output = QString::fromLocal8Bit(child.readAll());
    EXPECT_EQ(child.exitStatus(), QProcess::NormalExit) << output.toStdString();
    EXPECT_EQ(child.exitCode(), 0) << output.toStdString();
    EXPECT_TRUE(output.contains(QLatin1String("[  PASSED  ] 1 test"))) << output.toStdString();
}

} // namespace
