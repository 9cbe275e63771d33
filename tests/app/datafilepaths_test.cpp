#include "app/datafilepaths.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class ScopedEnvironment
{
public:
    ScopedEnvironment(const char* name, const QString& value)
        : m_name(name)
        , m_saved(qgetenv(name))
        , m_wasSet(qEnvironmentVariableIsSet(name))
    {
        qputenv(name, QFile::encodeName(value));
    }
    ~ScopedEnvironment()
    {
        if (m_wasSet)
            qputenv(m_name, m_saved);
        else
            qunsetenv(m_name);
    }

private:
    const char* m_name;
    QByteArray m_saved;
    bool m_wasSet;
};

class DataFilePathsTest : public ::testing::Test
{
protected:
    QString home(const QString& relative) const { return m_home.filePath(relative); }
    QString defaultFolder() const { return home(QStringLiteral("data/Vyro")); }

    QTemporaryDir m_home;
    ScopedEnvironment m_data{"XDG_DATA_HOME", m_home.filePath(QStringLiteral("data"))};
    ScopedEnvironment m_config{"XDG_CONFIG_HOME", m_home.filePath(QStringLiteral("config"))};
    Preferences m_preferences{m_home.filePath(QStringLiteral("config/com.quendar.Vyro.ini"))};
};

TEST_F(DataFilePathsTest, DefaultFolderIsCreatedWhenMissing)
{
    EXPECT_EQ(applicationSupportFolder(), defaultFolder());
    EXPECT_EQ(debugLogFilePath(), defaultFolder() + QStringLiteral("/debug.log"));
    ASSERT_FALSE(QFileInfo::exists(defaultFolder()));

    EXPECT_EQ(computeDefaultDataFilePath(), defaultFolder() + QStringLiteral("/Vyro.sql"));
    EXPECT_TRUE(QFileInfo(defaultFolder()).isDir());
    EXPECT_EQ(computeOldDefaultDataFilePath(), defaultFolder() + QStringLiteral("/Vyro.xml"));
}

TEST_F(DataFilePathsTest, SomethingAtTheDefaultPathIsLeftAsItIs)
{
    ASSERT_TRUE(QDir().mkpath(home(QStringLiteral("data"))));
    QFile blocker(defaultFolder());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.write("not a folder");
    blocker.close();

    EXPECT_EQ(computeDefaultDataFilePath(), defaultFolder() + QStringLiteral("/Vyro.sql"));
    EXPECT_TRUE(QFileInfo(defaultFolder()).isFile());
}

TEST_F(DataFilePathsTest, CurrentPathFollowsTheCustomFolderRules)
{
    enum class Folder { Unset, Empty, Existing, Deleted };
    struct Case
    {
        const char* name;
        bool custom;
        Folder folder;
        bool expectCustom;
    };
    const Case cases[] = {
        {"nothing set", false, Folder::Unset, false},
        {"custom on, folder exists", true, Folder::Existing, true},
        {"custom on, folder deleted", true, Folder::Deleted, false},
        {"custom on, empty path", true, Folder::Empty, false},
        {"custom on, no path", true, Folder::Unset, false},
        {"custom off, folder exists", false, Folder::Existing, false},
    };
    const QString customFolder = home(QStringLiteral("Sync/My Tasks"));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QDir(customFolder).removeRecursively();
        m_preferences.setBool(PreferenceKey::dataFilePathIsCustom, c.custom);
        switch (c.folder) {
        case Folder::Unset:
            m_preferences.removeKey(PreferenceKey::dataFilePath);
            break;
        case Folder::Empty:
            m_preferences.setString(PreferenceKey::dataFilePath, QString());
            break;
        case Folder::Existing:
            ASSERT_TRUE(QDir().mkpath(customFolder));
            m_preferences.setString(PreferenceKey::dataFilePath, customFolder);
            break;
        case Folder::Deleted:
            m_preferences.setString(PreferenceKey::dataFilePath, customFolder);
            break;
        }

        const QString folder = c.expectCustom ? customFolder : defaultFolder();
        EXPECT_EQ(computeCurrentDataFilePath(m_preferences), folder + QStringLiteral("/Vyro.sql"));
        EXPECT_EQ(computeOldCurrentDataFilePath(m_preferences), folder + QStringLiteral("/Vyro.xml"));
        // The fallback never recreates a custom folder that has gone.
        EXPECT_EQ(QFileInfo::exists(customFolder), c.folder == Folder::Existing);
    }
}

TEST_F(DataFilePathsTest, CustomFolderWithTrailingSeparatorGivesOnePath)
{
    const QString customFolder = home(QStringLiteral("custom"));
    ASSERT_TRUE(QDir().mkpath(customFolder));
    m_preferences.setBool(PreferenceKey::dataFilePathIsCustom, true);
    m_preferences.setString(PreferenceKey::dataFilePath, customFolder + QStringLiteral("/"));

    EXPECT_EQ(computeCurrentDataFilePath(m_preferences), customFolder + QStringLiteral("/Vyro.sql"));
}

TEST_F(DataFilePathsTest, OverrideReplacesEveryOtherChoice)
{
    const QString customFolder = home(QStringLiteral("custom"));
    ASSERT_TRUE(QDir().mkpath(customFolder));
    m_preferences.setBool(PreferenceKey::dataFilePathIsCustom, true);
    m_preferences.setString(PreferenceKey::dataFilePath, customFolder);
    const QString overrideFolder = home(QStringLiteral("cli/data"));

    EXPECT_EQ(computeCurrentDataFilePath(m_preferences, overrideFolder), overrideFolder + QStringLiteral("/Vyro.sql"));
    EXPECT_TRUE(QFileInfo(overrideFolder).isDir());
    EXPECT_EQ(computeOldDefaultDataFilePath(overrideFolder), overrideFolder + QStringLiteral("/Vyro.xml"));
    EXPECT_FALSE(QFileInfo::exists(defaultFolder()));

    // An empty override is no override.
    EXPECT_EQ(computeCurrentDataFilePath(m_preferences, QString()), customFolder + QStringLiteral("/Vyro.sql"));
}

} // namespace
