#pragma once
// A session bus of a test's own, for the services that talk to the desktop over D-Bus.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

// QtDBus needs an application object; the tests share one.
inline void ensureCoreApplication()
{
    if (QCoreApplication::instance())
        return;
    static int argc = 1;
    static char name[] = "platform_tests";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
}

// Runs the event loop until `done` or a generous limit (a safety net, not a measure).
template <class F>
bool waitFor(F done)
{
    QDeadlineTimer limit(5000);
    while (!done() && !limit.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

// A dbus-daemon with the session bus's policy and limits but no activatable services, so that no real
// desktop service starts when a test calls a name nobody owns. Its connections close with it.
class PrivateBus {
public:
    PrivateBus()
    {
        ensureCoreApplication();
        const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
        QFile f(config);
        if (!f.open(QIODevice::WriteOnly))
            return;
        f.write("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
                "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                "<busconfig><type>session</type><listen>unix:tmpdir="
                + m_dir.path().toUtf8()
                + "</listen><auth>EXTERNAL</auth>"
                  "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                  "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
                  "<limit name=\"max_message_size\">1000000000</limit></busconfig>\n");
        f.close();
        m_daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                                                       QStringLiteral("--print-address=1")});
        if (m_daemon.waitForReadyRead(5000))
            m_address = QString::fromLocal8Bit(m_daemon.readLine()).trimmed();
    }
    ~PrivateBus()
    {
        for (const QString& name : m_names)
            QDBusConnection::disconnectFromBus(name);
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    // False when dbus-daemon is missing or did not start: the test is then skipped.
    bool isUp() const { return !m_address.isEmpty(); }

    // A new connection, under NAME or a name of its own; connect().name() is its Qt connection name.
    QDBusConnection connect(QString name = {})
    {
        if (name.isEmpty())
            name = QStringLiteral("private-bus-%1").arg(m_names.size());
        m_names << name;
        return QDBusConnection::connectToBus(m_address, name);
    }

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_address;
    QStringList m_names;
};
