#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/clouddisk.h"
#include "exchange/dotmacsynccontroller.h"
#include "support/datafiles.h"
#include "support/storefixture.h"
#include "ui/desktopservices.h"

#include <QDir>

namespace {

// The desktop program's start-up download and quit upload, with the account its preferences name.
class CloudTransferTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_oldConfig = qgetenv("XDG_CONFIG_HOME");
        qputenv("XDG_CONFIG_HOME", m_dir.filePath(QStringLiteral("config")).toUtf8());
        services.setCloudDiskReport([this](const QString& title, const QString& message) {
            reports << title + QStringLiteral(": ") + message;
        });
    }
    void TearDown() override { qputenv("XDG_CONFIG_HOME", m_oldConfig); }

    void setFolder(const QString& folder)
    {
        Preferences preferences;
        preferences.setString(PreferenceKey::cloudDiskFolder, folder);
        preferences.sync();
    }
    QString path(const QString& name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
    QByteArray m_oldConfig;
    DesktopServices services;
    QStringList reports;
};

TEST_F(CloudTransferTest, QuitUploadsAndTheNextStartElsewhereDownloads)
{
    QDir().mkpath(path(QStringLiteral("synced")));
    setFolder(path(QStringLiteral("synced")));
    writeDataFile(path(QStringLiteral("a/Vyro.sql")), QStringLiteral("from a"));
    services.uploadDataToCloudDisk(path(QStringLiteral("a/Vyro.sql")));
    EXPECT_EQ(taskNamesIn(path(QStringLiteral("synced")) + cloudDiskFilePath), QStringList{QStringLiteral("from a")});

    services.downloadDataFromCloudDisk(path(QStringLiteral("b/Vyro.sql")));
    EXPECT_EQ(taskNamesIn(path(QStringLiteral("b/Vyro.sql"))), QStringList{QStringLiteral("from a")});
    EXPECT_TRUE(reports.isEmpty()) << reports.join(u'\n').toStdString();
}

TEST_F(CloudTransferTest, AnAccountThatCannotBeUsedIsReportedOnce)
{
    const QString title(CloudDiskText::title);
    struct Case {
        const char* name;
        QString folder;
        QString report;
    } cases[] = {
        {"nothing set up", QString(), title + QStringLiteral(": no cloud disk is set up: give a WebDAV server address (http or https) or a folder")},
        {"folder gone", path(QStringLiteral("gone")), title + QStringLiteral(": ") + QString(CloudDiskText::notEnabled)},
    };
    writeDataFile(path(QStringLiteral("a/Vyro.sql")), QStringLiteral("kept"));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        setFolder(c.folder);
        for (const bool upload : {false, true}) {
            reports.clear();
            if (upload)
                services.uploadDataToCloudDisk(path(QStringLiteral("a/Vyro.sql")));
            else
                services.downloadDataFromCloudDisk(path(QStringLiteral("a/Vyro.sql")));
            EXPECT_EQ(reports, QStringList{c.report});
            EXPECT_EQ(taskNamesIn(path(QStringLiteral("a/Vyro.sql"))), QStringList{QStringLiteral("kept")});
        }
    }
}

} // namespace
