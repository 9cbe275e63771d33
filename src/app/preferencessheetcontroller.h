#pragma once

#include <QString>

class Preferences;

struct RgbColor
{
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
};

// What the preferences sheet needs of the main window, the sheet's widgets and the store.
class PreferencesSheetHost
{
public:
    virtual ~PreferencesSheetHost() = default;

    // Saves the store; a failure is shown to the user by the store side.
    virtual bool saveAction() = 0;
    // The data file the running program has open.
    virtual QString currentDataFilePath() const = 0;

    // A modal question on the main window; true when the default button was chosen.
    virtual bool askQuestion(const QString& title, const QString& text, const QString& defaultButton,
                             const QString& otherButton) = 0;

    virtual void rebuildStatusMenu() = 0;
    virtual void rebuildQuickTagsMenu() = 0;
    virtual void updateBadge() = 0;

    // The colour well for the background of lists and trees, device RGB components from 0.0 to 1.0.
    virtual RgbColor colorWell() const = 0;
    virtual void setColorWell(const RgbColor& color) = 0;

    virtual void setDataFolderField(const QString& folder) = 0;
    virtual void selectTab(int index) = 0;
    virtual void showSheet() = 0;
    virtual void hideSheet() = 0;
};

// The logic of the preferences sheet. The sheet's widgets are bound to their preference keys directly;
// this class handles opening, the choice of a custom data folder and what is applied on closing.
class PrefererencesSheetController
{
public:
    static constexpr int quickTagsTab = 3;

    PrefererencesSheetController(Preferences& preferences, PreferencesSheetHost& host);

    bool isOpen() const { return m_open; }
    int currentTab() const { return m_currentTab; }

    // Opens the sheet at its first tab. While the sheet is open, only selects that tab again: what was
    // remembered at opening stays.
    void showPreferences();
    void customizeQuickTags();

    // The result of the folder chooser. Stores the folder as "dataFilePath" but leaves
    // "dataFilePathIsCustom" to its check box.
    void showOpenDialogForCustomDataFilePath(const QString& chosenFolderOrEmptyForCancel);

    // Closes the sheet and applies: the copy of the data file into a newly chosen custom folder, the
    // first-sync question when cloud-disk sync was turned on, the menus, the list colour and the badge.
    // Does nothing while the sheet is closed. The copy reports no failure; the next start falls back as
    // the data file path rules say.
    void preferencesDone();

private:
    void copyDataFileToCustomFolderIfChosen();
    void askAboutFirstSyncIfTurnedOn();

    Preferences& m_preferences;
    PreferencesSheetHost& m_host;
    bool m_open = false;
    int m_currentTab = 0;
    bool m_dataPathChanged = false;
    bool m_dotMacTurnedOn = false;
};
