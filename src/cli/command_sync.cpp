#include "app/coredataappdelegate.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "cli/commandline.h"
#include "exchange/synccontroller.h"

#include <QEventLoop>

// One sync with the calendar server, as the toolbar's Sync runs it; the account from the preferences
// unless the options name one (not kept). "--forget" forgets the server's sync state instead.
int runSync(CommandEnvironment& env)
{
    QStringList args = env.arguments();
    CalendarAccount account;
    bool overridden = false;
    bool forget = false;
    while (!args.isEmpty()) {
        const QString option = args.takeFirst();
        if (option == QLatin1String("--forget")) {
            forget = true;
            continue;
        }
        if (option != QLatin1String("--server") && option != QLatin1String("--user"))
            return env.fail(QStringLiteral("sync: unknown argument %1").arg(option), ExitUsage);
        if (args.isEmpty())
            return env.fail(QStringLiteral("sync: %1 needs a value").arg(option), ExitUsage);
        (option == QLatin1String("--server") ? account.server : account.user) = args.takeFirst();
        overridden = true;
    }
    if (forget && overridden)
        return env.fail(QStringLiteral("sync: --forget takes no other option"), ExitUsage);
    if (auto failed = env.openStore())
        return *failed;

    ObjectContext& store = env.appDelegate().managedObjectContext();
    SyncController sync(store, env.preferences(), env.dataFilePath());
    if (forget) {
        const QString message = sync.unregisterSyncClient();
        env.out() << message << Qt::endl;
        return message == QLatin1String(SyncText::forgotten) || message == QLatin1String(SyncText::notRegistered) ? ExitOk
                                                                                                                    : ExitFailure;
    }
    if (overridden) {
        const CalendarAccount preferred = calendarAccountFrom(env.preferences());
        sync.setAccount({account.server.isEmpty() ? preferred.server : account.server,
                         account.user.isEmpty() && account.server.isEmpty() ? preferred.user : account.user});
    }
    if (const QByteArray timeout = qgetenv("VYRO_SYNC_TIMEOUT"); !timeout.isEmpty())
        sync.setTimeout(timeout.toInt() * 1000);

    QEventLoop loop;
    SyncController::Outcome outcome = SyncController::Outcome::Failed;
    QString message;
    bool done = false;
    QObject::connect(&sync, &SyncController::finished, &loop, [&](SyncController::Outcome o, const QString& m) {
        outcome = o;
        message = m;
        done = !sync.isAfterSyncRunning();
        if (done)
            loop.quit();
    });
    QObject::connect(&sync, &SyncController::afterSyncFinished, &loop, [&] {
        done = true;
        loop.quit();
    });
    sync.doSync();
    if (!done)
        loop.exec();

    const SyncController::Counts& counts = sync.counts();
    const QString summary = QStringLiteral("%1 changes from the calendar server, %2 requests sent")
                                .arg(counts.pulled)
                                .arg(counts.written);
    if (outcome == SyncController::Outcome::Synced) {
        if (!message.isEmpty())
            env.out() << message << Qt::endl;
        env.out() << "Synced: " << summary << Qt::endl;
        return ExitOk;
    }
    if (counts.pulled || counts.written)
        env.out() << "Synced in part: " << summary << QStringLiteral(", %1 failed").arg(counts.failedWrites) << Qt::endl;
    return env.fail(message.isEmpty() ? QString(SyncText::failed) : message);
}
