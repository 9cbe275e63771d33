#pragma once

#include "store/status.h"

#include <QString>

#include <functional>

// Passwords of the program's accounts, kept in the desktop keyring (the Secret Service) under the
// service "Vyro" and a key of the account's; never in a file of the program's. Scripts and tests may
// set the account's environment variable instead, which then wins.
struct KeyringEntry {
    QString key;              // "user@server"
    QString environmentVariable;
    QString what;             // for messages: "the cloud disk", "the calendar server"
};

inline constexpr QLatin1StringView keyringService{"Vyro"};

// Answers from the event loop: the password, NotFound when the keyring has none, IoError when the
// keyring cannot be asked.
void readKeyringPassword(const KeyringEntry& entry, std::function<void(Result<QString>)> done);
void writeKeyringPassword(const KeyringEntry& entry, const QString& password, std::function<void(Status)> done);
void deleteKeyringPassword(const KeyringEntry& entry, std::function<void(Status)> done);
