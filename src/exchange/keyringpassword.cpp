#include "exchange/keyringpassword.h"

#include <QCoreApplication>

#include <qt6keychain/keychain.h>

namespace {

template <typename Job>
Job* keyringJob(const KeyringEntry& entry)
{
    auto* job = new Job(QString(keyringService));
    job->setKey(entry.key);
    return job;
}

void whenFinished(QKeychain::Job* job, const KeyringEntry& entry, const QString& failure, std::function<void(Status)> done)
{
    QObject::connect(job, &QKeychain::Job::finished, job, [done, failure, what = entry.what](QKeychain::Job* finished) {
        if (finished->error() == QKeychain::NoError || finished->error() == QKeychain::EntryNotFound)
            done(Status::ok());
        else
            done(Status::ioError(failure.arg(what, finished->errorString())));
    });
    job->start();
}

} // namespace

void readKeyringPassword(const KeyringEntry& entry, std::function<void(Result<QString>)> done)
{
    if (!entry.environmentVariable.isEmpty() && qEnvironmentVariableIsSet(qPrintable(entry.environmentVariable))) {
        const QString password = qEnvironmentVariable(qPrintable(entry.environmentVariable));
        QMetaObject::invokeMethod(QCoreApplication::instance(), [done, password] { done(password); }, Qt::QueuedConnection);
        return;
    }
    auto* job = keyringJob<QKeychain::ReadPasswordJob>(entry);
    QObject::connect(job, &QKeychain::Job::finished, job, [done, what = entry.what](QKeychain::Job* finished) {
        auto* read = static_cast<QKeychain::ReadPasswordJob*>(finished);
        if (read->error() == QKeychain::NoError)
            done(read->textData());
        else if (read->error() == QKeychain::EntryNotFound)
            done(Status::notFound(QStringLiteral("no password for %1 in the keyring").arg(what)));
        else
            done(Status::ioError(QStringLiteral("the keyring did not give the password for %1: %2").arg(what, read->errorString())));
    });
    job->start();
}

void writeKeyringPassword(const KeyringEntry& entry, const QString& password, std::function<void(Status)> done)
{
    auto* job = keyringJob<QKeychain::WritePasswordJob>(entry);
    job->setTextData(password);
    whenFinished(job, entry, QStringLiteral("the keyring did not keep the password for %1: %2"), std::move(done));
}

void deleteKeyringPassword(const KeyringEntry& entry, std::function<void(Status)> done)
{
    whenFinished(keyringJob<QKeychain::DeletePasswordJob>(entry), entry,
                 QStringLiteral("the keyring did not forget the password for %1: %2"), std::move(done));
}
