#pragma once

#include "exchange/clouddisk.h"
#include "exchange/keyringpassword.h"
#include "store/status.h"

#include <QString>

#include <functional>
#include <memory>

class Preferences;

// Where the cloud disk is: a local folder a sync client keeps (when set, it wins), or a WebDAV server
// address with a user name. The password is never part of it.
struct CloudDiskAccount {
    QString server;
    QString user;
    QString folder;
};

inline constexpr QLatin1StringView cloudDiskPasswordVariable{"VYRO_WEBDAV_PASSWORD"};

CloudDiskAccount cloudDiskAccountFrom(const Preferences& preferences);

// The keyring entry's key: "user@server".
QString cloudDiskKeyringKey(const CloudDiskAccount& account);
KeyringEntry cloudDiskKeyringEntry(const CloudDiskAccount& account);

// The password: VYRO_WEBDAV_PASSWORD when it is set (scripts and tests), else the desktop keyring.
// Answers from the event loop.
void readCloudDiskPassword(const CloudDiskAccount& account, std::function<void(Result<QString>)> done);
// Keeps the password in the desktop keyring; never in a file of the program's.
void writeCloudDiskPassword(const CloudDiskAccount& account, const QString& password,
                            std::function<void(Status)> done);

// The disk the account names, with its password read first when it needs one. InvalidArgument when
// the account names neither a folder nor a server.
void openCloudDisk(const CloudDiskAccount& account, std::function<void(Result<std::unique_ptr<CloudDisk>>)> done);
