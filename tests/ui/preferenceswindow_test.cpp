#include "support/storefixture.h"
#include "support/widgetlookup.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "ui/preferenceswindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <functional>

using namespace Qt::Literals::StringLiterals;


class PreferencesWindowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        prefs = std::make_unique<Preferences>(dir.filePath(u"prefs.ini"_s));
        registerDefaults(*prefs);
        services.askQuestion = [this](const QString& title, const QString&, const QString& yes, const QString& no) {
            questions << title + u" ["_s + yes + u"|"_s + no + u"]"_s;
            return answer;
        };
        services.rebuildStatusMenu = [this] { calls << u"status menu"_s; };
        services.rebuildQuickTagsMenu = [this] { calls << u"quick tags menu"_s; };
        services.updateBadge = [this] { calls << u"badge"_s; };
        services.saveStore = [this] {
            calls << u"save"_s;
            return true;
        };
        services.currentDataFilePath = [this] { return dir.filePath(u"Vyro.sql"_s); };
        services.chooseFolder = [this](QWidget*, const QString&) { return chosenFolder; };
        services.chooseColour = [](QWidget*, const QColor&) { return std::optional<QColor>(QColor::fromRgbF(0.25f, 0.5f, 0.75f)); };
    }

    QTemporaryDir dir;
    std::unique_ptr<Preferences> prefs;
    PreferencesWindowServices services;
    QStringList questions;
    QStringList calls;
    bool answer = true;
    QString chosenFolder;
};

TEST_F(PreferencesWindowTest, WidgetsShowAndWriteTheirKeysAtOnce)
{
    prefs->setBool(PreferenceKey::autoSave, true);
    prefs->setString(PreferenceKey::autoSaveAfterMinutes, u"15"_s);
    prefs->setStringList(quickTagKey(2), {u"home"_s, u"errand"_s});
    QWidget mainWindow;
    PreferencesWindow window(*prefs, services, &mainWindow);
    window.showPreferences();
    ASSERT_TRUE(window.isVisible());

    // What opening shows: the stored values, the defaults where nothing else is stored.
    EXPECT_TRUE(child<QCheckBox>(window, u"autoSave"_s)->isChecked());
    EXPECT_EQ(child<QSpinBox>(window, u"autoSaveAfterMinutes"_s)->value(), 15);
    EXPECT_EQ(child<QLineEdit>(window, u"quickTag2"_s)->text(), u"home, errand"_s);
    EXPECT_EQ(child<QComboBox>(window, u"quickAddKeyboardShortcut"_s)->currentText(), u"F7"_s);
    EXPECT_EQ(child<QSpinBox>(window, u"displayRedIconForInboxWithMoreTasksThan"_s)->value(), 5);

    const struct {
        const char* widget;
        std::function<void()> change;
        std::function<QVariant()> stored;
        QVariant expected;
    } cases[] = {
        {"check box", [&] { child<QCheckBox>(window, u"showBadge"_s)->click(); },
         [&] { return prefs->boolForKey(PreferenceKey::showBadge); }, false},
        {"check box on another tab", [&] { child<QCheckBox>(window, u"appleMailIntegrationIncludeCCInTaskNote"_s)->click(); },
         [&] { return prefs->boolForKey(PreferenceKey::appleMailIntegrationIncludeCCInTaskNote); }, true},
        {"number", [&] { child<QSpinBox>(window, u"displayRedIconForInboxWithMoreTasksThan"_s)->setValue(12); },
         [&] { return prefs->integerForKey(PreferenceKey::displayRedIconForInboxWithMoreTasksThan); }, 12},
        {"number kept as text", [&] { child<QSpinBox>(window, u"hideApplicationIfWindowNotActiveAfterSeconds"_s)->setValue(30); },
         [&] { return prefs->objectForKey(PreferenceKey::hideApplicationIfWindowNotActiveAfterSeconds); }, u"30"_s},
        {"hot key as its key code",
         [&] {
             auto* combo = child<QComboBox>(window, u"currentAppToVyroKeyboardShortcut"_s);
             const int f5 = combo->findText(u"F5"_s);
             combo->setCurrentIndex(f5);
             Q_EMIT combo->activated(f5);
         },
         [&] { return prefs->integerForKey(PreferenceKey::currentAppToVyroKeyboardShortcut); }, 96},
        {"hot key none",
         [&] {
             auto* combo = child<QComboBox>(window, u"quickTypeInKeyboardShortcut"_s);
             combo->setCurrentIndex(0);
             Q_EMIT combo->activated(0);
         },
         [&] { return prefs->integerForKey(PreferenceKey::quickTypeInKeyboardShortcut); }, 0},
        {"choice",
         [&] {
             auto* combo = child<QComboBox>(window, u"syncTasksMode"_s);
             combo->setCurrentIndex(3);
             Q_EMIT combo->activated(3);
         },
         [&] { return prefs->integerForKey(PreferenceKey::syncTasksMode); }, 3},
        {"quick tag list",
         [&] {
             auto* edit = child<QLineEdit>(window, u"quickTag5"_s);
             QTest::keyClicks(edit, u"office, , calls"_s);
         },
         [&] { return prefs->stringListForKey(quickTagKey(5)); }, QStringList{u"office"_s, u"calls"_s}},
        {"quick tag emptied",
         [&] {
             auto* edit = child<QLineEdit>(window, u"quickTag2"_s);
             edit->selectAll();
             QTest::keyClick(edit, Qt::Key_Backspace);
         },
         [&] { return prefs->hasKey(quickTagKey(2)); }, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.widget);
        c.change();
        EXPECT_EQ(c.stored(), c.expected);
    }
}

TEST_F(PreferencesWindowTest, OpensAtTheQuickTagsTabAndClosingApplies)
{
    QWidget mainWindow;
    PreferencesWindow window(*prefs, services, &mainWindow);
    window.customizeQuickTags();
    EXPECT_EQ(window.tabs()->currentIndex(), 3);
    EXPECT_EQ(window.tabs()->tabText(3), u"Quick Tags"_s);

    child<QToolButton>(window, u"backgroundColorForTables"_s)->click();
    child<QPushButton>(window, u"preferencesDone"_s)->click();
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(calls, (QStringList{u"status menu"_s, u"quick tags menu"_s, u"badge"_s}));
    EXPECT_NEAR(prefs->floatForKey(PreferenceKey::backgroundColorForTablesG), 0.5, 1e-3);
    EXPECT_TRUE(questions.isEmpty());

    window.showPreferences();
    EXPECT_EQ(window.tabs()->currentIndex(), 0);
}

TEST_F(PreferencesWindowTest, TurningCloudDiskSyncOnAsksAboutTheFirstSync)
{
    const struct {
        const char* situation;
        bool onBefore;
        bool answer;
        bool asked;
        bool waiting;
    } cases[] = {
        {"turned on, first installation", false, true, true, false},
        {"turned on, used elsewhere already", false, false, true, true},
        {"already on", true, false, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.situation);
        prefs->setBool(PreferenceKey::dotMac14SyncingEnabled, c.onBefore);
        prefs->removeKey(PreferenceKey::dotMacWaitingForFirstSync);
        questions.clear();
        answer = c.answer;
        QWidget mainWindow;
        PreferencesWindow window(*prefs, services, &mainWindow);
        window.showPreferences();
        auto* box = child<QCheckBox>(window, u"dotMac14SyncingEnabled"_s);
        if (!box->isChecked())
            box->click();
        QTest::keyClick(&window, Qt::Key_Escape); // closing by Escape applies as Done does
        EXPECT_FALSE(window.isVisible());
        EXPECT_EQ(questions.size(), c.asked ? 1 : 0);
        if (c.asked) {
            EXPECT_EQ(questions.front(), u"Cloud disk syncing [Yes|No]"_s);
        }
        EXPECT_EQ(prefs->boolForKey(PreferenceKey::dotMacWaitingForFirstSync), c.waiting);
    }
}

TEST_F(PreferencesWindowTest, ChosenDataFolderGetsACopyOfTheDataFileWhenCustom)
{
    QFile data(dir.filePath(u"Vyro.sql"_s));
    ASSERT_TRUE(data.open(QIODevice::WriteOnly));
    data.write("records");
    data.close();
    ASSERT_TRUE(QDir(dir.path()).mkdir(u"elsewhere"_s));
    chosenFolder = dir.filePath(u"elsewhere"_s);

    QWidget mainWindow;
    PreferencesWindow window(*prefs, services, &mainWindow);
    window.showPreferences();
    child<QPushButton>(window, u"chooseDataFolder"_s)->click();
    EXPECT_EQ(child<QLineEdit>(window, u"dataFilePath"_s)->text(), chosenFolder);
    EXPECT_EQ(prefs->stringForKey(PreferenceKey::dataFilePath), chosenFolder);
    child<QCheckBox>(window, u"dataFilePathIsCustom"_s)->click();
    window.preferencesDone();
    EXPECT_TRUE(calls.contains(u"save"_s));
    EXPECT_TRUE(QFile::exists(chosenFolder + u"/Vyro.sql"_s));
}

TEST_F(PreferencesWindowTest, CloudDiskAccountGoesToThePreferencesAndThePasswordNeverDoes)
{
    QWidget mainWindow;
    PreferencesWindow window(*prefs, services, &mainWindow);
    window.showPreferences();
    auto* password = child<QLineEdit>(window, u"cloudDiskPassword"_s);
    auto* outcome = child<QLabel>(window, u"cloudDiskPasswordOutcome"_s);

    // Without an account to file it under, the password is refused and forgotten.
    password->setText(u"s3cret-word"_s);
    Q_EMIT password->editingFinished();
    EXPECT_EQ(outcome->text(), u"Give the server and the user first"_s);

    const struct {
        QLatin1StringView key;
        QString typed;
        QString stored; // empty: the key is removed
    } fields[] = {
        {PreferenceKey::cloudDiskServer, u" https://dav.example.org/files "_s, u"https://dav.example.org/files"_s},
        {PreferenceKey::cloudDiskUser, u"lea"_s, u"lea"_s},
        {PreferenceKey::cloudDiskFolder, u"   "_s, QString()},
    };
    for (const auto& f : fields) {
        SCOPED_TRACE(f.key.data());
        auto* edit = child<QLineEdit>(window, QString(f.key));
        edit->selectAll();
        QTest::keyClicks(edit, f.typed);
        EXPECT_EQ(prefs->stringForKey(f.key), f.stored);
        EXPECT_EQ(prefs->hasKey(f.key), !f.stored.isEmpty());
    }

    // With the account given the password goes to the keyring (which may not be there in a test);
    // the field is emptied and the preferences file never holds it.
    password->setText(u"s3cret-word"_s);
    Q_EMIT password->editingFinished();
    EXPECT_TRUE(password->text().isEmpty());
    prefs->sync();
    QFile ini(dir.filePath(u"prefs.ini"_s));
    ASSERT_TRUE(ini.open(QIODevice::ReadOnly));
    EXPECT_FALSE(ini.readAll().contains("s3cret-word"));
}
