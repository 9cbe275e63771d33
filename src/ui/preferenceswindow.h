#pragma once

#include "app/preferencessheetcontroller.h"
#include "exchange/keyringpassword.h"

#include <QColor>
#include <QDialog>

#include <functional>
#include <optional>
#include <vector>

class Preferences;
class QLineEdit;
class QTabWidget;
class QToolButton;

// What the preferences window needs of the rest of the program. Every member may be left empty: the
// store is then not saved, the menus and the badge are not rebuilt, and the questions and choosers are
// the desktop's own dialogs.
struct PreferencesWindowServices {
    std::function<bool()> saveStore;
    std::function<QString()> currentDataFilePath;
    std::function<void()> rebuildStatusMenu;
    std::function<void()> rebuildQuickTagsMenu;
    std::function<void()> updateBadge;
    // A question on the window; true for the default button.
    std::function<bool(const QString& title, const QString& text, const QString& defaultButton, const QString& otherButton)> askQuestion;
    // A folder chosen by the user; empty when cancelled.
    std::function<QString(QWidget* parent, const QString& startFolder)> chooseFolder;
    // A colour chosen by the user; nullopt when cancelled.
    std::function<std::optional<QColor>(QWidget* parent, const QColor& initial)> chooseColour;
    // Forgets the calendar sync's state; answers the message for the user.
    std::function<QString()> forgetCalendarServer;
};

// The preferences window: every preference a user sets, in tabs, each widget bound to its key (a change
// is written at once). Opening, the custom data folder and what closing applies are the headless sheet
// controller's; the window is its host.
//
// The tabs, in order: General, New tasks & lists, Keyboard, Quick tags (index 3, as the controller's
// quickTagsTab), Mail capture, Sync & cloud disk, Data file. Hot keys are kept as the virtual key codes
// of the preference table and offered as function keys.
class PreferencesWindow : public QDialog, public PreferencesSheetHost {
    Q_OBJECT
public:
    PreferencesWindow(Preferences& preferences, PreferencesWindowServices services, QWidget* mainWindow);
    ~PreferencesWindow() override;

    void showPreferences();
    void customizeQuickTags();
    // Closes the window and applies what closing applies (also on Escape and the window's close button).
    void preferencesDone();

    PrefererencesSheetController& controller() { return m_controller; }
    QTabWidget* tabs() const { return m_tabs; }

    // The function keys offered for hot keys, as (label, virtual key code); "None" is 0.
    static const std::vector<std::pair<QString, int>>& hotKeyChoices();

    bool saveAction() override;
    QString currentDataFilePath() const override;
    bool askQuestion(const QString& title, const QString& text, const QString& defaultButton,
                     const QString& otherButton) override;
    void rebuildStatusMenu() override;
    void rebuildQuickTagsMenu() override;
    void updateBadge() override;
    RgbColor colorWell() const override;
    void setColorWell(const RgbColor& color) override;
    void setDataFolderField(const QString& folder) override;
    void selectTab(int index) override;
    void showSheet() override;
    void hideSheet() override;

Q_SIGNALS:
    // A widget wrote `key`: what reads it at once (hot keys, the timers) may follow.
    void preferenceChanged(const QString& key);

public Q_SLOTS:
    void reject() override;

private:
    QWidget* buildGeneralTab();
    QWidget* buildNewTasksTab();
    QWidget* buildKeyboardTab();
    QWidget* buildQuickTagsTab();
    QWidget* buildMailTab();
    QWidget* buildSyncTab();
    QWidget* buildDataFileTab();

    // Widgets bound to one key each; their loaders read the keys again when the window opens.
    QWidget* boolBox(QLatin1StringView key, const QString& text);
    QWidget* integerSpin(QLatin1StringView key, const QString& accessibleName, int minimum, int maximum, const QString& suffix = {},
                         bool storedAsText = false);
    // A key kept as the text of a whole number ("15").
    QWidget* integerChoice(QLatin1StringView key, const QString& accessibleName, const std::vector<std::pair<QString, int>>& choices);
    QWidget* stringListField(const QString& key, const QString& accessibleName);
    // A text preference; an empty text removes the key.
    QWidget* textField(QLatin1StringView key, const QString& accessibleName, const QString& placeholder);
    // The cloud disk's password: written to the desktop keyring when editing ends, never to the
    // preferences file.
    // A password written to the keyring under the entry the account fields name (none: not complete).
    QWidget* passwordField(const QString& name, const QString& accessibleName,
                           std::function<std::optional<KeyringEntry>()> entry);
    QWidget* forgetCalendarServerButton();
    void chooseColour();
    void chooseDataFolder();
    void loadAll();

    Preferences& m_preferences;
    PreferencesWindowServices m_services;
    PrefererencesSheetController m_controller;
    QTabWidget* m_tabs = nullptr;
    QToolButton* m_colourButton = nullptr;
    QLineEdit* m_dataFolder = nullptr;
    RgbColor m_colour{0.9123217, 0.9123217, 0.9123217};
    std::vector<std::function<void()>> m_loaders;
    bool m_loading = false;
};
