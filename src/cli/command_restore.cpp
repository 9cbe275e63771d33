#include "app/backups.h"
#include "cli/commandline.h"
#include "store/datafilelock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>

// Replaces the data file only while this process holds its lock: the running program (which the
// command line would otherwise hand the command to) must never find its file replaced under it.
int runRestore(CommandEnvironment& env)
{
    if (env.arguments().size() != 1 || env.arguments().first().startsWith(QLatin1String("--")))
        return env.fail(QStringLiteral("restore takes one FILE"), ExitUsage);
    if (env.hosted())
        return env.fail(QStringLiteral("Vyro is running with this data file; quit it, then restore"));
    const QString source = env.absolutePath(env.arguments().first());
    if (Status s = checkIsDataFile(source); !s.isOk())
        return env.fail(QStringLiteral("nothing was restored: ") + s.message(), ExitUsage);
    const QString dataFile = env.dataFilePath();
    if (QFileInfo(source).canonicalFilePath() == QFileInfo(dataFile).canonicalFilePath())
        return env.fail(QStringLiteral("%1 is the data file itself").arg(source), ExitUsage);

    auto lock = DataFileLock::acquire(dataFile);
    if (!lock) {
        if (lock.status().code() == Status::Code::Busy)
            return env.fail(QStringLiteral("the data file %1 is in use (%2); quit Vyro, then restore")
                                .arg(QDir::toNativeSeparators(dataFile), lock.status().message()));
        return env.fail(lock.status().message());
    }
    env.openLog();
    // The backup is copied in beside the data file first: it may be the kept file itself, which the
    // next step replaces.
    const QDir folder = QFileInfo(dataFile).dir();
    const QString keep = folder.filePath(beforeRestoreBackupFileName);
    const QString staged = folder.filePath(QStringLiteral("Vyro.sql.restoring"));
    if (Status s = copyDataFile(source, staged); !s.isOk())
        return env.fail(QStringLiteral("nothing was restored: ") + s.message());
    const bool hadDataFile = QFileInfo(dataFile).exists();
    if (hadDataFile) {
        if (Status s = copyDataFile(dataFile, keep); !s.isOk()) {
            QFile::remove(staged);
            return env.fail(QStringLiteral("nothing was restored: the data file could not be kept aside: ") + s.message());
        }
    }
    if (std::rename(QFile::encodeName(staged).constData(), QFile::encodeName(dataFile).constData()) != 0) {
        const QString reason = QString::fromLocal8Bit(std::strerror(errno));
        QFile::remove(staged);
        return env.fail(QStringLiteral("nothing was restored: cannot replace %1: %2").arg(dataFile, reason));
    }
    env.out() << "Restored " << QDir::toNativeSeparators(source) << " into " << QDir::toNativeSeparators(dataFile);
    if (hadDataFile)
        env.out() << "; the data file as it was is in " << QDir::toNativeSeparators(keep);
    env.out() << Qt::endl;
    return ExitOk;
}
