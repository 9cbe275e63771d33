#include "app/preferencessheetcontroller.h"

#include "app/datafilepaths.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace {

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArrayLiteral("<missing>");
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
}

struct Question
{
    QString title;
    QString text;
    QString defaultButton;
    QString otherButton;
};

class FakeHost : public PreferencesSheetHost
{
public:
    explicit FakeHost(const Preferences& preferences)
        : m_preferences(preferences)
    {
    }

    bool saveAction() override
    {
        calls << QStringLiteral("save");
        // Marks the file so a copy taken before the save shows up.
        writeFile(dataFilePath, QByteArrayLiteral("saved"));
        return true;
    }
    QString currentDataFilePath() const override { return dataFilePath; }
    bool askQuestion(const QString& title, const QString& text, const QString& defaultButton,
                     const QString& otherButton) override
    {
        calls << QStringLiteral("ask");
        questions.push_back({title, text, defaultButton, otherButton});
        return answerYes;
    }
    void rebuildStatusMenu() override { calls << QStringLiteral("rebuildStatusMenu"); }
    void rebuildQuickTagsMenu() override { calls << QStringLiteral("rebuildQuickTagsMenu"); }
    void updateBadge() override
    {
        calls << QStringLiteral("updateBadge");
        redStoredAtBadge = m_preferences.hasKey(PreferenceKey::backgroundColorForTablesR);
    }
    RgbColor colorWell() const override { return well; }
    void setColorWell(const RgbColor& color) override
    {
        calls << QStringLiteral("setColorWell");
        well = color;
    }
    void setDataFolderField(const QString& folder) override { dataFolderField = folder; }
    void selectTab(int index) override { calls << QStringLiteral("selectTab %1").arg(index); }
    void showSheet() override { calls << QStringLiteral("showSheet"); }
    void hideSheet() override { calls << QStringLiteral("hideSheet"); }

    QStringList calls;
    QString dataFilePath;
    bool answerYes = true;
    std::vector<Question> questions;
    RgbColor well{0.1, 0.2, 0.3};
    QString dataFolderField;
    bool redStoredAtBadge = false;

private:
    const Preferences& m_preferences;
};

// A running program: its data file "original" in <tmp>/data, the preferences and the sheet.
class Scenario
{
public:
    Scenario()
    {
        EXPECT_TRUE(QDir().mkpath(dataFolder()));
        EXPECT_TRUE(QDir().mkpath(otherFolder()));
        host.dataFilePath = dataFolder() + QStringLiteral("/Vyro.sql");
        writeFile(host.dataFilePath, QByteArrayLiteral("original"));
    }

    QString dataFolder() const { return m_dir.filePath(QStringLiteral("data")); }
    QString otherFolder() const { return m_dir.filePath(QStringLiteral("Cloud Sync/Vyro")); }
    QString otherDataFile() const { return otherFolder() + QStringLiteral("/Vyro.sql"); }
    QString path(const QString& relative) const { return m_dir.filePath(relative); }

private:
    QTemporaryDir m_dir;

public:
    Preferences preferences{m_dir.filePath(QStringLiteral("com.quendar.Vyro.ini"))};
    FakeHost host{preferences};
    PrefererencesSheetController controller{preferences, host};
};

TEST(PreferencesSheetController, ClosingAppliesItsStepsInOrder)
{
    Scenario s;
    s.host.answerYes = false;
    s.controller.showPreferences();
    s.preferences.setBool(PreferenceKey::dataFilePathIsCustom, true);
    s.controller.showOpenDialogForCustomDataFilePath(s.otherFolder());
    s.preferences.setBool(PreferenceKey::dotMac14SyncingEnabled, true);
    s.host.calls.clear();

    s.controller.preferencesDone();

    EXPECT_EQ(s.host.calls,
              (QStringList{QStringLiteral("hideSheet"), QStringLiteral("save"), QStringLiteral("ask"),
                           QStringLiteral("rebuildStatusMenu"), QStringLiteral("rebuildQuickTagsMenu"),
                           QStringLiteral("updateBadge")}));
    EXPECT_TRUE(s.host.redStoredAtBadge);
    EXPECT_FALSE(s.controller.isOpen());
}

TEST(PreferencesSheetController, CopiesTheSavedDataFileIntoANewlyChosenFolder)
{
    const std::optional<QByteArray> existingTargets[] = {std::nullopt, QByteArrayLiteral("an older store")};
    for (const std::optional<QByteArray>& existing : existingTargets) {
        SCOPED_TRACE(existing.value_or("no file at the target").toStdString());
        Scenario s;
        if (existing)
            writeFile(s.otherDataFile(), *existing);

        s.controller.showPreferences();
        s.preferences.setBool(PreferenceKey::dataFilePathIsCustom, true);
        s.controller.showOpenDialogForCustomDataFilePath(s.otherFolder());
        EXPECT_EQ(s.host.dataFolderField, s.otherFolder());
        s.controller.preferencesDone();

        EXPECT_EQ(readFile(s.otherDataFile()), QByteArrayLiteral("saved"));
        EXPECT_EQ(readFile(s.host.dataFilePath), QByteArrayLiteral("saved"));
        EXPECT_EQ(s.preferences.stringForKey(PreferenceKey::dataFilePath), s.otherFolder());
        EXPECT_EQ(computeCurrentDataFilePath(s.preferences), s.otherDataFile());
    }
}

TEST(PreferencesSheetController, CopiesNothingUnlessCustomIsOnAndAnotherFolderWasChosen)
{
    enum class Choice { DataFolder, DataFolderWithSeparator, LinkToDataFolder, OtherFolder, Cancel };
    struct Case
    {
        const char* name;
        bool custom;
        Choice choice;
    };
    const Case cases[] = {
        {"the folder of the current file", true, Choice::DataFolder},
        {"that folder with a trailing separator", true, Choice::DataFolderWithSeparator},
        {"that folder through a link", true, Choice::LinkToDataFolder},
        {"another folder with custom off", false, Choice::OtherFolder},
        {"chooser cancelled", true, Choice::Cancel},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Scenario s;
        const QString link = s.path(QStringLiteral("link"));
        ASSERT_TRUE(QFile::link(s.dataFolder(), link));
        // Set before opening, so only a choice made while the sheet is open could cause a copy.
        s.preferences.setString(PreferenceKey::dataFilePath, s.otherFolder());

        s.controller.showPreferences();
        s.preferences.setBool(PreferenceKey::dataFilePathIsCustom, c.custom);
        switch (c.choice) {
        case Choice::DataFolder:
            s.controller.showOpenDialogForCustomDataFilePath(s.dataFolder());
            break;
        case Choice::DataFolderWithSeparator:
            s.controller.showOpenDialogForCustomDataFilePath(s.dataFolder() + QStringLiteral("/"));
            break;
        case Choice::LinkToDataFolder:
            s.controller.showOpenDialogForCustomDataFilePath(link);
            break;
        case Choice::OtherFolder:
            s.controller.showOpenDialogForCustomDataFilePath(s.otherFolder());
            break;
        case Choice::Cancel:
            s.controller.showOpenDialogForCustomDataFilePath(QString());
            EXPECT_EQ(s.preferences.stringForKey(PreferenceKey::dataFilePath), s.otherFolder());
            break;
        }
        s.controller.preferencesDone();

        EXPECT_FALSE(s.host.calls.contains(QStringLiteral("save")));
        EXPECT_EQ(readFile(s.host.dataFilePath), QByteArrayLiteral("original"));
        EXPECT_FALSE(QFileInfo::exists(s.otherDataFile()));
    }
}

TEST(PreferencesSheetController, TurningCustomOnLaterWithoutChoosingAgainCopiesNothing)
{
    Scenario s;
    s.controller.showPreferences();
    s.controller.showOpenDialogForCustomDataFilePath(s.otherFolder());
    s.controller.preferencesDone();

    s.controller.showPreferences();
    s.preferences.setBool(PreferenceKey::dataFilePathIsCustom, true);
    s.controller.preferencesDone();

    EXPECT_FALSE(s.host.calls.contains(QStringLiteral("save")));
    EXPECT_FALSE(QFileInfo::exists(s.otherDataFile()));
    // The next start opens (and creates) the file in the chosen folder.
    EXPECT_EQ(computeCurrentDataFilePath(s.preferences), s.otherDataFile());
}

TEST(PreferencesSheetController, AsksTheFirstSyncQuestionOnlyWhenSyncWasTurnedOn)
{
    struct Case
    {
        const char* name;
        std::optional<bool> atOpening; // nullopt: no value stored
        bool atClosing;
        bool answerYes;
        bool expectAsked;
        bool expectWaiting;
    };
    const Case cases[] = {
        {"turned on, answer No", false, true, false, true, true},
        {"turned on from no value, answer No", std::nullopt, true, false, true, true},
        {"turned on, answer Yes", false, true, true, true, false},
        {"already on", true, true, false, false, false},
        {"turned off", true, false, false, false, false},
        {"left off", false, false, false, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Scenario s;
        s.host.answerYes = c.answerYes;
        if (c.atOpening)
            s.preferences.setBool(PreferenceKey::dotMac14SyncingEnabled, *c.atOpening);

        s.controller.showPreferences();
        s.preferences.setBool(PreferenceKey::dotMac14SyncingEnabled, c.atClosing);
        s.controller.preferencesDone();

        ASSERT_EQ(s.host.questions.size(), c.expectAsked ? 1u : 0u);
        EXPECT_EQ(s.preferences.boolForKey(PreferenceKey::dotMacWaitingForFirstSync), c.expectWaiting);
        if (!c.expectWaiting) {
            EXPECT_FALSE(s.preferences.hasKey(PreferenceKey::dotMacWaitingForFirstSync));
        }
    }
}



TEST(PreferencesSheetController, ColourWellFollowsTheStoredColour)
{
    struct Case
    {
        const char* name;
        std::optional<RgbColor> stored;
        std::optional<RgbColor> picked;
        bool expectWellSet;
        RgbColor expectStored;
    };
    const RgbColor initialWell{0.1, 0.2, 0.3};
    const Case cases[] = {
        {"nothing stored, well untouched", std::nullopt, std::nullopt, false, initialWell},
        {"nothing stored, colour picked", std::nullopt, RgbColor{0.0, 0.5, 1.0}, false, {0.0, 0.5, 1.0}},
        {"stored colour shown and kept", RgbColor{0.9123217, 0.8, 0.7}, std::nullopt, true, {0.9123217, 0.8, 0.7}},
        {"stored colour replaced", RgbColor{0.9123217, 0.8, 0.7}, RgbColor{0.25, 0.5, 0.75}, true, {0.25, 0.5, 0.75}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Scenario s;
        s.host.well = initialWell;
        if (c.stored) {
            s.preferences.setFloat(PreferenceKey::backgroundColorForTablesR, c.stored->red);
            s.preferences.setFloat(PreferenceKey::backgroundColorForTablesG, c.stored->green);
            s.preferences.setFloat(PreferenceKey::backgroundColorForTablesB, c.stored->blue);
        }

        s.controller.showPreferences();
        EXPECT_EQ(s.host.calls.contains(QStringLiteral("setColorWell")), c.expectWellSet);
        if (c.stored) {
            EXPECT_DOUBLE_EQ(s.host.well.red, c.stored->red);
            EXPECT_DOUBLE_EQ(s.host.well.green, c.stored->green);
            EXPECT_DOUBLE_EQ(s.host.well.blue, c.stored->blue);
        }
        if (c.picked)
            s.host.well = *c.picked;
        s.controller.preferencesDone();

        // Read from a copy of the file: the closing step leaves the colour on disk.
        const QString copy = s.path(QStringLiteral("copy.ini"));
        ASSERT_TRUE(QFile::copy(s.preferences.filePath(), copy));
        const Preferences onDisk(copy);
        EXPECT_DOUBLE_EQ(onDisk.floatForKey(PreferenceKey::backgroundColorForTablesR), c.expectStored.red);
        EXPECT_DOUBLE_EQ(onDisk.floatForKey(PreferenceKey::backgroundColorForTablesG), c.expectStored.green);
        EXPECT_DOUBLE_EQ(onDisk.floatForKey(PreferenceKey::backgroundColorForTablesB), c.expectStored.blue);
    }
}



} // namespace
