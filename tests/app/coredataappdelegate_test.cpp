#include "app/coredataappdelegate.h"
#include "app/preferences.h"
#include "model/context.h"
#include "model/datamodel.h"
#include "model/task.h"
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

    // What others keep in the metadata (the calendar sync's state) outlives the next start.
    {
        Preferences preferences(dir.filePath(QStringLiteral("prefs.ini")));
        CoreData_AppDelegate delegate(preferences, folder);
        ASSERT_TRUE(delegate.loadPersistentStoreCoordinator().isOk());
        QVariantMap kept = delegate.managedObjectContext().metadata();
        kept.insert(QStringLiteral("calendarSyncState"), QStringLiteral("{}"));
        ASSERT_TRUE(delegate.managedObjectContext().setMetadata(kept).isOk());
    }
    const StartResult second = start(folder, dir.filePath(QStringLiteral("prefs.ini")));
    EXPECT_EQ(second.log, QStringList({"Loading SQL store..."}));
    metadata = SqliteStore::metadataForStoreAt(folder + QStringLiteral("/Vyro.sql"));
    ASSERT_TRUE(metadata.isOk());
    EXPECT_EQ(metadata->value(QStringLiteral("calendarSyncState")), QStringLiteral("{}"));
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
        // A task of an older release that never had its flags set.
        auto* call = old.insertNewObject<Task>(QStringLiteral("task"));
        call->setPrimitiveValue(Task::Attr::name, Value::string(QStringLiteral("call Bob")));
        call->setToOne(Task::Rel::parentContext, b);
        ASSERT_TRUE(writeXmlStore(old, folder + QStringLiteral("/Vyro.xml")).isOk());
    }
    const StartResult first = start(folder, dir.filePath(QStringLiteral("prefs.ini")));
    {
        // Converted whole: the flags the file left out have a new task's values, and it has its place.
        ObjectContext converted(managedObjectModel());
        ASSERT_TRUE(converted.addSqliteStore(folder + QStringLiteral("/Vyro.sql")).isOk());
        const std::vector<Record*> tasks = converted.allObjects(QStringLiteral("task"));
        ASSERT_EQ(tasks.size(), 1u);
        for (int flag : {Task::Attr::done, Task::Attr::cleanedUp, Task::Attr::archived, Task::Attr::nextAction, Task::Attr::maybe,
                         Task::Attr::waitingFor, Task::Attr::delegated})
            EXPECT_EQ(tasks[0]->primitiveValue(flag), Value::boolean(false)) << flag;
        EXPECT_EQ(tasks[0]->primitiveValue(Task::Attr::positionInContext), Value::integer(1));
    }
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

// An old data file that cannot be converted stops the start with a message that names the record and the
// value; the XML file stays and no SQL file appears over it, so the next start (after a fix) converts it.
TEST(CoreDataAppDelegate, AnXmlFileThatCannotBeConvertedStopsTheStartAndIsTriedAgain)
{
    const QByteArray good = R"(<vyro-store version="1.0">
  <record entity="context" id="c1"><attribute name="name" type="string">Inbox</attribute><attribute name="isInbox" type="bool">true</attribute></record>
  <record entity="context" id="c2"><attribute name="name" type="string">Calls</attribute><attribute name="pathName" type="string">Inbox &gt; Calls</attribute><relationship name="parentContext" ref="c1"/></record>
</vyro-store>
)";
    struct Case {
        const char* what;
        QByteArray xml;
        QStringList mentions;
    } cases[] = {
        {"a flag that is no flag", QByteArray(good).replace(">true<", ">maybe<"), {"context \"c1\"", "isInbox", "\"maybe\""}},
        {"an unknown attribute", QByteArray(good).replace("name=\"pathName\"", "name=\"colour\""), {"context \"c2\"", "colour"}},
        {"a link to nothing", QByteArray(good).replace("ref=\"c1\"", "ref=\"c9\""), {"context \"c2\"", "parentContext", "c9"}},
        {"no XML at all", "this is not xml", {"Vyro.xml"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("Vyro"));
        QDir().mkpath(folder);
        const QString xmlPath = folder + QStringLiteral("/Vyro.xml");
        QFile xml(xmlPath);
        ASSERT_TRUE(xml.open(QIODevice::WriteOnly));
        xml.write(c.xml);
        xml.close();

        const StartResult failed = start(folder, dir.filePath(QStringLiteral("prefs.ini")));
        ASSERT_FALSE(failed.status.isOk());
        for (const QString& part : c.mentions)
            EXPECT_TRUE(failed.status.message().contains(part)) << failed.status.message().toStdString() << " lacks " << part.toStdString();
        ASSERT_EQ(failed.log.size(), 3) << failed.log.join(u'\n').toStdString();
        EXPECT_TRUE(failed.log[2].startsWith(QStringLiteral("XML store could not be migrated: "))) << failed.log[2].toStdString();
        EXPECT_FALSE(QFile::exists(folder + QStringLiteral("/Vyro.sql")));
        EXPECT_TRUE(QFile::exists(xmlPath));

        // Repaired, the same file converts at the next start, its stored path names passed over.
        ASSERT_TRUE(xml.open(QIODevice::WriteOnly));
        xml.write(good);
        xml.close();
        const StartResult next = start(folder, dir.filePath(QStringLiteral("prefs.ini")));
        ASSERT_TRUE(next.status.isOk()) << next.status.toString().toStdString();
        EXPECT_EQ(next.contexts, 2);
    }
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
