#include "support/storefixture.h"

#include "store/datafilelock.h"

#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <csignal>
#include <functional>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using DataFileLockTest = StoreFixture;

QByteArray contentOf(const QString& file)
{
    QFile f(file);
    f.open(QIODevice::ReadOnly);
    return f.readAll();
}

QByteArray ownContent()
{
    return QByteArray::number(qint64(::getpid())) + '\n' + QSysInfo::machineHostName().toUtf8() + '\n';
}

// Runs `child` in a forked process and answers what it returned (up to 4 KiB). With `pid`, the child
// stays (holding whatever it holds) until killed, and its pid goes to `pid`.
QByteArray inChild(const std::function<QByteArray()>& child, pid_t* pid = nullptr)
{
    int fds[2];
    if (::pipe(fds) != 0)
        return "pipe failed";
    const pid_t forked = ::fork();
    if (forked == 0) {
        ::close(fds[0]);
        const QByteArray out = child() + '\n';
        [[maybe_unused]] const ssize_t n = ::write(fds[1], out.constData(), size_t(out.size()));
        if (pid) // stays, holding what it holds, until killed
            for (;;)
                ::pause();
        ::_exit(0);
    }
    ::close(fds[1]);
    char buffer[4096];
    ssize_t n = 0, got;
    while (n < ssize_t(sizeof buffer) && (got = ::read(fds[0], buffer + n, sizeof buffer - size_t(n))) > 0) {
        n += got;
        if (pid && buffer[n - 1] == '\n')
            break;
    }
    ::close(fds[0]);
    if (pid)
        *pid = forked;
    else
        ::waitpid(forked, nullptr, 0);
    return QByteArray(buffer, int(n)).trimmed();
}

QByteArray tryToLock(const QString& dataFile)
{
    auto lock = DataFileLock::acquire(dataFile);
    return lock ? QByteArray("locked") : lock.status().toString().toUtf8();
}

TEST_F(DataFileLockTest, ALeftoverLockFileNeverKeepsAnyoneOut)
{
    context.reset();
    const QString lockFile = DataFileLock::lockFilePath(dataFilePath());
    EXPECT_EQ(lockFile, dataFilePath() + QStringLiteral(".lock"));
    const QByteArray leftovers[] = {
        "",
        "\n\n",
        "0\n",
        "garbage",
        QByteArray("\xff\xfe\x00\x01", 4),
        "999999999\nsomewhere-else\n", // a holder that is gone
        QByteArray::number(qint64(::getpid())) + "\nthis-host\n", // names us, but we hold nothing
        QByteArray(100000, 'x'),
    };
    for (const QByteArray& leftover : leftovers) {
        SCOPED_TRACE(leftover.left(40).toStdString());
        QFile f(lockFile);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(leftover);
        f.close();
        auto lock = DataFileLock::acquire(dataFilePath());
        ASSERT_TRUE(lock.isOk()) << lock.status();
        EXPECT_EQ(contentOf(lockFile), ownContent());
        lock = Status::notFound(QStringLiteral("released"));
        EXPECT_EQ(contentOf(lockFile), QByteArray());
    }
    // A store opens over a leftover too.
    QFile f(lockFile);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.close();
    reopen();
    EXPECT_TRUE(context->hasStore());
}

TEST_F(DataFileLockTest, AnotherProcessIsRefusedAndToldWhoHoldsTheFile)
{
    // The fixture's context holds the data file.
    const QByteArray refused = inChild([&] { return tryToLock(dataFilePath()); });
    EXPECT_TRUE(refused.startsWith("Busy: The data file ")) << refused.constData();
    const QByteArray holder = "in use by another Vyro process (pid " + QByteArray::number(qint64(::getpid())) + " on "
        + QSysInfo::machineHostName().toUtf8() + "). Quit it first.";
    EXPECT_TRUE(refused.endsWith(holder)) << refused.constData();

    // A holder whose lock file says nothing useful is still a holder.
    QFile f(DataFileLock::lockFilePath(dataFilePath()));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write("garbled");
    f.close();
    const QByteArray anonymous = inChild([&] { return tryToLock(dataFilePath()); });
    EXPECT_TRUE(anonymous.endsWith("is in use by another Vyro process. Quit it first.")) << anonymous.constData();

    // Within this process the file is held as well.
    EXPECT_EQ(tryToLock(dataFilePath()).left(6), "Busy: ");
    context.reset();
    EXPECT_EQ(inChild([&] { return tryToLock(dataFilePath()); }), "locked");
}

TEST_F(DataFileLockTest, TheHoldEndsWithTheProcessHowever)
{
    context.reset();
    pid_t child = 0;
    const QByteArray held = inChild([&] {
        static std::unique_ptr<DataFileLock> kept; // never released: the process is killed
        auto lock = DataFileLock::acquire(dataFilePath());
        if (!lock)
            return lock.status().toString().toUtf8();
        kept = std::move(*lock);
        return QByteArray("held");
    }, &child);
    ASSERT_EQ(held, "held");
    ASSERT_GT(child, 0);
    const QByteArray refused = tryToLock(dataFilePath());
    EXPECT_TRUE(refused.contains("(pid " + QByteArray::number(qint64(child)) + " on ")) << refused.constData();

    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    // The dead holder's name is still in the file; the kernel has let go all the same.
    EXPECT_TRUE(contentOf(DataFileLock::lockFilePath(dataFilePath())).startsWith(QByteArray::number(qint64(child)) + '\n'));
    EXPECT_EQ(tryToLock(dataFilePath()), "locked");
}

TEST_F(DataFileLockTest, TheDataFileAndItsLockAreTheOwnersOnly)
{
    context.reset();
    const mode_t old = ::umask(0);
    const QString fresh = path(QStringLiteral("fresh/Vyro.sql"));
    QDir().mkpath(path(QStringLiteral("fresh")));
    {
        ObjectContext other(managedObjectModel());
        ASSERT_TRUE(other.addSqliteStore(fresh).isOk());
        other.insertNewObject(QStringLiteral("context"));
        ASSERT_TRUE(other.save().isOk());
        for (const QString& file : {fresh, DataFileLock::lockFilePath(fresh)}) {
            struct stat info {};
            ASSERT_EQ(::stat(QFile::encodeName(file).constData(), &info), 0) << file;
            EXPECT_EQ(info.st_mode & 0777, 0600u) << file;
        }
    }
    ::umask(old);
}

// The cheap question a second process asks before deciding to hand its work over. A wrong "held"
// sends commands to a program that does not exist; a wrong "free" makes them fail as busy.
TEST_F(DataFileLockTest, HeldElsewhereAnswersForEveryStateOfTheLockFile)
{
    const QString other = dataFilePath() + QStringLiteral(".other");
    pid_t holder = 0;
    struct Case {
        const char* state;
        std::function<void()> arrange;
        bool held;
    };
    const Case cases[] = {
        {"no lock file at all", [] {}, false},
        {"a lock file left by a crash", [&] { QFile f(DataFileLock::lockFilePath(other)); f.open(QIODevice::WriteOnly); f.write("123\nhost\n"); }, false},
        {"held by another process", [&] { inChild([&] { auto l = DataFileLock::acquire(other); l.value().release(); return QByteArray("held"); }, &holder); }, true},
        {"released by that process", [&] { ::kill(holder, SIGKILL); ::waitpid(holder, nullptr, 0); }, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.state);
        c.arrange();
        EXPECT_EQ(DataFileLock::isHeldElsewhere(other), c.held);
        // Asking takes no hold: the file can be taken right after.
        if (!c.held) {
            EXPECT_EQ(tryToLock(other), QByteArray("locked"));
        }
    }
    // This process's own store counts too: the lock is per open file.
    EXPECT_TRUE(DataFileLock::isHeldElsewhere(dataFilePath()));
    // Asking creates nothing.
    EXPECT_FALSE(DataFileLock::isHeldElsewhere(dataFilePath() + QStringLiteral(".never")));
    EXPECT_FALSE(QFileInfo::exists(DataFileLock::lockFilePath(dataFilePath() + QStringLiteral(".never"))));
}

} // namespace
