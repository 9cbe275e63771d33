#include "exchange/exportcontroller.h"

#include "exchange/textfile.h"
#include "lists/alltasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "model/smartfolder.h"
#include "model/task.h"
#include "store/log.h"
#include "store/objectcontext.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kShortNoteLength = 100;

QString setFolderOf(const QString& prefix)
{
    return prefix.startsWith(u"export_"_s) ? prefix.mid(7) : prefix;
}

QString isoDay(const QDateTime& date)
{
    return date.isValid() ? date.date().toString(Qt::ISODate) : QString();
}

// The tasks of a list's content narrowed and ordered as that list shows its own.
std::vector<Task*> narrowedAndSorted(const std::vector<Record*>& records, const TasksArrayController& list)
{
    std::vector<Record*> kept;
    kept.reserve(records.size());
    for (Record* r : records)
        if (!list.filterPredicate() || list.filterPredicate()->evaluate(*r))
            kept.push_back(r);
    sortRecords(kept, list.sortDescriptors());
    std::vector<Task*> tasks;
    tasks.reserve(kept.size());
    for (Record* r : kept)
        tasks.push_back(static_cast<Task*>(r));
    return tasks;
}

template <class Folder>
std::vector<Folder*> sortedFolders(std::vector<Folder*> folders, const QList<SortDescriptor>& order)
{
    std::vector<Record*> records(folders.begin(), folders.end());
    sortRecords(records, order);
    std::vector<Folder*> out;
    out.reserve(records.size());
    for (Record* r : records)
        out.push_back(static_cast<Folder*>(r));
    return out;
}

template <class Folder>
std::vector<Folder*> allOf(ObjectContext& store, const QString& entity)
{
    std::vector<Folder*> out;
    if (auto fetched = store.executeFetchRequest(FetchRequest(entity)))
        for (Record* r : *fetched)
            out.push_back(static_cast<Folder*>(r));
    return out;
}

} // namespace

ExportTemplates::ExportTemplates(QString userFolder, QString shippedFolder)
    : m_userFolder(std::move(userFolder)), m_shippedFolder(std::move(shippedFolder))
{
    if (m_userFolder.isEmpty())
        m_userFolder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/Vyro/templates"_s;
}

Result<QString> ExportTemplates::read(const QString& prefix, const QString& fileName) const
{
    const QString set = setFolderOf(prefix);
    const QString user = QDir(m_userFolder).filePath(set + u'/' + fileName);
    if (QFile::exists(user))
        return readTextFile(user);
    const QString shipped = QDir(m_shippedFolder).filePath(set + u'/' + fileName);
    if (QFile::exists(shipped))
        return readTextFile(shipped);
    return Status::notFound(u"no export template \"%1\" (looked in %2 and the shipped set)"_s.arg(fileName, QDir(m_userFolder).filePath(set)));
}

ExportController::ExportController(TabViewController& views, ExportTemplates templates)
    : m_views(views), m_templates(std::move(templates)), m_dateFormatter(isoDay)
{
}

QString ExportController::currentTemplatePrefix() const
{
    switch (m_exportType) {
    case 0: return u"export_basichtml"_s;
    case 2: return u"export_csv"_s;
    case 3: return u"export_txt"_s;
    default: return u"export_html"_s;
    }
}

QString ExportController::extensionForExportType() const
{
    switch (m_exportType) {
    case 2: return u"csv"_s;
    case 3: return u"txt"_s;
    default: return u"html"_s;
    }
}

QString exportShortNote(const QString& note)
{
    QString shortNote = note.size() > kShortNoteLength ? note.left(kShortNoteLength) : note.leftJustified(kShortNoteLength, u' ');
    shortNote.replace(u"<br/>"_s, u" "_s);
    if (note.size() > kShortNoteLength)
        shortNote += u"..."_s;
    return shortNote;
}

// Each replacement runs over the text the earlier ones left, so a placeholder word inside a task's own
// name or note is filled by the later steps too; the order below is part of the output's contract.
QString ExportController::fillTask(QString text, const Task& task, bool withAttachedNotes, const QString* smartFolderName) const
{
    QString note = task.content();
    note.replace(u'\n', u"<br/>"_s);
    text.replace(u"%NAME%"_s, task.name());
    text.replace(u"%NOTE%"_s, withAttachedNotes ? note : QString());
    text.replace(u"%SHORTNOTE%"_s, withAttachedNotes ? exportShortNote(note) : QString());
    if (smartFolderName)
        text.replace(u"%SMARTFOLDERNAME%"_s, *smartFolderName);
    text.replace(u"%CONTEXTNAME%"_s, task.parentContext() ? task.parentContext()->name() : QString());
    text.replace(u"%PROJECTNAME%"_s, task.parentProject() ? task.parentProject()->pathName() : QString());
    text.replace(u"%PRIORITY%"_s, QString::number(task.priority()));
    text.replace(u"%STARTDATE%"_s, task.startDate().isValid() ? m_dateFormatter(task.startDate()) : QString());
    text.replace(u"%DUEDATE%"_s, task.dueDate().isValid() ? m_dateFormatter(task.dueDate()) : QString());
    text.replace(u"%CONTACT%"_s, task.contact());
    text.replace(u"%FLAGGEDCLASS%"_s, task.nextAction() ? u"flagged"_s : u"notflagged"_s);
    return text;
}

Result<QString> ExportController::fill(Kind kind, const std::vector<Container>& containers, bool withAttachedNotes) const
{
    static const char* const kinds[] = {"contexts", "projects", "smartfolders"};
    static const char* const blocks[] = {"context", "project", "smartfolder"};
    static const char* const places[] = {"%CONTEXTS%", "%PROJECTS%", "%SMARTFOLDERS%"};
    const QString prefix = currentTemplatePrefix();
    const QString kindName = QLatin1String(kinds[int(kind)]);
    auto templateFile = [&](const QString& suffix) { return prefix + u'_' + kindName + suffix + u".txt"_s; };

    std::optional<Result<QString>> blockTemplate;
    std::optional<Result<QString>> taskTemplate;
    const qsizetype count = qsizetype(containers.size());
    qsizetype written = 0;
    QString allBlocks;
    for (const Container& c : containers) {
        if (!c.tasks)
            continue;
        if (!blockTemplate)
            blockTemplate = m_templates.read(prefix, templateFile(u'_' + QLatin1String(blocks[int(kind)])));
        if (!*blockTemplate)
            return blockTemplate->status();
        QString block = **blockTemplate;
        block.replace(u"%NAME%"_s, c.name);
        QString lines;
        for (const Task* task : *c.tasks) {
            if (!taskTemplate)
                taskTemplate = m_templates.read(prefix, templateFile(u"_task"_s));
            if (!*taskTemplate)
                return taskTemplate->status();
            lines += fillTask(**taskTemplate, *task, withAttachedNotes, kind == Kind::SmartFolders ? &c.name : nullptr);
        }
        block.replace(u"%TASKS%"_s, lines);
        // Skipped containers count in `count` but not in `written`: when the last ones are skipped, the
        // last block written still breaks the page after it. Kept as the format's readers know it.
        block.replace(u"%PRINTPAGESCLASS%"_s, m_printSinglePages && written + 1 < count ? u"singlepage"_s : u"autopage"_s);
        allBlocks += block;
        ++written;
    }
    Result<QString> document = m_templates.read(prefix, templateFile(QString()));
    if (!document)
        return document.status();
    QString text = *document;
    text.replace(QLatin1String(places[int(kind)]), allBlocks);
    return text;
}

std::vector<ExportController::Container> ExportController::contextContainers() const
{
    std::vector<Context*> folders = m_exportMode == 0
        ? m_views.contextController().selectedObjects()
        : sortedFolders(allOf<Context>(m_views.store(), u"context"_s), {SortDescriptor(u"isInbox"_s, false), SortDescriptor(u"pathName"_s)});
    std::vector<Container> out;
    for (Context* c : folders) {
        TaskQueryResult pending = c->pendingTasks();
        if (!pending || pending->empty())
            continue;
        out.push_back({c, c->pathName(), narrowedAndSorted(*pending, m_views.contextTasks())});
    }
    return out;
}

std::vector<ExportController::Container> ExportController::projectContainers() const
{
    std::vector<Project*> folders = m_exportMode == 0
        ? m_views.projectController().selectedObjects()
        : sortedFolders(allOf<Project>(m_views.store(), u"project"_s), {SortDescriptor(u"active"_s, false), SortDescriptor(u"pathName"_s)});
    std::vector<Container> out;
    for (Project* p : folders) {
        TaskQueryResult pending = p->pendingTasks();
        if (!pending || pending->empty())
            continue;
        out.push_back({p, p->pathName(), narrowedAndSorted(*pending, m_views.projectTasks())});
    }
    return out;
}

std::vector<ExportController::Container> ExportController::smartFolderContainers() const
{
    std::vector<SmartFolder*> folders;
    if (m_exportMode == 0) {
        if (SmartFolder* selected = m_views.smartFolderController().selectedFolder())
            folders.push_back(selected);
    } else {
        for (SmartFolder* f : sortedFolders(allOf<SmartFolder>(m_views.store(), u"smartFolder"_s), {SortDescriptor(u"name"_s)}))
            if (!f->isAllPending())
                folders.push_back(f);
    }
    static const Predicate open = Predicate::fromFormat(u"cleanedUp == 0 and (archived == 0) and (parentProject == NULL or parentProject.active == 1)"_s);
    std::vector<Container> out;
    for (SmartFolder* f : folders) {
        Container c{f, f->name(), std::nullopt};
        const FetchRequest request(u"task"_s, Predicate::andPredicateWithSubpredicates({open, f->predicateForFolder()}));
        Result<std::vector<Record*>> fetched = m_views.store().executeFetchRequest(request);
        if (!fetched)
            logLine(u"Export: the tasks of smart folder \"%1\" could not be fetched: %2"_s.arg(f->name(), fetched.status().message()));
        else if (!fetched->empty()) {
            std::vector<Record*> records = std::move(*fetched);
            sortRecords(records, m_views.allTasks().sortDescriptors());
            std::vector<Task*> tasks;
            tasks.reserve(records.size());
            for (Record* r : records)
                tasks.push_back(static_cast<Task*>(r));
            c.tasks = std::move(tasks);
        }
        out.push_back(std::move(c));
    }
    return out;
}

Result<QString> ExportController::exportContexts(bool withAttachedNotes) const
{
    return fill(Kind::Contexts, contextContainers(), withAttachedNotes);
}

Result<QString> ExportController::exportProjects(bool withAttachedNotes) const
{
    return fill(Kind::Projects, projectContainers(), withAttachedNotes);
}

Result<QString> ExportController::exportSmartFolders(bool withAttachedNotes) const
{
    return fill(Kind::SmartFolders, smartFolderContainers(), withAttachedNotes);
}

Result<QString> ExportController::exportView(TaskView view, bool withAttachedNotes) const
{
    switch (view) {
    case TaskView::Contexts: return exportContexts(withAttachedNotes);
    case TaskView::Projects: return exportProjects(withAttachedNotes);
    case TaskView::ToComplete: return exportSmartFolders(withAttachedNotes);
    default: return Status::invalidArgument(u"only the contexts, projects and smart folders can be exported"_s);
    }
}

Status writeExportFile(const QString& path, const QString& text)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Status::ioError(u"cannot write %1: %2"_s.arg(path, file.errorString()));
    const QByteArray bytes = text.toUtf8();
    if (file.write(bytes) != bytes.size() || !file.commit())
        return Status::ioError(u"cannot write %1: %2"_s.arg(path, file.errorString()));
    return Status::ok();
}

Status ExportController::exportViewToFile(TaskView view, const QString& path, bool withAttachedNotes) const
{
    Result<QString> text = exportView(view, withAttachedNotes);
    if (!text) {
        logLine(u"Export failed: "_s + text.status().message());
        return text.status();
    }
    return writeExportFile(path, *text);
}

Status ExportController::exportContextsToFile(const QString& path, bool withAttachedNotes) const
{
    return exportViewToFile(TaskView::Contexts, path, withAttachedNotes);
}

Status ExportController::exportProjectsToFile(const QString& path, bool withAttachedNotes) const
{
    return exportViewToFile(TaskView::Projects, path, withAttachedNotes);
}

Status ExportController::exportSmartFoldersToFile(const QString& path, bool withAttachedNotes) const
{
    return exportViewToFile(TaskView::ToComplete, path, withAttachedNotes);
}
