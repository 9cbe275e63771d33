#pragma once

#include "app/datafilepaths.h"
#include "store/status.h"

#include <QString>
#include <QStringList>

#include <memory>

class DataModel;
class ObjectContext;
class Preferences;

// The application core's hold on the data: where the data file lives, opening it (with the one-time
// conversion of an old XML data file), the one object context of the run, and saving. The desktop
// program and the command line both open their data through it.
class CoreData_AppDelegate {
public:
    // `preferences` must outlive this object. `dataFolder` replaces the data folder for the run.
    explicit CoreData_AppDelegate(const Preferences& preferences, DataFolderOverride dataFolder = std::nullopt);
    ~CoreData_AppDelegate();

    QString applicationSupportFolder() const;
    void computeDefaultDataFilePath();
    void computeCurrentDataFilePath();
    void computeOldDefaultDataFilePath();
    void computeOldCurrentDataFilePath();
    const QString& currentDataFilePath() const { return m_dataFilePath; }
    const QString& oldDataFilePath() const { return m_oldDataFilePath; }

    std::shared_ptr<const DataModel> managedObjectModel() const;
    ObjectContext& managedObjectContext();

    // Opens the current data file, once per run: takes its lock (a second process gets a Busy status and
    // the file is not touched), migrates a file of the 1.0 layout (StoreMigrator), converts "Vyro.xml"
    // when there is no "Vyro.sql" yet, opens or creates the SQLite file and marks it "VyroStoreVersion" =
    // "1.1". On failure the run goes on without a store.
    // A loop of parent folders in the file is broken here and saved; an old XML file that cannot be
    // converted fails the open with a message that names the record and the value, and no SQL file is
    // made, so the next start tries again.
    Status loadPersistentStoreCoordinator();
    // What the opening repaired in the data file, one message per repair for the user; empty mostly.
    const QStringList& repairMessages() const { return m_repairMessages; }
    bool hasStore() const;
    // The start-up data steps that need no window: the Inbox, "All tasks", no next-action folder, the
    // clean-up pass.
    // Returns how many tasks were cleaned up.
    int prepareStoreForWork();

    // Saves the context; the changes stay pending when that fails.
    Status saveAction();

    static QString versionStringForBundle();

private:
    const Preferences& m_preferences;
    DataFolderOverride m_dataFolder;
    QString m_dataFilePath;
    QString m_oldDataFilePath;
    QStringList m_repairMessages;
    std::unique_ptr<ObjectContext> m_context;
};
