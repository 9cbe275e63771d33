#pragma once

#include <QDateTime>
#include <QString>

class ObjectContext;

// Brings data files of older releases up to the current model.
//
// migrateStore runs at start, before the data file is opened (the caller holds the file's lock). A file
// whose metadata has no "VyroStoreVersion" and whose store table has no format column is of the 1.0
// layout (docs/data-file-1.0.md); one of the current layout is left alone without the mark too. The
// 1.0 file is moved to
// "Vyro.sql.migrated.bkp" beside itself, read from there, and its records are written into a new data
// file of the current model at the same path, marked "VyroStoreVersion" = "1.1", so that the next start
// leaves it alone. A stage whose old table cannot be read is logged and skipped; the other stages still
// run. Whatever fails later, the old data stays in the backup.
class StoreMigrator {
public:
    static constexpr const char* kMigratedBackupName = "Vyro.sql.migrated.bkp";

    // `now` is the clock of "Today", the start date of migrated recurring tasks.
    static void migrateStore(const QString& dataFilePath, const QDateTime& now = QDateTime::currentDateTime());

    // Every absent flag set to false (see repairAbsentFlags); nothing is saved here. Returns how many
    // records changed.
    static int repairCurrentStore(ObjectContext& context);
};
