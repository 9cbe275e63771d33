#pragma once

#include "lists/viewmodes.h"
#include "store/status.h"

#include <QDateTime>
#include <QString>

#include <functional>

class Record;
class TabViewController;
class Task;

// Where the template files of an export come from: a file of the user's folder
// ($XDG_DATA_HOME/Vyro/templates/<set>/<file>) wins over the shipped one of the same name
// (":/templates/<set>/<file>"), file by file. <set> is the prefix without "export_" ("html", "csv" …).
class ExportTemplates {
public:
    // `userFolder` empty: the user's folder as above; `shippedFolder` stands for the resources in tests.
    explicit ExportTemplates(QString userFolder = QString(), QString shippedFolder = QStringLiteral(":/templates"));
    const QString& userFolder() const { return m_userFolder; }
    // The template "<prefix>_<kind>.txt"; an error names the file when neither folder has it.
    Result<QString> read(const QString& prefix, const QString& fileName) const;

private:
    QString m_userFolder;
    QString m_shippedFolder;
};

// The export of the contexts, projects or smart folders of the main window's lists into one file, by
// plain substitution into the three templates of the chosen set. Nothing is escaped for any format: the
// templates and the user's text pass through as they are.
//
// The containers and their tasks are those the window shows: the folder lists' selection (mode 0) or
// all folders, the task lists' filter in force (search included) and sort order.
class ExportController {
public:
    using DateFormatter = std::function<QString(const QDateTime&)>;

    ExportController(TabViewController& views, ExportTemplates templates = ExportTemplates());

    // "lastExportType": 0 basic HTML, 1 styled HTML, 2 CSV, 3 plain text; any other value is styled HTML.
    void setExportType(int type) { m_exportType = type; }
    int exportType() const { return m_exportType; }
    QString currentTemplatePrefix() const;
    QString extensionForExportType() const;

    // 0: the selected folders only; any other value: all of them.
    void setExportMode(int mode) { m_exportMode = mode; }
    // On: every block but the last written gets the class "singlepage" (a page break after it in print).
    void setPrintSinglePages(bool on) { m_printSinglePages = on; }
    // Every date of the output; the default writes ISO 8601 days ("2026-11-22"), absent dates as "".
    void setDateFormatter(DateFormatter formatter) { m_dateFormatter = std::move(formatter); }

    // The filled document of each kind. A missing template fails where it is first needed: the block
    // template at the first container with tasks, the task template at the first task, the document
    // template at the end.
    Result<QString> exportContexts(bool withAttachedNotes) const;
    Result<QString> exportProjects(bool withAttachedNotes) const;
    Result<QString> exportSmartFolders(bool withAttachedNotes) const;
    // The document of the view: contexts, projects or smart folders (ToComplete); other views export
    // nothing and say so.
    Result<QString> exportView(TaskView view, bool withAttachedNotes) const;

    // The document written to `path` in UTF-8, replacing any file there only once it is whole.
    Status exportContextsToFile(const QString& path, bool withAttachedNotes) const;
    Status exportProjectsToFile(const QString& path, bool withAttachedNotes) const;
    Status exportSmartFoldersToFile(const QString& path, bool withAttachedNotes) const;
    Status exportViewToFile(TaskView view, const QString& path, bool withAttachedNotes) const;

    // The task template filled for one task; `smartFolderName` only for the smart-folder set.
    QString fillTask(QString text, const Task& task, bool withAttachedNotes, const QString* smartFolderName) const;

private:
    struct Container {
        Record* folder;
        QString name;
        // nullopt: the container is skipped (no tasks); it still counts among the containers chosen.
        std::optional<std::vector<Task*>> tasks;
    };
    enum class Kind { Contexts, Projects, SmartFolders };
    Result<QString> fill(Kind kind, const std::vector<Container>& containers, bool withAttachedNotes) const;
    std::vector<Container> contextContainers() const;
    std::vector<Container> projectContainers() const;
    std::vector<Container> smartFolderContainers() const;

    TabViewController& m_views;
    ExportTemplates m_templates;
    int m_exportType = 0;
    int m_exportMode = 0;
    bool m_printSinglePages = true;
    DateFormatter m_dateFormatter;
};

// The short note of a note already in export form ("<br/>" for line breaks): cut or padded with blanks to
// 100 characters, then each "<br/>" a blank, then "..." when the note was longer. A cut through a
// "<br/>" leaves its remainder in place.
QString exportShortNote(const QString& note);

// Writes `text` in UTF-8 to `path` through a temporary file beside it.
Status writeExportFile(const QString& path, const QString& text);
