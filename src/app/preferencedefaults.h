#pragma once

#include <QLatin1StringView>
#include <QString>
#include <QStringView>
#include <QVariant>

#include <span>

class Preferences;

// Names of the preference keys, exactly as stored.
namespace PreferenceKey {
inline constexpr QLatin1StringView showStatusBarItem{"showStatusBarItem"};
inline constexpr QLatin1StringView copyPriorityToNewTasks{"copyPriorityToNewTasks"};
inline constexpr QLatin1StringView copyContainerToNewTasks{"copyContainerToNewTasks"};
inline constexpr QLatin1StringView setStartDateToTodayForNewTasks{"setStartDateToTodayForNewTasks"};
inline constexpr QLatin1StringView autoFlagTasksByDueDates{"autoFlagTasksByDueDates"};
inline constexpr QLatin1StringView cleanUpWhenWindowLostsFocus{"cleanUpWhenWindowLostsFocus"};
inline constexpr QLatin1StringView toolbarShowTextOnly{"toolbarShowTextOnly"};
inline constexpr QLatin1StringView toolbarIsHidden{"toolbarIsHidden"};
inline constexpr QLatin1StringView lastExportAttachNotesSetting{"lastExportAttachNotesSetting"};
inline constexpr QLatin1StringView lastExportOpenAfterExportSetting{"lastExportOpenAfterExportSetting"};
inline constexpr QLatin1StringView lastExportPrintSinglePages{"lastExportPrintSinglePages"};
inline constexpr QLatin1StringView lastExportMode{"lastExportMode"};
inline constexpr QLatin1StringView backgroundColorForTablesR{"backgroundColorForTablesR"};
inline constexpr QLatin1StringView backgroundColorForTablesG{"backgroundColorForTablesG"};
inline constexpr QLatin1StringView backgroundColorForTablesB{"backgroundColorForTablesB"};
inline constexpr QLatin1StringView displayRedIconForInboxWithMoreTasksThan{"displayRedIconForInboxWithMoreTasksThan"};
inline constexpr QLatin1StringView showBadge{"showBadge"};
inline constexpr QLatin1StringView checkVersionOnStartup{"checkVersionOnStartup"};
inline constexpr QLatin1StringView copyDetailsFromCompletedTasksToNextRecurrentTasks{"copyDetailsFromCompletedTasksToNextRecurrentTasks"};
inline constexpr QLatin1StringView typeAheadAlwaysForFolders{"typeAheadAlwaysForFolders"};
inline constexpr QLatin1StringView typeAheadCollapseFoldersBefore{"typeAheadCollapseFoldersBefore"};
inline constexpr QLatin1StringView datesUseNaturalLanguage{"datesUseNaturalLanguage"};
inline constexpr QLatin1StringView syncTasksMode{"syncTasksMode"};
inline constexpr QLatin1StringView syncTaskProjectNameMode{"syncTaskProjectNameMode"};
inline constexpr QLatin1StringView currentAppToVyroKeyboardShortcut{"currentAppToVyroKeyboardShortcut"};
inline constexpr QLatin1StringView quickAddKeyboardShortcut{"quickAddKeyboardShortcut"};
inline constexpr QLatin1StringView quickTypeInKeyboardShortcut{"quickTypeInKeyboardShortcut"};
inline constexpr QLatin1StringView showGUIAfterQuickAddWindow{"showGUIAfterQuickAddWindow"};
inline constexpr QLatin1StringView showGUIAfterCurrentAppToVyroAction{"showGUIAfterCurrentAppToVyroAction"};
inline constexpr QLatin1StringView showGUIAfterQuickTypeInWindow{"showGUIAfterQuickTypeInWindow"};
inline constexpr QLatin1StringView appleMailIntegrationIncludeSenderInTaskName{"appleMailIntegrationIncludeSenderInTaskName"};
inline constexpr QLatin1StringView appleMailIntegrationIncludeSubjectInTaskName{"appleMailIntegrationIncludeSubjectInTaskName"};
inline constexpr QLatin1StringView appleMailIntegrationIncludeSenderInTaskNote{"appleMailIntegrationIncludeSenderInTaskNote"};
inline constexpr QLatin1StringView appleMailIntegrationIncludeSubjectInTaskNote{"appleMailIntegrationIncludeSubjectInTaskNote"};
inline constexpr QLatin1StringView appleMailIntegrationIncludeCCInTaskNote{"appleMailIntegrationIncludeCCInTaskNote"};
inline constexpr QLatin1StringView appleMailIntegrationIncludeBodyInTaskNote{"appleMailIntegrationIncludeBodyInTaskNote"};
inline constexpr QLatin1StringView tableViewContextTasksHiddenColumns{"tableViewContextTasksHiddenColumns"};
inline constexpr QLatin1StringView tableViewProjectTasksHiddenColumns{"tableViewProjectTasksHiddenColumns"};
inline constexpr QLatin1StringView tableViewAllTasksHiddenColumns{"tableViewAllTasksHiddenColumns"};
inline constexpr QLatin1StringView tableViewCompletedTasksHiddenColumns{"tableViewCompletedTasksHiddenColumns"};
inline constexpr QLatin1StringView tableViewArchivedTasksHiddenColumns{"tableViewArchivedTasksHiddenColumns"};
inline constexpr QLatin1StringView sortDescriptorContextTasksDirections{"sortDescriptorContextTasksDirections"};
inline constexpr QLatin1StringView sortDescriptorProjectTasksDirections{"sortDescriptorProjectTasksDirections"};
inline constexpr QLatin1StringView sortDescriptorAllTasksDirections{"sortDescriptorAllTasksDirections"};
inline constexpr QLatin1StringView sortDescriptorCompletedTasksDirections{"sortDescriptorCompletedTasksDirections"};
inline constexpr QLatin1StringView sortDescriptorArchivedTasksDirections{"sortDescriptorArchivedTasksDirections"};
inline constexpr QLatin1StringView sortDescriptorContextTasksIdentifiers{"sortDescriptorContextTasksIdentifiers"};
inline constexpr QLatin1StringView sortDescriptorProjectTasksIdentifiers{"sortDescriptorProjectTasksIdentifiers"};
inline constexpr QLatin1StringView sortDescriptorAllTasksIdentifiers{"sortDescriptorAllTasksIdentifiers"};
inline constexpr QLatin1StringView sortDescriptorCompletedTasksIdentifiers{"sortDescriptorCompletedTasksIdentifiers"};
inline constexpr QLatin1StringView sortDescriptorArchivedTasksIdentifiers{"sortDescriptorArchivedTasksIdentifiers"};
inline constexpr QLatin1StringView sortDescriptorContextTasksLastNonNaturalIdentifiers{"sortDescriptorContextTasksLastNonNaturalIdentifiers"};
inline constexpr QLatin1StringView sortDescriptorContextTasksLastNonNaturalDirections{"sortDescriptorContextTasksLastNonNaturalDirections"};
inline constexpr QLatin1StringView sortDescriptorProjectTasksLastNonNaturalIdentifiers{"sortDescriptorProjectTasksLastNonNaturalIdentifiers"};
inline constexpr QLatin1StringView sortDescriptorProjectTasksLastNonNaturalDirections{"sortDescriptorProjectTasksLastNonNaturalDirections"};
inline constexpr QLatin1StringView tableViewContextTasksColumnsSizes{"tableViewContextTasksColumnsSizes"};
inline constexpr QLatin1StringView tableViewProjectTasksColumnsSizes{"tableViewProjectTasksColumnsSizes"};
inline constexpr QLatin1StringView tableViewAllTasksColumnsSizes{"tableViewAllTasksColumnsSizes"};
inline constexpr QLatin1StringView tableViewCompletedTasksColumnsSizes{"tableViewCompletedTasksColumnsSizes"};
inline constexpr QLatin1StringView tableViewArchivedTasksColumnsSizes{"tableViewArchivedTasksColumnsSizes"};
inline constexpr QLatin1StringView floatingMainWindowByDefault{"floatingMainWindowByDefault"};
inline constexpr QLatin1StringView dotMac14SyncingEnabled{"dotMac14SyncingEnabled"};
inline constexpr QLatin1StringView dotMacWaitingForFirstSync{"dotMacWaitingForFirstSync"};
// The cloud disk: a WebDAV server address and user name, or a local folder a sync client keeps (which
// wins when set). The password lives in the desktop keyring, never here.
inline constexpr QLatin1StringView cloudDiskServer{"cloudDiskServer"};
inline constexpr QLatin1StringView cloudDiskUser{"cloudDiskUser"};
inline constexpr QLatin1StringView cloudDiskFolder{"cloudDiskFolder"};
// The calendar server: its address (the user's CalDAV address or any address the server discovers
// from) and user name; the password lives in the desktop keyring. The after-sync command is a
// program and its arguments, split as QProcess::splitCommand does (quotes group), never given to a shell.
inline constexpr QLatin1StringView calendarServer{"calendarServer"};
inline constexpr QLatin1StringView calendarUser{"calendarUser"};
inline constexpr QLatin1StringView afterSyncCommand{"afterSyncCommand"};
inline constexpr QLatin1StringView hideApplicationIfWindowNotActive{"hideApplicationIfWindowNotActive"};
inline constexpr QLatin1StringView hideApplicationIfWindowNotActiveAfterSeconds{"hideApplicationIfWindowNotActiveAfterSeconds"};
inline constexpr QLatin1StringView autoSave{"autoSave"};
inline constexpr QLatin1StringView autoSaveAfterMinutes{"autoSaveAfterMinutes"};
inline constexpr QLatin1StringView autoSaveWhenWindowLostsFocus{"autoSaveWhenWindowLostsFocus"};
inline constexpr QLatin1StringView syncWhenWindowLostsFocus{"syncWhenWindowLostsFocus"};
inline constexpr QLatin1StringView iSyncWhenWindowLostsFocus{"iSyncWhenWindowLostsFocus"};
inline constexpr QLatin1StringView syncWhenQuittingApp{"syncWhenQuittingApp"};
inline constexpr QLatin1StringView iSyncWhenQuittingApp{"iSyncWhenQuittingApp"};
inline constexpr QLatin1StringView iSyncWhenSyncing{"iSyncWhenSyncing"};
inline constexpr QLatin1StringView dataFilePathIsCustom{"dataFilePathIsCustom"};
inline constexpr QLatin1StringView dataFilePath{"dataFilePath"};
inline constexpr QLatin1StringView autoCapitalizeTaskNames{"autoCapitalizeTaskNames"};
inline constexpr QLatin1StringView cleanUpImmediately{"cleanUpImmediately"};
inline constexpr QLatin1StringView quickEntryMode{"quickEntryMode"};
inline constexpr QLatin1StringView treeExpandSelectedItems{"treeExpandSelectedItems"};
inline constexpr QLatin1StringView tabIndexLastUsed{"tabIndexLastUsed"};
inline constexpr QLatin1StringView timeModeControlForContextsState{"timeModeControlForContextsState"};
inline constexpr QLatin1StringView timeModeControlForProjectsState{"timeModeControlForProjectsState"};
inline constexpr QLatin1StringView timeModeControlForPendingState{"timeModeControlForPendingState"};
inline constexpr QLatin1StringView ownerModeControlForContextsState{"ownerModeControlForContextsState"};
inline constexpr QLatin1StringView ownerModeControlForProjectsState{"ownerModeControlForProjectsState"};
inline constexpr QLatin1StringView ownerModeControlForPendingState{"ownerModeControlForPendingState"};
inline constexpr QLatin1StringView flaggedModeControlForContextsState{"flaggedModeControlForContextsState"};
inline constexpr QLatin1StringView flaggedModeControlForProjectsState{"flaggedModeControlForProjectsState"};
inline constexpr QLatin1StringView flaggedModeControlForPendingState{"flaggedModeControlForPendingState"};
inline constexpr QLatin1StringView flaggedModeControlForArchiveState{"flaggedModeControlForArchiveState"};
inline constexpr QLatin1StringView nextActionsModeControlForContextsState{"nextActionsModeControlForContextsState"};
inline constexpr QLatin1StringView nextActionsModeControlForPendingState{"nextActionsModeControlForPendingState"};
inline constexpr QLatin1StringView contextTreeExpandedIndexes{"contextTreeExpandedIndexes"};
inline constexpr QLatin1StringView projectTreeExpandedIndexes{"projectTreeExpandedIndexes"};
inline constexpr QLatin1StringView archiveCategoryTreeExpandedIndexes{"archiveCategoryTreeExpandedIndexes"};
inline constexpr QLatin1StringView lastSelectedContextObjectID{"lastSelectedContextObjectID"};
inline constexpr QLatin1StringView lastSelectedProjectObjectID{"lastSelectedProjectObjectID"};
inline constexpr QLatin1StringView lastSelectedArchiveCategoryObjectID{"lastSelectedArchiveCategoryObjectID"};
inline constexpr QLatin1StringView lastSelectedSmartfolderObjectID{"lastSelectedSmartfolderObjectID"};
inline constexpr QLatin1StringView showGUIForQSActions{"showGUIForQSActions"};
inline constexpr QLatin1StringView currentAppToVyroMailTags2SupportEnabled{"currentAppToVyroMailTags2SupportEnabled"};
inline constexpr QLatin1StringView currentAppToVyroMailTags2UseNoteAsTaskName{"currentAppToVyroMailTags2UseNoteAsTaskName"};
inline constexpr QLatin1StringView lastExportType{"lastExportType"};
inline constexpr QLatin1StringView lastExportFilePath{"lastExportFilePath"};
inline constexpr QLatin1StringView lastDownloadPromptForVersion{"lastDownloadPromptForVersion"};
inline constexpr QLatin1StringView reminderHourForDueDates{"reminderHourForDueDates"};
inline constexpr QLatin1StringView lastReminderCheck{"lastReminderCheck"};
} // namespace PreferenceKey

inline constexpr int quickTagCount = 9;
// "quickTag1" … "quickTag9"; number runs from 1 to quickTagCount.
QString quickTagKey(int number);

enum class PreferenceType {
    Boolean,
    Integer,
    Float,
    String,
    IntegerText, // a string holding an integer ("15"), as bound to a text field
    Object,
    StringList,
};

enum class PreferenceDefaultKind {
    None,
    FirstRun, // written only when the domain holds no key at all
    PerKey,   // written at every start when the key has no value
};

struct PreferenceKeyInfo
{
    QLatin1StringView name;
    PreferenceType type;
    PreferenceDefaultKind defaultKind;
    double numberDefault;          // Boolean (0 or 1), Integer and Float defaults
    QLatin1StringView textDefault; // String defaults

    // The default as the matching setter would store it; invalid when the key has none.
    QVariant defaultValue() const;
};

// Every key of the program, in the order of the preference table; the per-key defaults are written in
// this order.
std::span<const PreferenceKeyInfo> preferenceKeyTable();

// nullptr for a name that is not in the table.
const PreferenceKeyInfo* findPreferenceKey(QStringView name);

// Start-up defaults: the first-run group when the domain is empty, then each per-key default whose key
// has no value. "displayRedIconForInboxWithMoreTasksThan" is tested by its integer value instead, so a
// stored 0 is replaced by 5 as well. Does not sync.
void registerDefaults(Preferences& preferences);
