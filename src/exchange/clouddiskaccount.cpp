#include "exchange/clouddiskaccount.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/folderclouddisk.h"
#include "exchange/webdavclouddisk.h"

#include <QCoreApplication>
#include <QUrl>

#include <qt6keychain/keychain.h>

CloudDiskAccount cloudDiskAccountFrom(const Preferences& preferences)
{
    return {preferences.stringForKey(PreferenceKey::cloudDiskServer),
            preferences.stringForKey(PreferenceKey::cloudDiskUser),
            preferences.stringForKey(PreferenceKey::cloudDiskFolder)};
}

QString cloudDiskKeyringKey(const CloudDiskAccount& account)
{
    return account.user + QLatin1Char('@') + account.server;
}

void readCloudDiskPassword(const CloudDiskAccount& account, std::function<void(Result<QString>)> done)
{
    if (qEnvironmentVariableIsSet(cloudDiskPasswordVariable.data())) {
        const QString password = qEnvironmentVariable(cloudDiskPasswordVariable.data());
        QMetaObject::invokeMethod(QCoreApplication::instance(), [done, password] { done(password); }, Qt::QueuedConnection);
        return;
    }
    auto* job = new QKeychain::ReadPasswordJob(QString(cloudDiskKeyringService));
    job->setKey(cloudDiskKeyringKey(account));
    QObject::connect(job, &QKeychain::Job::finished, job, [done](QKeychain::Job* finished) {
        auto* read = static_cast<QKeychain::ReadPasswordJob*>(finished);
        if (read->error() == QKeychain::NoError)
            done(read->textData());
        else if (read->error() == QKeychain::EntryNotFound)
            done(Status::notFound(QStringLiteral("no password for the cloud disk in the keyring")));
        else
            done(Status::ioError(QStringLiteral("the keyring did not give the password: ") + read->errorString()));
    });
    job->start();
}

void writeCloudDiskPassword(const CloudDiskAccount& account, const QString& password, std::function<void(Status)> done)
{
    auto* job = new QKeychain::WritePasswordJob(QString(cloudDiskKeyringService));
    job->setKey(cloudDiskKeyringKey(account));
    job->setTextData(password);
    QObject::connect(job, &QKeychain::Job::finished, job, [done](QKeychain::Job* finished) {
        if (finished->error() == QKeychain::NoError)
            done(Status::ok());
        else
            done(Status::ioError(QStringLiteral("the keyring did not keep the password: ") + finished->errorString()));
    });
    job->start();
}

void openCloudDisk(const CloudDiskAccount& account, std::function<void(Result<std::unique_ptr<CloudDisk>>)> done)
{
    if (!account.folder.isEmpty()) {
        done(std::unique_ptr<CloudDisk>(std::make_unique<FolderCloudDisk>(account.folder)));
        return;
    }
    const QUrl server(account.server);
    if (account.server.isEmpty() || !server.isValid()
        || (server.scheme() != QLatin1String("http") && server.scheme() != QLatin1String("https"))) {
        done(Status::invalidArgument(QStringLiteral("no cloud disk is set up: give a WebDAV server address (http or https) or a folder")));
        return;
    }
    if (account.user.isEmpty()) {
        done(std::unique_ptr<CloudDisk>(std::make_unique<WebDavCloudDisk>(server, QString(), QString())));
        return;
    }
    readCloudDiskPassword(account, [account, server, done](Result<QString> password) {
        if (!password) {
            done(password.status());
            return;
        }
        done(std::unique_ptr<CloudDisk>(std::make_unique<WebDavCloudDisk>(server, account.user, *password)));
    });
}
