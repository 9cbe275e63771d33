#include "ui/filecommands.h"

#include "app/backups.h"
#include "app/datafilepaths.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/exportcontroller.h"
#include "exchange/importcontroller.h"
#include "lists/tabviewcontroller.h"
#include "platform/filemanager.h"
#include "store/log.h"
#include "ui/dialogs.h"
#include "ui/exportdialog.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>

namespace {

QString exportedContent(TaskView view)
{
    switch (view) {
    case TaskView::Contexts: return QStringLiteral("contexts");
    case TaskView::Projects: return QStringLiteral("projects");
    case TaskView::ToComplete: return QStringLiteral("smart folders");
    default: return {};
    }
}

} // namespace

FileCommands::FileCommands(QWidget* window, TabViewController& views, Preferences& preferences, Dialogs& dialogs,
                           std::function<QString()> dataFilePath)
    : QObject(window),
      m_window(window),
      m_views(views),
      m_preferences(preferences),
      m_dialogs(dialogs),
      m_dataFilePath(std::move(dataFilePath)),
      m_reveal([](const QString& link) { FileManager().reveal(link); }),
      m_open([](const QUrl& url) { return QDesktopServices::openUrl(url); })
{
}

void FileCommands::showExportDialog()
{
    const QString content = exportedContent(m_views.selectedTab());
    if (content.isEmpty() || m_panel)
        return;
    auto* panel = new ExportDialog(m_preferences, content, m_window);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::accepted, this, [this, panel] { exportPanelDidEnd(*panel); });
    m_panel = panel;
    panel->open();
}

void FileCommands::exportPanelDidEnd(ExportDialog& panel)
{
    const QString path = panel.selectedFiles().value(0);
    if (path.isEmpty())
        return;
    m_preferences.setString(PreferenceKey::lastExportFilePath, path);
    const TaskView view = m_views.selectedTab();
    if (exportedContent(view).isEmpty())
        return;
    ExportController exporter(m_views);
    exporter.setExportType(panel.exportType());
    exporter.setExportMode(panel.exportMode());
    exporter.setPrintSinglePages(panel.printSinglePages());
    const Status written = exporter.exportViewToFile(view, path, true);
    if (!written.isOk()) {
        // A broken template set is the installer's fault, not the user's: the log says which file.
        logLine(QStringLiteral("Export to %1 failed: %2").arg(path, written.toString()));
        return;
    }
    if (panel.openAfterExport() && m_open)
        m_open(QUrl::fromLocalFile(path));
}

void FileCommands::showImportDialog()
{
    if (m_panel)
        return;
    auto* panel = new QFileDialog(m_window, QStringLiteral("Import"));
    panel->setObjectName(QStringLiteral("importDialog"));
    panel->setAccessibleName(QStringLiteral("Import tasks"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setNameFilter(QStringLiteral("Text files (*.txt)"));
    panel->setLabelText(QFileDialog::FileName, QStringLiteral("Import tasks from text file:"));
    panel->setWindowModality(Qt::WindowModal);
    connect(panel, &QFileDialog::accepted, this, [this, panel] {
        const QString path = panel->selectedFiles().value(0);
        if (!path.isEmpty())
            importFile(path);
    });
    m_panel = panel;
    panel->open();
}

void FileCommands::importTasksFromClipboard()
{
    importText(QGuiApplication::clipboard()->text());
}

void FileCommands::importFile(const QString& path)
{
    ImportController importer(m_views);
    const Result<int> made = importer.importTasksFromFile(int(m_views.selectedTab()), path);
    imported(QStringLiteral("Import from File"), made.isOk() ? *made : 0, made.isOk() ? Status::ok() : made.status());
}

void FileCommands::importText(const QString& text)
{
    ImportController importer(m_views);
    const Result<int> made = importer.importTasksFromText(int(m_views.selectedTab()), text);
    imported(QStringLiteral("Import from Clipboard"), made.isOk() ? *made : 0, made.isOk() ? Status::ok() : made.status());
}

void FileCommands::imported(const QString& title, int count, const Status& outcome)
{
    if (!outcome.isOk()) {
        const QString text = outcome.code() == Status::Code::InvalidArgument
                                 ? QStringLiteral("Select the folder to import the tasks into first.")
                                 : QStringLiteral("The tasks could not be imported: %1").arg(outcome.message());
        m_dialogs.warn(m_window, title, text);
        return;
    }
    if (count > 0 && m_imported)
        m_imported();
}

void FileCommands::backupManuallyAction()
{
    if (m_panel)
        return;
    auto* panel = new QFileDialog(m_window, QStringLiteral("Back Up Data"));
    panel->setObjectName(QStringLiteral("backupDialog"));
    panel->setAccessibleName(QStringLiteral("Back up data"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setFileMode(QFileDialog::AnyFile);
    panel->setNameFilter(QStringLiteral("Data file backups (*.sql)"));
    panel->setDefaultSuffix(QStringLiteral("sql"));
    panel->setLabelText(QFileDialog::FileName, QStringLiteral("Backup data to:"));
    panel->selectFile(QStringLiteral("Vyro_backup.sql"));
    panel->setWindowModality(Qt::WindowModal);
    connect(panel, &QFileDialog::accepted, this, [this, panel] {
        const QString target = panel->selectedFiles().value(0);
        if (target.isEmpty())
            return;
        const Status outcome = backupManually(m_dataFilePath(), target);
        m_dialogs.inform(m_window, QString(manualBackupTitle), manualBackupMessage(outcome));
    });
    m_panel = panel;
    panel->open();
}

void FileCommands::reveal(const QString& path)
{
    if (m_reveal)
        m_reveal(QUrl::fromLocalFile(path).toString());
}

void FileCommands::revealDataFile()
{
    reveal(m_dataFilePath());
}

void FileCommands::revealSyncBackup()
{
    reveal(backupFilePath(m_dataFilePath(), BackupKind::Sync));
}

void FileCommands::revealCloudDiskBackup()
{
    reveal(backupFilePath(m_dataFilePath(), BackupKind::CloudDisk));
}

void FileCommands::revealDebugLog()
{
    m_dialogs.inform(m_window, QString(debugLogAlertTitle), QString(debugLogAlertText));
    reveal(debugLogFilePath());
}
