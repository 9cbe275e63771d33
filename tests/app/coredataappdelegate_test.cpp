#include "app/coredataappdelegate.h"
#include "app/preferences.h"
#include "model/context.h"
#include "model/datamodel.h"
#include "store/log.h"
#include "store/objectcontext.h"
#include "store/sqlitestore.h"
#include "store/xmlstore.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

// Runs one start of the data side in `folder` and returns the log lines it wrote.
struct StartResult {
    QStringList log;
    Status status;
    qsizetype contexts = 0;
};

StartResult start(const QString& folder, const QString& preferencesFile)
{
    std::FILE* log = std::tmpfile();
    setLogSink(log);
    Preferences preferences(preferencesFile);
    StartResult result;
    {
        CoreData_AppDelegate delegate(preferences, folder);
        result.status = delegate.loadPersistentStoreCoordinator();
        if (result.status.isOk())
            result.contexts = delegate.managedObjectContext().countForEntity(QStringLiteral("context"));
    }
    setLogSink(nullptr);
    std::rewind(log);
    QFile f;
    f.open(log, QIODevice::ReadOnly);
    result.log = QString::fromUtf8(f.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    f.close();
    std::fclose(log);
    return result;
}

} // namespace

TEST(CoreDataAppDelegate, FirstStartMakesAnEmptyMarkedDataFile)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("new/Vyro"));
    const StartResult first = start(folder, dir.filePath(QStringLiteral("prefs.ini")));
    ASSERT_TRUE(first.status.isOk()) << first.status.toString().toStdString();
    EXPECT_EQ(first.log, QStringList({"No SQL store..", "Loading SQL store..."}));
    auto metadata = SqliteStore::metadataForStoreAt(folder + QStringLiteral("/Vyro.sql"));
    ASSERT_TRUE(metadata.isOk());
    EXPECT_EQ(metadata->value(QStringLiteral("VyroStoreVersion")), QStringLiteral("1.1"));
    EXPECT_EQ(metadata->size(), 2); // the version and the store's UUID

    const StartResult second = start(folder, dir.filePath(QStringLiteral("prefs.ini")));
    EXPECT_EQ(second.log, QStringList({"Loading SQL store..."}));
}

TEST(CoreDataAppDelegate, AnOldXmlDataFileIsConvertedOnceAndKept)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Vyro"));
    QDir().mkpath(folder);
    {
        // An old data file with two contexts.
        ObjectContext old(managedObjectModel());
        auto* a = old.insertNewObject<Context>(QStringLiteral("context"));
        a->setName(QStringLiteral("Inbox"));
        a->setIsInbox(true);
        auto* b = old.insertNewObject<Context>(QStringLiteral("context"));
        b->setName(QStringLiteral("Calls"));
        b->setParentContext(a);
        ASSERT_TRUE(writeXmlStore(old, folder + QStringLiteral("/Vyro.xml")).isOk());
    }
    const StartResult first = start(folder, dir.filePath(QStringLiteral("prefs.ini")));
    ASSERT_TRUE(first.status.isOk());
    EXPECT_EQ(first.log, QStringList({"No SQL store..", "...migrating XML store..", "XML store migrated to SQL store", "Loading SQL store..."}));
    EXPECT_EQ(first.contexts, 2);
    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/Vyro.xml")));
    EXPECT_EQ(SqliteStore::metadataForStoreAt(folder + QStringLiteral("/Vyro.sql"))->value(QStringLiteral("VyroStoreVersion")), QStringLiteral("1.1"));

    // Next start: the SQL file exists, the XML file is passed over.
    QFile::remove(folder + QStringLiteral("/Vyro.xml"));
    QFile junk(folder + QStringLiteral("/Vyro.xml"));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("<vyro-store/>");
    junk.close();
    const StartResult second = start(folder, dir.filePath(QStringLiteral("prefs.ini")));
    EXPECT_EQ(second.log, QStringList({"Loading SQL store..."}));
    EXPECT_EQ(second.contexts, 2);
}

TEST(CoreDataAppDelegate, AnUnreadableXmlFileGivesAnEmptyStoreWithoutAMessage)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Vyro"));
    QDir().mkpath(folder);
    QFile xml(folder + QStringLiteral("/Vyro.xml"));
    ASSERT_TRUE(xml.open(QIODevice::WriteOnly));
    xml.write("this is not xml");
    xml.close();
    const StartResult result = start(folder, dir.filePath(QStringLiteral("prefs.ini")));
    ASSERT_TRUE(result.status.isOk());
    EXPECT_EQ(result.log, QStringList({"No SQL store..", "...migrating XML store..", "Loading SQL store..."}));
    EXPECT_EQ(result.contexts, 0);
}

TEST(CoreDataAppDelegate, TheCustomFolderPreferenceChoosesTheFile)
{
    QTemporaryDir dir;
    const QString prefsFile = dir.filePath(QStringLiteral("prefs.ini"));
    const QString custom = dir.filePath(QStringLiteral("custom"));
    QDir().mkpath(custom);
    {
        Preferences preferences(prefsFile);
        preferences.setBool(QStringLiteral("dataFilePathIsCustom"), true);
        preferences.setString(QStringLiteral("dataFilePath"), custom);
        preferences.sync();
    }
    Preferences preferences(prefsFile);
    CoreData_AppDelegate delegate(preferences);
    EXPECT_EQ(delegate.currentDataFilePath(), custom + QStringLiteral("/Vyro.sql"));
    EXPECT_EQ(delegate.oldDataFilePath(), custom + QStringLiteral("/Vyro.xml"));
    ASSERT_TRUE(delegate.loadPersistentStoreCoordinator().isOk());
    EXPECT_TRUE(QFile::exists(custom + QStringLiteral("/Vyro.sql")));
}
