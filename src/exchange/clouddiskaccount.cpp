#include "exchange/clouddiskaccount.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/folderclouddisk.h"
#include "exchange/keyringpassword.h"
#include "exchange/webdavclouddisk.h"

#include <QUrl>

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

KeyringEntry cloudDiskKeyringEntry(const CloudDiskAccount& account)
{
    return {cloudDiskKeyringKey(account), QString(cloudDiskPasswordVariable), QStringLiteral("the cloud disk")};
}

void readCloudDiskPassword(const CloudDiskAccount& account, std::function<void(Result<QString>)> done)
{
    readKeyringPassword(cloudDiskKeyringEntry(account), std::move(done));
}

void writeCloudDiskPassword(const CloudDiskAccount& account, const QString& password, std::function<void(Status)> done)
{
    writeKeyringPassword(cloudDiskKeyringEntry(account), password, std::move(done));
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
