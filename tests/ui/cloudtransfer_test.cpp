#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/clouddisk.h"
#include "exchange/dotmacsynccontroller.h"
#include "support/datafiles.h"
#include "support/logcapture.h"
#include "support/storefixture.h"
#include "support/widgetlookup.h"
#include "ui/desktopservices.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTcpServer>
#include <QTimer>

namespace {

QByteArray bytesOf(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Notes every showing of the transfer panel and, when asked, presses its Cancel once it is up.
class PanelWatcher : public QObject {
public:
    explicit PanelWatcher(bool pressCancel) : m_pressCancel(pressCancel) { qApp->installEventFilter(this); }
    ~PanelWatcher() override { qApp->removeEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::Show || watched->objectName() != QLatin1String("cloudTransferPanel"))
            return false;
        auto* panel = static_cast<QWidget*>(watched);
        ++shown;
        if (auto* text = panel->findChild<QLabel*>(QStringLiteral("cloudTransferText")))
            texts << text->text();
        if (auto* bar = panel->findChild<QProgressBar*>(QStringLiteral("cloudTransferProgress")))
            busy = bar->minimum() == 0 && bar->maximum() == 0;
        if (m_pressCancel)
            QTimer::singleShot(0, panel, [panel] { child<QPushButton>(*panel, QStringLiteral("cloudTransferCancel"))->click(); });
        return false;
    }

    int shown = 0;
    bool busy = false;
    QStringList texts;

private:
    bool m_pressCancel;
};

// The desktop program's start-up download and quit upload, with the account its preferences name.
class CloudTransferTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        // Never saved to its file: what the transfer sees is what the running program holds.
        preferences = std::make_unique<Preferences>(m_dir.filePath(QStringLiteral("prefs.ini")));
        services.usePreferences(*preferences);
        services.setCloudDiskReport([this](const QString& title, const QString& message) {
            reports << title + QStringLiteral(": ") + message;
        });
    }

    void setFolder(const QString& folder) { preferences->setString(PreferenceKey::cloudDiskFolder, folder); }
    QString path(const QString& name) const { return m_dir.filePath(name); }
    void transfer(bool upload, const QString& dataFile)
    {
        if (upload)
            services.uploadDataToCloudDisk(dataFile);
        else
            services.downloadDataFromCloudDisk(dataFile);
    }

    QTemporaryDir m_dir;
    std::unique_ptr<Preferences> preferences;
    DesktopServices services;
    QStringList reports;
};

TEST_F(CloudTransferTest, QuitUploadsAndTheNextStartElsewhereDownloads)
{
    QDir().mkpath(path(QStringLiteral("synced")));
    setFolder(path(QStringLiteral("synced")));
    PanelWatcher watcher(false);
    writeDataFile(path(QStringLiteral("a/Vyro.sql")), QStringLiteral("from a"));
    services.uploadDataToCloudDisk(path(QStringLiteral("a/Vyro.sql")));
    EXPECT_EQ(taskNamesIn(path(QStringLiteral("synced")) + cloudDiskFilePath), QStringList{QStringLiteral("from a")});

    // The first download clears the flag in the program's own preferences.
    preferences->setBool(PreferenceKey::dotMacWaitingForFirstSync, true);
    services.downloadDataFromCloudDisk(path(QStringLiteral("b/Vyro.sql")));
    EXPECT_EQ(taskNamesIn(path(QStringLiteral("b/Vyro.sql"))), QStringList{QStringLiteral("from a")});
    EXPECT_FALSE(preferences->boolForKey(PreferenceKey::dotMacWaitingForFirstSync));
    EXPECT_TRUE(reports.isEmpty()) << reports.join(u'\n').toStdString();
    // Both were quick: no panel came up.
    EXPECT_EQ(watcher.shown, 0);
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
            transfer(upload, path(QStringLiteral("a/Vyro.sql")));
            EXPECT_EQ(reports, QStringList{c.report});
            EXPECT_EQ(taskNamesIn(path(QStringLiteral("a/Vyro.sql"))), QStringList{QStringLiteral("kept")});
        }
    }
}

// A server that takes the connection and never answers: the transfer lasts until Cancel.
TEST_F(CloudTransferTest, CancelInTheSlowTransfersPanelStopsItWithoutAnAlert)
{
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 0));
    preferences->setString(PreferenceKey::cloudDiskServer, QStringLiteral("http://127.0.0.1:%1/").arg(silent.serverPort()));
    writeDataFile(path(QStringLiteral("a/Vyro.sql")), QStringLiteral("kept"));
    const QByteArray before = bytesOf(path(QStringLiteral("a/Vyro.sql")));
    for (const bool upload : {false, true}) {
        SCOPED_TRACE(upload ? "upload" : "download");
        PanelWatcher watcher(true);
        reports.clear();
        const QStringList log = loggedBy([&] { transfer(upload, path(QStringLiteral("a/Vyro.sql"))); });
        EXPECT_EQ(watcher.shown, 1);
        EXPECT_TRUE(watcher.busy);
        EXPECT_EQ(watcher.texts, QStringList{upload ? QStringLiteral("Uploading the data file to the cloud disk…")
                                                    : QStringLiteral("Downloading the data file from the cloud disk…")});
        EXPECT_TRUE(reports.isEmpty()) << reports.join(u'\n').toStdString();
        EXPECT_TRUE(log.contains(QStringLiteral("Cloud disk transfer cancelled by the user."))) << log.join(u'\n').toStdString();
        EXPECT_EQ(bytesOf(path(QStringLiteral("a/Vyro.sql"))), before);
    }
}

} // namespace
