#include "app/preferencedefaults.h"

#include "app/preferences.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr PreferenceKeyInfo noDefault(QLatin1StringView name, PreferenceType type)
{
    return {name, type, PreferenceDefaultKind::None, 0.0, {}};
}

constexpr PreferenceKeyInfo numberDefault(QLatin1StringView name, PreferenceType type,
                                          PreferenceDefaultKind kind, double value)
{
    return {name, type, kind, value, {}};
}

constexpr PreferenceKeyInfo textDefault(QLatin1StringView name, PreferenceDefaultKind kind,
                                        QLatin1StringView value)
{
    return {name, PreferenceType::String, kind, 0.0, value};
}

constexpr PreferenceKeyInfo keyTable[] = {
    numberDefault(PreferenceKey::showStatusBarItem, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 1),
    numberDefault(PreferenceKey::copyPriorityToNewTasks, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 1),
    numberDefault(PreferenceKey::copyContainerToNewTasks, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 1),
    numberDefault(PreferenceKey::setStartDateToTodayForNewTasks, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 1),
    numberDefault(PreferenceKey::autoFlagTasksByDueDates, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 1),
    numberDefault(PreferenceKey::cleanUpWhenWindowLostsFocus, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 1),
    numberDefault(PreferenceKey::toolbarShowTextOnly, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 0),
    numberDefault(PreferenceKey::toolbarIsHidden, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 0),
    numberDefault(PreferenceKey::lastExportAttachNotesSetting, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 1),
    numberDefault(PreferenceKey::lastExportOpenAfterExportSetting, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 1),
    numberDefault(PreferenceKey::lastExportPrintSinglePages, PreferenceType::Boolean, PreferenceDefaultKind::FirstRun, 1),
    numberDefault(PreferenceKey::lastExportMode, PreferenceType::Integer, PreferenceDefaultKind::FirstRun, 0),
    numberDefault(PreferenceKey::backgroundColorForTablesR, PreferenceType::Float, PreferenceDefaultKind::FirstRun, 0.9123217),
    numberDefault(PreferenceKey::backgroundColorForTablesG, PreferenceType::Float, PreferenceDefaultKind::FirstRun, 0.9123217),
    numberDefault(PreferenceKey::backgroundColorForTablesB, PreferenceType::Float, PreferenceDefaultKind::FirstRun, 0.9123217),
    numberDefault(PreferenceKey::displayRedIconForInboxWithMoreTasksThan, PreferenceType::Integer, PreferenceDefaultKind::PerKey, 5),
    numberDefault(PreferenceKey::showBadge, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::checkVersionOnStartup, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::copyDetailsFromCompletedTasksToNextRecurrentTasks, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::typeAheadAlwaysForFolders, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::typeAheadCollapseFoldersBefore, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::datesUseNaturalLanguage, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::syncTasksMode, PreferenceType::Integer, PreferenceDefaultKind::PerKey, 0),
    numberDefault(PreferenceKey::syncTaskProjectNameMode, PreferenceType::Integer, PreferenceDefaultKind::PerKey, 0),
    numberDefault(PreferenceKey::currentAppToVyroKeyboardShortcut, PreferenceType::Integer, PreferenceDefaultKind::PerKey, 97),
    numberDefault(PreferenceKey::quickAddKeyboardShortcut, PreferenceType::Integer, PreferenceDefaultKind::PerKey, 98),
    numberDefault(PreferenceKey::quickTypeInKeyboardShortcut, PreferenceType::Integer, PreferenceDefaultKind::PerKey, 100),
    numberDefault(PreferenceKey::showGUIAfterQuickAddWindow, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::showGUIAfterCurrentAppToVyroAction, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::showGUIAfterQuickTypeInWindow, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::appleMailIntegrationIncludeSenderInTaskName, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 0),
    numberDefault(PreferenceKey::appleMailIntegrationIncludeSubjectInTaskName, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::appleMailIntegrationIncludeSenderInTaskNote, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::appleMailIntegrationIncludeSubjectInTaskNote, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    numberDefault(PreferenceKey::appleMailIntegrationIncludeCCInTaskNote, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 0),
    numberDefault(PreferenceKey::appleMailIntegrationIncludeBodyInTaskNote, PreferenceType::Boolean, PreferenceDefaultKind::PerKey, 1),
    textDefault(PreferenceKey::tableViewContextTasksHiddenColumns, PreferenceDefaultKind::PerKey, ""_L1),
    textDefault(PreferenceKey::tableViewProjectTasksHiddenColumns, PreferenceDefaultKind::PerKey, ""_L1),
    textDefault(PreferenceKey::tableViewAllTasksHiddenColumns, PreferenceDefaultKind::PerKey, ""_L1),
    textDefault(PreferenceKey::tableViewCompletedTasksHiddenColumns, PreferenceDefaultKind::PerKey, ""_L1),
    noDefault(PreferenceKey::tableViewArchivedTasksHiddenColumns, PreferenceType::String),
    textDefault(PreferenceKey::sortDescriptorContextTasksDirections, PreferenceDefaultKind::PerKey, "1"_L1),
    textDefault(PreferenceKey::sortDescriptorProjectTasksDirections, PreferenceDefaultKind::PerKey, "1"_L1),
    textDefault(PreferenceKey::sortDescriptorAllTasksDirections, PreferenceDefaultKind::PerKey, "1"_L1),
    textDefault(PreferenceKey::sortDescriptorCompletedTasksDirections, PreferenceDefaultKind::PerKey, "1"_L1),
    textDefault(PreferenceKey::sortDescriptorArchivedTasksDirections, PreferenceDefaultKind::PerKey, "1"_L1),
    textDefault(PreferenceKey::sortDescriptorContextTasksIdentifiers, PreferenceDefaultKind::PerKey, "name"_L1),
    textDefault(PreferenceKey::sortDescriptorProjectTasksIdentifiers, PreferenceDefaultKind::PerKey, "name"_L1),
    textDefault(PreferenceKey::sortDescriptorAllTasksIdentifiers, PreferenceDefaultKind::PerKey, "name"_L1),
    textDefault(PreferenceKey::sortDescriptorCompletedTasksIdentifiers, PreferenceDefaultKind::PerKey, "name"_L1),
    textDefault(PreferenceKey::sortDescriptorArchivedTasksIdentifiers, PreferenceDefaultKind::PerKey, "name"_L1),
    noDefault(PreferenceKey::sortDescriptorContextTasksLastNonNaturalIdentifiers, PreferenceType::String),
    noDefault(PreferenceKey::sortDescriptorContextTasksLastNonNaturalDirections, PreferenceType::String),
    noDefault(PreferenceKey::sortDescriptorProjectTasksLastNonNaturalIdentifiers, PreferenceType::String),
    noDefault(PreferenceKey::sortDescriptorProjectTasksLastNonNaturalDirections, PreferenceType::String),
    noDefault(PreferenceKey::tableViewContextTasksColumnsSizes, PreferenceType::Object),
    noDefault(PreferenceKey::tableViewProjectTasksColumnsSizes, PreferenceType::Object),
    noDefault(PreferenceKey::tableViewAllTasksColumnsSizes, PreferenceType::Object),
    noDefault(PreferenceKey::tableViewCompletedTasksColumnsSizes, PreferenceType::Object),
    noDefault(PreferenceKey::tableViewArchivedTasksColumnsSizes, PreferenceType::Object),
    noDefault(PreferenceKey::floatingMainWindowByDefault, PreferenceType::Boolean),
    noDefault(PreferenceKey::dotMac14SyncingEnabled, PreferenceType::Boolean),
    noDefault(PreferenceKey::dotMacWaitingForFirstSync, PreferenceType::Boolean),
    noDefault(PreferenceKey::cloudDiskServer, PreferenceType::String),
    noDefault(PreferenceKey::cloudDiskUser, PreferenceType::String),
    noDefault(PreferenceKey::cloudDiskFolder, PreferenceType::String),
    noDefault(PreferenceKey::calendarServer, PreferenceType::String),
    noDefault(PreferenceKey::calendarUser, PreferenceType::String),
    noDefault(PreferenceKey::afterSyncCommand, PreferenceType::String),
    noDefault(PreferenceKey::hideApplicationIfWindowNotActive, PreferenceType::Boolean),
    noDefault(PreferenceKey::hideApplicationIfWindowNotActiveAfterSeconds, PreferenceType::IntegerText),
    noDefault(PreferenceKey::autoSave, PreferenceType::Boolean),
    noDefault(PreferenceKey::autoSaveAfterMinutes, PreferenceType::IntegerText),
    noDefault(PreferenceKey::autoSaveWhenWindowLostsFocus, PreferenceType::Boolean),
    noDefault(PreferenceKey::syncWhenWindowLostsFocus, PreferenceType::Boolean),
    noDefault(PreferenceKey::iSyncWhenWindowLostsFocus, PreferenceType::Boolean),
    noDefault(PreferenceKey::syncWhenQuittingApp, PreferenceType::Boolean),
    noDefault(PreferenceKey::iSyncWhenQuittingApp, PreferenceType::Boolean),
    noDefault(PreferenceKey::iSyncWhenSyncing, PreferenceType::Boolean),
    noDefault(PreferenceKey::dataFilePathIsCustom, PreferenceType::Boolean),
    noDefault(PreferenceKey::dataFilePath, PreferenceType::String),
    noDefault(PreferenceKey::autoCapitalizeTaskNames, PreferenceType::Boolean),
    noDefault(PreferenceKey::cleanUpImmediately, PreferenceType::Boolean),
    noDefault(PreferenceKey::quickEntryMode, PreferenceType::Boolean),
    noDefault(PreferenceKey::treeExpandSelectedItems, PreferenceType::Boolean),
    noDefault(PreferenceKey::tabIndexLastUsed, PreferenceType::Integer),
    noDefault(PreferenceKey::timeModeControlForContextsState, PreferenceType::Integer),
    noDefault(PreferenceKey::timeModeControlForProjectsState, PreferenceType::Integer),
    noDefault(PreferenceKey::timeModeControlForPendingState, PreferenceType::Integer),
    noDefault(PreferenceKey::ownerModeControlForContextsState, PreferenceType::Integer),
    noDefault(PreferenceKey::ownerModeControlForProjectsState, PreferenceType::Integer),
    noDefault(PreferenceKey::ownerModeControlForPendingState, PreferenceType::Integer),
    noDefault(PreferenceKey::flaggedModeControlForContextsState, PreferenceType::Boolean),
    noDefault(PreferenceKey::flaggedModeControlForProjectsState, PreferenceType::Boolean),
    noDefault(PreferenceKey::flaggedModeControlForPendingState, PreferenceType::Boolean),
    noDefault(PreferenceKey::flaggedModeControlForArchiveState, PreferenceType::Boolean),
    noDefault(PreferenceKey::nextActionsModeControlForContextsState, PreferenceType::Boolean),
    noDefault(PreferenceKey::nextActionsModeControlForPendingState, PreferenceType::Boolean),
    noDefault(PreferenceKey::contextTreeExpandedIndexes, PreferenceType::Object),
    noDefault(PreferenceKey::projectTreeExpandedIndexes, PreferenceType::Object),
    noDefault(PreferenceKey::archiveCategoryTreeExpandedIndexes, PreferenceType::Object),
    noDefault(PreferenceKey::lastSelectedContextObjectID, PreferenceType::String),
    noDefault(PreferenceKey::lastSelectedProjectObjectID, PreferenceType::String),
    noDefault(PreferenceKey::lastSelectedArchiveCategoryObjectID, PreferenceType::String),
    noDefault(PreferenceKey::lastSelectedSmartfolderObjectID, PreferenceType::String),
    noDefault(PreferenceKey::showGUIForQSActions, PreferenceType::Boolean),
    noDefault(PreferenceKey::currentAppToVyroMailTags2SupportEnabled, PreferenceType::Boolean),
    noDefault(PreferenceKey::currentAppToVyroMailTags2UseNoteAsTaskName, PreferenceType::Boolean),
    noDefault(PreferenceKey::lastExportType, PreferenceType::Integer),
    noDefault(PreferenceKey::lastExportFilePath, PreferenceType::String),
    noDefault(PreferenceKey::lastDownloadPromptForVersion, PreferenceType::String),
    noDefault("quickTag1"_L1, PreferenceType::StringList),
    noDefault("quickTag2"_L1, PreferenceType::StringList),
    noDefault("quickTag3"_L1, PreferenceType::StringList),
    noDefault("quickTag4"_L1, PreferenceType::StringList),
    noDefault("quickTag5"_L1, PreferenceType::StringList),
    noDefault("quickTag6"_L1, PreferenceType::StringList),
    noDefault("quickTag7"_L1, PreferenceType::StringList),
    noDefault("quickTag8"_L1, PreferenceType::StringList),
    noDefault("quickTag9"_L1, PreferenceType::StringList),
    numberDefault(PreferenceKey::reminderHourForDueDates, PreferenceType::Integer, PreferenceDefaultKind::PerKey, 9),
    noDefault(PreferenceKey::lastReminderCheck, PreferenceType::String),
};

void writeDefault(Preferences& preferences, const PreferenceKeyInfo& key)
{
    switch (key.type) {
    case PreferenceType::Boolean:
        preferences.setBool(key.name, key.numberDefault != 0.0);
        break;
    case PreferenceType::Integer:
        preferences.setInteger(key.name, int(key.numberDefault));
        break;
    case PreferenceType::Float:
        preferences.setFloat(key.name, key.numberDefault);
        break;
    case PreferenceType::String:
    case PreferenceType::IntegerText:
        preferences.setString(key.name, QString(key.textDefault));
        break;
    case PreferenceType::Object:
    case PreferenceType::StringList:
        break;
    }
}

} // namespace

QString quickTagKey(int number)
{
    return u"quickTag"_s + QString::number(number);
}

QVariant PreferenceKeyInfo::defaultValue() const
{
    if (defaultKind == PreferenceDefaultKind::None)
        return {};
    switch (type) {
    case PreferenceType::Boolean:
        return QVariant(numberDefault != 0.0);
    case PreferenceType::Integer:
        return QVariant(int(numberDefault));
    case PreferenceType::Float:
        return QVariant(numberDefault);
    case PreferenceType::String:
    case PreferenceType::IntegerText:
        return QVariant(QString(textDefault));
    case PreferenceType::Object:
    case PreferenceType::StringList:
        break;
    }
    return {};
}

std::span<const PreferenceKeyInfo> preferenceKeyTable()
{
    return keyTable;
}

const PreferenceKeyInfo* findPreferenceKey(QStringView name)
{
    const auto* found = std::find_if(std::begin(keyTable), std::end(keyTable),
                                     [name](const PreferenceKeyInfo& key) { return key.name == name; });
    return found == std::end(keyTable) ? nullptr : found;
}

void registerDefaults(Preferences& preferences)
{
    if (preferences.isDomainEmpty()) {
        for (const PreferenceKeyInfo& key : keyTable) {
            if (key.defaultKind == PreferenceDefaultKind::FirstRun)
                writeDefault(preferences, key);
        }
    }
    for (const PreferenceKeyInfo& key : keyTable) {
        if (key.defaultKind != PreferenceDefaultKind::PerKey)
            continue;
        // The one key tested by value: a stored 0 counts as unset.
        if (key.name == PreferenceKey::displayRedIconForInboxWithMoreTasksThan) {
            if (preferences.integerForKey(key.name) == 0)
                writeDefault(preferences, key);
        } else if (!preferences.hasKey(key.name)) {
            writeDefault(preferences, key);
        }
    }
}
