#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "cli/commandline.h"
#include "exchange/clouddiskaccount.h"
#include "exchange/dotmacsynccontroller.h"
#include "store/datafilelock.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>

// The cloud-disk copy by hand, by the rules of start-up and quit. The account comes from the
// preferences unless the options name one (they are not kept). A download needs the data file to
// itself: the running program would go on with its old data and later save over the new file.
int runCloud(CommandEnvironment& env)
{
    QStringList args = env.arguments();
    if (args.isEmpty() || (args.first() != QLatin1String("download") && args.first() != QLatin1String("upload")))
        return env.fail(QStringLiteral("cloud takes download or upload"), ExitUsage);
    const bool upload = args.takeFirst() == QLatin1String("upload");

    Preferences preferences;
    CloudDiskAccount account = cloudDiskAccountFrom(preferences);
    while (!args.isEmpty()) {
        const QString option = args.takeFirst();
        if (args.isEmpty())
            return env.fail(QStringLiteral("%1 needs a value").arg(option), ExitUsage);
        const QString value = args.takeFirst();
        if (option == QLatin1String("--server")) {
            account.server = value;
            account.folder.clear();
        } else if (option == QLatin1String("--user")) {
            account.user = value;
        } else if (option == QLatin1String("--folder")) {
            account.folder = env.absolutePath(value);
        } else {
            return env.fail(QStringLiteral("unknown option %1").arg(option), ExitUsage);
        }
    }
    if (upload && preferences.boolForKey(PreferenceKey::dotMacWaitingForFirstSync))
        return env.fail(QStringLiteral("the cloud disk copy has not been taken yet on this computer; download first"));

    const QString dataFile = env.dataFilePath();
    std::unique_ptr<DataFileLock> lock;
    if (!upload) {
        if (env.hosted())
            return env.fail(QStringLiteral("Vyro is running with this data file; quit it, then download"));
        QDir().mkpath(QFileInfo(dataFile).absolutePath());
        auto held = DataFileLock::acquire(dataFile);
        if (!held) {
            if (held.status().code() == Status::Code::Busy)
                return env.fail(QStringLiteral("the data file %1 is in use (%2); quit Vyro, then download")
                                    .arg(QDir::toNativeSeparators(dataFile), held.status().message()));
            return env.fail(held.status().message());
        }
        lock = std::move(*held);
    } else if (!QFileInfo(dataFile).isFile()) {
        return env.fail(QStringLiteral("there is no data file at %1 to upload").arg(QDir::toNativeSeparators(dataFile)));
    }
    env.openLog();

    QEventLoop loop;
    int status = ExitFailure;
    bool finished = false; // openCloudDisk may answer before the loop runs
    std::unique_ptr<DotMacSyncController> controller;
    openCloudDisk(account, [&](Result<std::unique_ptr<CloudDisk>> disk) {
        if (!disk) {
            status = env.fail(disk.status().message(), disk.status().code() == Status::Code::InvalidArgument ? ExitUsage : ExitFailure);
            finished = true;
            loop.quit();
            return;
        }
        controller = std::make_unique<DotMacSyncController>(
            dataFile, preferences, std::move(*disk),
            [&](const QString&, const QString& message) { env.fail(message); });
        auto done = [&](DotMacSyncController::Outcome outcome) {
            switch (outcome) {
            case DotMacSyncController::Outcome::Transferred:
                env.out() << (upload ? "Upload finished." : "Download finished.") << Qt::endl;
                status = ExitOk;
                break;
            case DotMacSyncController::Outcome::NothingToDo:
                env.out() << "Nothing to download: the data file is current." << Qt::endl;
                status = ExitOk;
                break;
            case DotMacSyncController::Outcome::Failed:
            case DotMacSyncController::Outcome::Cancelled:
                status = ExitFailure;
                break;
            }
            finished = true;
            loop.quit();
        };
        if (upload)
            controller->uploadDataToDotMac(done);
        else
            controller->downloadDataFromDotMac(done);
    });
    if (!finished)
        loop.exec();
    return status;
}
