#include "app/preferencessheetcontroller.h"

#include "app/datafilepaths.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

// Two names of one file (a link, or a folder reached through a link) count as the same file: deleting
// the target would otherwise delete the data file itself.
bool isSameFile(const QString& a, const QString& b)
{
    if (a == b)
        return true;
    const QString canonicalA = QFileInfo(a).canonicalFilePath();
    return !canonicalA.isEmpty() && canonicalA == QFileInfo(b).canonicalFilePath();
}

} // namespace

PrefererencesSheetController::PrefererencesSheetController(Preferences& preferences,
                                                           PreferencesSheetHost& host)
    : m_preferences(preferences)
    , m_host(host)
{
}

void PrefererencesSheetController::showPreferences()
{
    if (!m_open) {
        m_dataPathChanged = false;
        m_dotMacTurnedOn = m_preferences.boolForKey(PreferenceKey::dotMac14SyncingEnabled);
        if (m_preferences.hasKey(PreferenceKey::backgroundColorForTablesR)) {
            m_host.setColorWell({m_preferences.floatForKey(PreferenceKey::backgroundColorForTablesR),
                                 m_preferences.floatForKey(PreferenceKey::backgroundColorForTablesG),
                                 m_preferences.floatForKey(PreferenceKey::backgroundColorForTablesB)});
        }
    }
    m_currentTab = 0;
    m_host.selectTab(m_currentTab);
    if (!m_open) {
        m_open = true;
        m_host.showSheet();
    }
}

void PrefererencesSheetController::customizeQuickTags()
{
    showPreferences();
    m_currentTab = quickTagsTab;
    m_host.selectTab(m_currentTab);
}

void PrefererencesSheetController::showOpenDialogForCustomDataFilePath(const QString& chosenFolderOrEmptyForCancel)
{
    if (chosenFolderOrEmptyForCancel.isEmpty())
        return;
    m_preferences.setString(PreferenceKey::dataFilePath, chosenFolderOrEmptyForCancel);
    m_dataPathChanged = true;
    m_host.setDataFolderField(chosenFolderOrEmptyForCancel);
}

void PrefererencesSheetController::preferencesDone()
{
    if (!m_open)
        return;
    m_host.hideSheet();
    m_open = false;

    copyDataFileToCustomFolderIfChosen();
    askAboutFirstSyncIfTurnedOn();

    m_host.rebuildStatusMenu();
    m_host.rebuildQuickTagsMenu();

    const RgbColor color = m_host.colorWell();
    m_preferences.setFloat(PreferenceKey::backgroundColorForTablesR, color.red);
    m_preferences.setFloat(PreferenceKey::backgroundColorForTablesG, color.green);
    m_preferences.setFloat(PreferenceKey::backgroundColorForTablesB, color.blue);

    m_host.updateBadge();
    m_preferences.sync();
}

// The running program keeps using the file it opened; the copy is opened from the next start on, so
// changes made until then stay in the old file.
void PrefererencesSheetController::copyDataFileToCustomFolderIfChosen()
{
    if (!m_preferences.boolForKey(PreferenceKey::dataFilePathIsCustom) || !m_dataPathChanged)
        return;
    const QString folder = m_preferences.stringForKey(PreferenceKey::dataFilePath);
    if (folder.isEmpty())
        return;
    const QString target = dataFileInFolder(folder, QString(dataFileName));
    const QString current = m_host.currentDataFilePath();
    // Never delete the target when there is nothing to copy in its place (the store failed to open).
    if (isSameFile(target, current) || !QFileInfo::exists(current))
        return;
    m_host.saveAction();
    QFile::remove(target);
    QFile::copy(current, target);
}

void PrefererencesSheetController::askAboutFirstSyncIfTurnedOn()
{
    if (m_dotMacTurnedOn || !m_preferences.boolForKey(PreferenceKey::dotMac14SyncingEnabled))
        return;
    const bool firstInstallation = m_host.askQuestion(
        u"Cloud disk syncing"_s,
        u"Is this your first Vyro installation?\n\nClick No if you're already using Vyro on some other "
        "computer with cloud disk syncing enabled."_s,
        u"Yes"_s, u"No"_s);
    if (!firstInstallation)
        m_preferences.setBool(PreferenceKey::dotMacWaitingForFirstSync, true);
}
