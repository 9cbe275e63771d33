#include "app/backups.h"
#include "cli/commandline.h"

#include <QFileInfo>

// Reads the data file without opening it as a store, so it works beside the running program too: the
// copy holds the last saved state, whatever is being saved meanwhile.
int runBackup(CommandEnvironment& env)
{
    if (env.arguments().size() != 1 || env.arguments().first().startsWith(QLatin1String("--")))
        return env.fail(QStringLiteral("backup takes one FILE"), ExitUsage);
    const QString target = env.absolutePath(env.arguments().first());
    const QString dataFile = env.dataFilePath();
    if (!QFileInfo(dataFile).isFile())
        return env.fail(QStringLiteral("there is no data file at %1 to back up").arg(dataFile));
    if (QFileInfo(target).isDir())
        return env.fail(QStringLiteral("%1 is a folder; name the backup file").arg(target), ExitUsage);
    env.openLog();
    const Status outcome = backupManually(dataFile, target);
    if (!outcome.isOk())
        return env.fail(manualBackupMessage(outcome) + QLatin1Char(' ') + outcome.message());
    env.out() << manualBackupMessage(outcome) << Qt::endl;
    return ExitOk;
}
