#pragma once

#include "store/status.h"

#include <QLatin1StringView>
#include <QString>

// Copies of the data file, made before anything risky happens to it. Every copy goes through SQLite's
// online backup, from one read transaction of the data file, into a temporary file in the target's
// folder that is renamed over the target only when it is whole: a backup taken while the program saves
// holds the state before or after that save, never a mixture, and the target is never half written.
// Nothing here saves the open store first: what is not yet saved is not in a backup.

enum class BackupKind { Startup, Sync, CloudDisk };

inline constexpr QLatin1StringView startupBackupFileName{"Vyro.sql.startup.bkp"};
inline constexpr QLatin1StringView syncBackupFileName{"Vyro.sql.sync.bkp"};
inline constexpr QLatin1StringView cloudDiskBackupFileName{"Vyro.sql.dotmac.bkp"};
// The data file as it was before `vyro restore` replaced it.
inline constexpr QLatin1StringView beforeRestoreBackupFileName{"Vyro.sql.before-restore.bkp"};

inline constexpr QLatin1StringView manualBackupTitle{"Backup of Vyro data file"};
inline constexpr QLatin1StringView manualBackupSucceeded{"File backed up successfully."};
inline constexpr QLatin1StringView manualBackupFailed{"There was an error when backing up the data file."};

// The kind's file in the data file's folder.
QString backupFilePath(const QString& dataFilePath, BackupKind kind);

// A consistent copy of the SQLite file `source` at `target`, replacing what is there. Waits up to
// `busyTimeoutMs` for a save in progress to end. On failure `target` is left as it was and no temporary
// file stays behind. Corruption when `source` is not an SQLite file; NotFound when it does not exist.
Status copyDataFile(const QString& source, const QString& target, int busyTimeoutMs = 10000);

// The automatic backups: log the kind's lines and copy; a failure is logged and otherwise ignored, as
// nothing that follows depends on the backup.
void backupAtStartupAction(const QString& dataFilePath);
void backupAtSyncAction(const QString& dataFilePath);
void backupAtDotMacAction(const QString& dataFilePath);

// Puts the cloud-disk backup in place of the data file. The open store is not reopened here; the
// caller does that (or quits). On failure the data file stays as it was.
Status restoreFromDotMacBackup(const QString& dataFilePath);

// The manual backup to a file of the user's choice, logged; the outcome's text for the alert is
// manualBackupSucceeded or manualBackupFailed.
Status backupManually(const QString& dataFilePath, const QString& target);
QString manualBackupMessage(const Status& outcome);

// Whether `path` is a data file of this program: an SQLite file with the store's identity in it.
// Opens it read-only; the message says what it is instead.
Status checkIsDataFile(const QString& path);
