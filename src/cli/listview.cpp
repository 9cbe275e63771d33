#include "cli/listview.h"

#include "cli/recordlookup.h"
#include "lists/contextarraycontroller.h"
#include "lists/folderarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/archivecategory.h"
#include "model/context.h"
#include "model/project.h"
#include "model/smartfolder.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

Result<TaskView> parseTaskView(const QString& name)
{
    static const char* const names[] = {"contexts", "projects", "to-complete", "completed", "archive"};
    for (int i = 0; i < kTaskViewCount; ++i)
        if (name == QLatin1String(names[i]))
            return TaskView(i);
    return Status::invalidArgument(QStringLiteral("unknown view \"%1\" (contexts, projects, to-complete, completed or archive)").arg(name));
}

Status selectViewFolder(TabViewController& views, TaskView view, const QString& path)
{
    ObjectContext& store = views.store();
    auto find = [&](const char* entity) -> Result<Record*> {
        if (path.isEmpty())
            return Status::invalidArgument(QStringLiteral("the %1 view needs --folder").arg(view == TaskView::Projects ? "projects" : "archive"));
        return lookupRecord(store, path, QLatin1String(entity));
    };
    switch (view) {
    case TaskView::Contexts: {
        Result<Record*> found = path.isEmpty() ? Result<Record*>(views.contextController().inboxContext()) : find("context");
        if (!found)
            return found.status();
        if (!*found)
            return Status::notFound(QStringLiteral("this data file has no Inbox"));
        views.contextController().selectRecord(*found);
        break;
    }
    case TaskView::Projects: {
        auto found = find("project");
        if (!found)
            return found.status();
        views.projectController().selectRecord(*found);
        break;
    }
    case TaskView::ToComplete: {
        SmartFolder* folder = nullptr;
        for (SmartFolder* f : views.smartFolderController().arrangedObjects())
            if (path.isEmpty() ? f->isAllPending() : f->name() == path) {
                folder = f;
                break;
            }
        if (!folder)
            return Status::notFound(path.isEmpty() ? QStringLiteral("this data file has no \"All tasks\" smart folder")
                                                   : QStringLiteral("no smart folder named \"%1\"").arg(path));
        views.smartFolderController().setSelectedFolder(folder);
        break;
    }
    case TaskView::Archive: {
        auto found = find("archiveCategory");
        if (!found)
            return found.status();
        views.archiveCategoryController().selectRecord(*found);
        break;
    }
    case TaskView::Completed:
        if (!path.isEmpty())
            return Status::invalidArgument(QStringLiteral("the completed view has no folders"));
        break;
    }
    return Status::ok();
}

void printTasksJson(QTextStream& out, const std::vector<Task*>& tasks)
{
    QJsonArray array;
    for (Task* t : tasks)
        array.append(recordToJson(*t));
    out << QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Indented));
}

namespace {

QString flagsOf(const Task* t)
{
    QString flags;
    flags += t->done() ? QLatin1Char('x') : QLatin1Char('-');
    flags += t->nextAction() ? QLatin1Char('N') : QLatin1Char('-');
    flags += t->maybe() ? QLatin1Char('M') : QLatin1Char('-');
    flags += t->waitingFor() ? QLatin1Char('W') : QLatin1Char('-');
    flags += t->delegated() ? QLatin1Char('D') : QLatin1Char('-');
    return flags;
}

QString day(const QDateTime& date)
{
    return date.isValid() ? date.date().toString(Qt::ISODate) : QString();
}

} // namespace

void printTasksTable(QTextStream& out, const std::vector<Task*>& tasks)
{
    const QStringList header{QStringLiteral("NAME"), QStringLiteral("FLAGS"), QStringLiteral("PRI"), QStringLiteral("START"),
                             QStringLiteral("DUE"), QStringLiteral("CONTEXT"), QStringLiteral("PROJECT")};
    std::vector<QStringList> rows{header};
    for (Task* t : tasks)
        rows.push_back({t->name(), flagsOf(t), QString::number(t->priority()), day(t->startDate()), day(t->dueDate()),
                        t->parentContext() ? t->parentContext()->pathName() : QString(),
                        t->parentProject() ? t->parentProject()->pathName() : QString()});
    QList<qsizetype> widths(header.size(), 0);
    for (const QStringList& row : rows)
        for (qsizetype c = 0; c < row.size(); ++c)
            widths[c] = std::max(widths[c], std::min<qsizetype>(row[c].size(), 40));
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype c = 0; c < row.size(); ++c) {
            QString cell = row[c].size() > 40 ? row[c].left(39) + QChar(0x2026) : row[c];
            line += c + 1 < row.size() ? cell.leftJustified(widths[c] + 2) : cell;
        }
        out << line.trimmed() << '\n';
    }
    out << tasks.size() << (tasks.size() == 1 ? " task" : " tasks") << '\n';
}
