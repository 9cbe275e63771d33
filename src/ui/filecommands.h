#pragma once

#include "store/status.h"

#include <QFileDialog>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <functional>

class Dialogs;
class ExportDialog;
class Preferences;

class QWidget;
class TabViewController;

inline constexpr QLatin1StringView debugLogAlertTitle{"Debug logfile"};
inline constexpr QLatin1StringView debugLogAlertText{
    "In case of technical problems, please send the debug.log file to support@quendar.com."};

// The main window's commands for files in and out: export, import from a file or the clipboard, the
// manual backup and the commands that show the data file, the backups and the debug log in the file
// manager. Every panel is a window-modal sheet on `window` that returns at once; its outcome is handled
// when it closes. The work itself is done by the headless controllers; this class only asks and tells.
class FileCommands : public QObject {
    Q_OBJECT
public:
    // A file shown selected in the file manager, by its "file:" link.
    using Revealer = std::function<void(const QString& fileLink)>;
    // A file opened with its default application.
    using UrlOpener = std::function<bool(const QUrl&)>;

    // `dataFilePath` gives the data file in use at the time of the command.
    FileCommands(QWidget* window, TabViewController& views, Preferences& preferences, Dialogs& dialogs,
                 std::function<QString()> dataFilePath);

    void setRevealer(Revealer reveal) { m_reveal = std::move(reveal); }
    void setUrlOpener(UrlOpener open) { m_open = std::move(open); }
    // Called after an import that made tasks, so the window shows them.
    void setImportHandler(std::function<void()> done) { m_imported = std::move(done); }

    // Only the contexts, projects and smart-folder views export; elsewhere nothing opens.
    void showExportDialog();
    void showImportDialog();
    void importTasksFromClipboard();
    void backupManuallyAction();

    void revealDataFile();
    void revealSyncBackup();
    void revealCloudDiskBackup();
    // Tells where to send the log first.
    void revealDebugLog();

    // The panel open at the moment (export, import or backup), if any.
    QFileDialog* openPanel() const { return m_panel; }

private:
    void exportPanelDidEnd(ExportDialog& panel);
    void importFile(const QString& path);
    void importText(const QString& text);
    void imported(const QString& title, int count, const Status& outcome);
    void reveal(const QString& path);

    QWidget* m_window;
    TabViewController& m_views;
    Preferences& m_preferences;
    Dialogs& m_dialogs;
    std::function<QString()> m_dataFilePath;
    Revealer m_reveal;
    UrlOpener m_open;
    std::function<void()> m_imported;
    QPointer<QFileDialog> m_panel;
};
