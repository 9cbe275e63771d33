#include "app/preferencedefaults.h"
#include "app/preferences.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <span>

namespace {

struct ExpectedKey
{
    const char* name;
    PreferenceType type;
    PreferenceDefaultKind kind;
    QVariant value;
};

// Every key with its type and default, in table order, as the preference table lists them.
std::span<const ExpectedKey> expectedKeys()
{
    static const ExpectedKey keys[] = {
        {"showStatusBarItem", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(true)},
        {"copyPriorityToNewTasks", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(true)},
        {"copyContainerToNewTasks", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(true)},
        {"setStartDateToTodayForNewTasks", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(true)},
        {"autoFlagTasksByDueDates", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(true)},
        {"cleanUpWhenWindowLostsFocus", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(true)},
        {"toolbarShowTextOnly", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(false)},
        {"toolbarIsHidden", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(false)},
        {"lastExportAttachNotesSetting", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(true)},
        {"lastExportOpenAfterExportSetting", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(true)},
        {"lastExportPrintSinglePages", PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, QVariant(true)},
        {"lastExportMode", PreferenceType::Integer, PreferenceDefaultKind::FirstRun, QVariant(0)},
        {"backgroundColorForTablesR", PreferenceType::Float, PreferenceDefaultKind::FirstRun, QVariant(0.9123217)},
        {"backgroundColorForTablesG", PreferenceType::Float, PreferenceDefaultKind::FirstRun, QVariant(0.9123217)},
        {"backgroundColorForTablesB", PreferenceType::Float, PreferenceDefaultKind::FirstRun, QVariant(0.9123217)},
        {"displayRedIconForInboxWithMoreTasksThan", PreferenceType::Integer, PreferenceDefaultKind::PerKey, QVariant(5)},
        {"showBadge", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"checkVersionOnStartup", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"copyDetailsFromCompletedTasksToNextRecurrentTasks", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"typeAheadAlwaysForFolders", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"typeAheadCollapseFoldersBefore", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"datesUseNaturalLanguage", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"syncTasksMode", PreferenceType::Integer, PreferenceDefaultKind::PerKey, QVariant(0)},
        {"syncTaskProjectNameMode", PreferenceType::Integer, PreferenceDefaultKind::PerKey, QVariant(0)},
        {"currentAppToVyroKeyboardShortcut", PreferenceType::Integer, PreferenceDefaultKind::PerKey, QVariant(97)},
        {"quickAddKeyboardShortcut", PreferenceType::Integer, PreferenceDefaultKind::PerKey, QVariant(98)},
        {"quickTypeInKeyboardShortcut", PreferenceType::Integer, PreferenceDefaultKind::PerKey, QVariant(100)},
        {"showGUIAfterQuickAddWindow", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"showGUIAfterCurrentAppToVyroAction", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"showGUIAfterQuickTypeInWindow", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"appleMailIntegrationIncludeSenderInTaskName", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(false)},
        {"appleMailIntegrationIncludeSubjectInTaskName", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"appleMailIntegrationIncludeSenderInTaskNote", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"appleMailIntegrationIncludeSubjectInTaskNote", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"appleMailIntegrationIncludeCCInTaskNote", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(false)},
        {"appleMailIntegrationIncludeBodyInTaskNote", PreferenceType::Boolean, PreferenceDefaultKind::PerKey, QVariant(true)},
        {"tableViewContextTasksHiddenColumns", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral(""))},
        {"tableViewProjectTasksHiddenColumns", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral(""))},
        {"tableViewAllTasksHiddenColumns", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral(""))},
        {"tableViewCompletedTasksHiddenColumns", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral(""))},
        {"tableViewArchivedTasksHiddenColumns", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"sortDescriptorContextTasksDirections", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("1"))},
        {"sortDescriptorProjectTasksDirections", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("1"))},
        {"sortDescriptorAllTasksDirections", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("1"))},
        {"sortDescriptorCompletedTasksDirections", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("1"))},
        {"sortDescriptorArchivedTasksDirections", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("1"))},
        {"sortDescriptorContextTasksIdentifiers", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("name"))},
        {"sortDescriptorProjectTasksIdentifiers", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("name"))},
        {"sortDescriptorAllTasksIdentifiers", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("name"))},
        {"sortDescriptorCompletedTasksIdentifiers", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("name"))},
        {"sortDescriptorArchivedTasksIdentifiers", PreferenceType::String, PreferenceDefaultKind::PerKey, QVariant(QStringLiteral("name"))},
        {"sortDescriptorContextTasksLastNonNaturalIdentifiers", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"sortDescriptorContextTasksLastNonNaturalDirections", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"sortDescriptorProjectTasksLastNonNaturalIdentifiers", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"sortDescriptorProjectTasksLastNonNaturalDirections", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"tableViewContextTasksColumnsSizes", PreferenceType::Object, PreferenceDefaultKind::None, QVariant()},
        {"tableViewProjectTasksColumnsSizes", PreferenceType::Object, PreferenceDefaultKind::None, QVariant()},
        {"tableViewAllTasksColumnsSizes", PreferenceType::Object, PreferenceDefaultKind::None, QVariant()},
        {"tableViewCompletedTasksColumnsSizes", PreferenceType::Object, PreferenceDefaultKind::None, QVariant()},
        {"tableViewArchivedTasksColumnsSizes", PreferenceType::Object, PreferenceDefaultKind::None, QVariant()},
        {"floatingMainWindowByDefault", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"dotMac14SyncingEnabled", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"dotMacWaitingForFirstSync", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"cloudDiskServer", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"cloudDiskUser", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"cloudDiskFolder", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"calendarServer", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"calendarUser", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"afterSyncCommand", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"hideApplicationIfWindowNotActive", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"hideApplicationIfWindowNotActiveAfterSeconds", PreferenceType::IntegerText, PreferenceDefaultKind::None, QVariant()},
        {"autoSave", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"autoSaveAfterMinutes", PreferenceType::IntegerText, PreferenceDefaultKind::None, QVariant()},
        {"autoSaveWhenWindowLostsFocus", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"syncWhenWindowLostsFocus", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"iSyncWhenWindowLostsFocus", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"syncWhenQuittingApp", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"iSyncWhenQuittingApp", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"iSyncWhenSyncing", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"dataFilePathIsCustom", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"dataFilePath", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"autoCapitalizeTaskNames", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"cleanUpImmediately", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"quickEntryMode", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"treeExpandSelectedItems", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"tabIndexLastUsed", PreferenceType::Integer, PreferenceDefaultKind::None, QVariant()},
        {"timeModeControlForContextsState", PreferenceType::Integer, PreferenceDefaultKind::None, QVariant()},
        {"timeModeControlForProjectsState", PreferenceType::Integer, PreferenceDefaultKind::None, QVariant()},
        {"timeModeControlForPendingState", PreferenceType::Integer, PreferenceDefaultKind::None, QVariant()},
        {"ownerModeControlForContextsState", PreferenceType::Integer, PreferenceDefaultKind::None, QVariant()},
        {"ownerModeControlForProjectsState", PreferenceType::Integer, PreferenceDefaultKind::None, QVariant()},
        {"ownerModeControlForPendingState", PreferenceType::Integer, PreferenceDefaultKind::None, QVariant()},
        {"flaggedModeControlForContextsState", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"flaggedModeControlForProjectsState", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"flaggedModeControlForPendingState", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"flaggedModeControlForArchiveState", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"nextActionsModeControlForContextsState", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"nextActionsModeControlForPendingState", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"contextTreeExpandedIndexes", PreferenceType::Object, PreferenceDefaultKind::None, QVariant()},
        {"projectTreeExpandedIndexes", PreferenceType::Object, PreferenceDefaultKind::None, QVariant()},
        {"archiveCategoryTreeExpandedIndexes", PreferenceType::Object, PreferenceDefaultKind::None, QVariant()},
        {"lastSelectedContextObjectID", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"lastSelectedProjectObjectID", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"lastSelectedArchiveCategoryObjectID", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"lastSelectedSmartfolderObjectID", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"showGUIForQSActions", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"currentAppToVyroMailTags2SupportEnabled", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"currentAppToVyroMailTags2UseNoteAsTaskName", PreferenceType::Boolean, PreferenceDefaultKind::None, QVariant()},
        {"lastExportType", PreferenceType::Integer, PreferenceDefaultKind::None, QVariant()},
        {"lastExportFilePath", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"lastDownloadPromptForVersion", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
        {"quickTag1", PreferenceType::StringList, PreferenceDefaultKind::None, QVariant()},
        {"quickTag2", PreferenceType::StringList, PreferenceDefaultKind::None, QVariant()},
        {"quickTag3", PreferenceType::StringList, PreferenceDefaultKind::None, QVariant()},
        {"quickTag4", PreferenceType::StringList, PreferenceDefaultKind::None, QVariant()},
        {"quickTag5", PreferenceType::StringList, PreferenceDefaultKind::None, QVariant()},
        {"quickTag6", PreferenceType::StringList, PreferenceDefaultKind::None, QVariant()},
        {"quickTag7", PreferenceType::StringList, PreferenceDefaultKind::None, QVariant()},
        {"quickTag8", PreferenceType::StringList, PreferenceDefaultKind::None, QVariant()},
        {"quickTag9", PreferenceType::StringList, PreferenceDefaultKind::None, QVariant()},
        {"reminderHourForDueDates", PreferenceType::Integer, PreferenceDefaultKind::PerKey, QVariant(9)},
        {"lastReminderCheck", PreferenceType::String, PreferenceDefaultKind::None, QVariant()},
    };
    return keys;
}

class PreferenceDefaultsTest : public ::testing::Test
{
protected:
    QString newPath() { return m_dir.filePath(QStringLiteral("prefs%1.ini").arg(++m_count)); }

    // A copy under a new name is parsed from disk instead of coming from QSettings' in-process cache.
    std::unique_ptr<Preferences> reopenFromDisk(Preferences& preferences)
    {
        EXPECT_TRUE(preferences.sync());
        const QString copy = newPath();
        EXPECT_TRUE(QFile::copy(preferences.filePath(), copy));
        return std::make_unique<Preferences>(copy);
    }

    QTemporaryDir m_dir;
    int m_count = 0;
};

void expectDefaultStored(const Preferences& preferences, const ExpectedKey& key)
{
    SCOPED_TRACE(key.name);
    const QString name = QString::fromLatin1(key.name);
    ASSERT_TRUE(preferences.hasKey(name));
    switch (key.type) {
    case PreferenceType::Boolean:
        EXPECT_EQ(preferences.boolForKey(name), key.value.toBool());
        break;
    case PreferenceType::Integer:
        EXPECT_EQ(preferences.integerForKey(name), key.value.toInt());
        break;
    case PreferenceType::Float:
        EXPECT_DOUBLE_EQ(preferences.floatForKey(name), key.value.toDouble());
        break;
    case PreferenceType::String:
    case PreferenceType::IntegerText:
        EXPECT_FALSE(preferences.stringForKey(name).isNull());
        EXPECT_EQ(preferences.stringForKey(name), key.value.toString());
        break;
    case PreferenceType::Object:
    case PreferenceType::StringList:
        ADD_FAILURE() << "no default expected for this type";
        break;
    }
}

TEST(PreferenceKeyTable, ListsEveryKeyWithItsTypeAndDefault)
{
    const std::span<const PreferenceKeyInfo> table = preferenceKeyTable();
    const std::span<const ExpectedKey> expected = expectedKeys();
    ASSERT_EQ(table.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(expected[i].name);
        const QString name = QString::fromLatin1(expected[i].name);
        EXPECT_EQ(QString(table[i].name), name);
        EXPECT_EQ(table[i].type, expected[i].type);
        EXPECT_EQ(table[i].defaultKind, expected[i].kind);
        EXPECT_EQ(table[i].defaultValue(), expected[i].value);
        EXPECT_EQ(findPreferenceKey(name), &table[i]);
    }
}



TEST_F(PreferenceDefaultsTest, FirstRunWritesTheFirstRunGroupAndThePerKeyDefaults)
{
    Preferences preferences(newPath());
    registerDefaults(preferences);
    const auto reopened = reopenFromDisk(preferences);

    for (const Preferences* p : {&preferences, reopened.get()}) {
        for (const ExpectedKey& key : expectedKeys()) {
            if (key.kind == PreferenceDefaultKind::None)
                EXPECT_FALSE(p->hasKey(QString::fromLatin1(key.name))) << key.name;
            else
                expectDefaultStored(*p, key);
        }
    }
}

TEST_F(PreferenceDefaultsTest, LaterRunWritesOnlyMissingPerKeyDefaults)
{
    Preferences preferences(newPath());
    preferences.setBool(u"toolbarIsHidden", true);
    preferences.setBool(u"showBadge", false);
    preferences.setString(u"sortDescriptorAllTasksIdentifiers", QStringLiteral("dueDate"));
    // Present but empty: presence, not the value, decides.
    preferences.setString(u"sortDescriptorContextTasksDirections", QString());
    registerDefaults(preferences);

    EXPECT_TRUE(preferences.boolForKey(u"toolbarIsHidden"));
    EXPECT_FALSE(preferences.boolForKey(u"showBadge"));
    EXPECT_EQ(preferences.stringForKey(u"sortDescriptorAllTasksIdentifiers"), QStringLiteral("dueDate"));
    EXPECT_EQ(preferences.stringForKey(u"sortDescriptorContextTasksDirections"), QString());

    const QStringList keptByUser = {QStringLiteral("toolbarIsHidden"), QStringLiteral("showBadge"),
                                    QStringLiteral("sortDescriptorAllTasksIdentifiers"),
                                    QStringLiteral("sortDescriptorContextTasksDirections")};
    for (const ExpectedKey& key : expectedKeys()) {
        const QString name = QString::fromLatin1(key.name);
        if (keptByUser.contains(name))
            continue;
        if (key.kind == PreferenceDefaultKind::PerKey)
            expectDefaultStored(preferences, key);
        else
            EXPECT_FALSE(preferences.hasKey(name)) << key.name;
    }
}

TEST_F(PreferenceDefaultsTest, InboxWarningCountIsTestedByValue)
{
    struct Case
    {
        const char* name;
        std::function<void(Preferences&)> setUp;
        int expected;
    };
    const Case cases[] = {
        {"absent", [](Preferences&) {}, 5},
        {"zero", [](Preferences& p) { p.setInteger(PreferenceKey::displayRedIconForInboxWithMoreTasksThan, 0); }, 5},
        {"zero as text",
         [](Preferences& p) { p.setString(PreferenceKey::displayRedIconForInboxWithMoreTasksThan, QStringLiteral("0")); },
         5},
        {"three", [](Preferences& p) { p.setInteger(PreferenceKey::displayRedIconForInboxWithMoreTasksThan, 3); }, 3},
        {"negative", [](Preferences& p) { p.setInteger(PreferenceKey::displayRedIconForInboxWithMoreTasksThan, -2); },
         -2},
        {"twelve as text",
         [](Preferences& p) { p.setString(PreferenceKey::displayRedIconForInboxWithMoreTasksThan, QStringLiteral("12")); },
         12},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Preferences preferences(newPath());
        preferences.setBool(u"showBadge", true); // not a first run
        c.setUp(preferences);
        registerDefaults(preferences);
        EXPECT_EQ(preferences.integerForKey(PreferenceKey::displayRedIconForInboxWithMoreTasksThan), c.expected);
        EXPECT_EQ(reopenFromDisk(preferences)->integerForKey(PreferenceKey::displayRedIconForInboxWithMoreTasksThan),
                  c.expected);
    }
}

} // namespace
