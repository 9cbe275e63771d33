#include "app/coredataappdelegate.h"
#include "app/storemigrator.h"

#include "app/datafilepaths.h"
#include "app/preferences.h"
#include "model/absentflags.h"
#include "model/modelenvironment.h"
#include "model/parentloops.h"
#include "model/startupdata.h"
#include "model/datamodel.h"
#include "store/datafilelock.h"
#include "store/log.h"
#include "store/objectcontext.h"
#include "store/xmlstore.h"

#include <QFileInfo>

CoreData_AppDelegate::CoreData_AppDelegate(const Preferences& preferences, DataFolderOverride dataFolder)
    : m_preferences(preferences), m_dataFolder(std::move(dataFolder))
{
    computeOldCurrentDataFilePath();
    computeCurrentDataFilePath();
}

CoreData_AppDelegate::~CoreData_AppDelegate() = default;

int CoreData_AppDelegate::prepareStoreForWork()
{
    if (!hasStore())
        return 0;
    ObjectContext& context = managedObjectContext();
    StoreMigrator::repairCurrentStore(context);
    const int cleanedUp = ::prepareStoreForWork(context);
    // What the start changed is no user's action to undo.
    context.processPendingChanges();
    context.undoManager().removeAllActions();
    return cleanedUp;
}

QString CoreData_AppDelegate::applicationSupportFolder() const
{
    return ::applicationSupportFolder();
}

void CoreData_AppDelegate::computeDefaultDataFilePath()
{
    m_dataFilePath = ::computeDefaultDataFilePath(m_dataFolder);
}

void CoreData_AppDelegate::computeCurrentDataFilePath()
{
    m_dataFilePath = ::computeCurrentDataFilePath(m_preferences, m_dataFolder);
}

void CoreData_AppDelegate::computeOldDefaultDataFilePath()
{
    m_oldDataFilePath = ::computeOldDefaultDataFilePath(m_dataFolder);
}

void CoreData_AppDelegate::computeOldCurrentDataFilePath()
{
    m_oldDataFilePath = ::computeOldCurrentDataFilePath(m_preferences, m_dataFolder);
}

std::shared_ptr<const DataModel> CoreData_AppDelegate::managedObjectModel() const
{
    return ::managedObjectModel();
}

ObjectContext& CoreData_AppDelegate::managedObjectContext()
{
    if (!m_context) {
        m_context = std::make_unique<ObjectContext>(managedObjectModel());
        ModelEnvironment::of(*m_context).setPreferenceReader([this](QStringView key) { return m_preferences.objectForKey(key); });
    }
    return *m_context;
}

bool CoreData_AppDelegate::hasStore() const
{
    return m_context && m_context->hasStore();
}

Status CoreData_AppDelegate::loadPersistentStoreCoordinator()
{
    computeOldCurrentDataFilePath();
    computeCurrentDataFilePath();
    if (hasStore())
        return Status::invalidArgument(QStringLiteral("The data file is already open"));

    auto lock = DataFileLock::acquire(m_dataFilePath);
    if (!lock)
        return lock.status();

    // Under the lock: a second process must not migrate the same file at once.
    StoreMigrator::migrateStore(m_dataFilePath);

    if (!QFileInfo::exists(m_dataFilePath)) {
        logLine(QStringLiteral("No SQL store.."));
        if (QFileInfo::exists(m_oldDataFilePath)) {
            logLine(QStringLiteral("...migrating XML store.."));
            // An XML file that cannot be converted stops the start, and no SQL file is made: an empty one
            // would hide the old data for good, since only a missing SQL file sends us to the XML one.
            Status converted = Status::ok();
            if (auto document = readXmlStore(m_oldDataFilePath))
                converted = writeSqliteStore(*document, m_dataFilePath, managedObjectModel(), &adoptLoadedRecords);
            else
                converted = document.status();
            if (!converted.isOk()) {
                logLine(QStringLiteral("XML store could not be migrated: %1").arg(converted.message()));
                const QString message = QStringLiteral("The old data file could not be converted and was left as it is: %1").arg(converted.message());
                return converted.code() == Status::Code::IoError ? Status::ioError(message) : Status::corruption(message);
            }
            logLine(QStringLiteral("XML store migrated to SQL store"));
        }
    }

    logLine(QStringLiteral("Loading SQL store..."));
    ObjectContext& context = managedObjectContext();
    if (Status s = context.addSqliteStore(m_dataFilePath, std::move(*lock)); !s.isOk())
        return s;
    // Before anything walks the trees: a walk up a loop of parents would not end.
    m_repairMessages = breakParentLoops(context);
    if (!m_repairMessages.isEmpty())
        static_cast<void>(context.save()); // a failure shows again at the next save
    // The version joins what the file already keeps there (the calendar sync's state among it).
    QVariantMap metadata = context.metadata();
    metadata.insert(QString::fromLatin1(kStoreVersionKey), QString::fromLatin1(kStoreVersion));
    return context.setMetadata(metadata);
}

Status CoreData_AppDelegate::saveAction()
{
    return managedObjectContext().save();
}

QString CoreData_AppDelegate::versionStringForBundle()
{
    return QStringLiteral(VYRO_VERSION);
}
