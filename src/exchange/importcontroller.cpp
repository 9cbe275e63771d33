#include "exchange/importcontroller.h"

#include "exchange/textfile.h"
#include "lists/archivedtasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/archivecategory.h"
#include "model/context.h"
#include "model/project.h"
#include "store/objectcontext.h"
#include "store/undostack.h"

QStringList ImportController::importLines(const QString& text)
{
    return text.split(QLatin1Char('\n'));
}

QString ImportController::trimmedSpaces(const QString& line)
{
    qsizetype begin = 0;
    qsizetype end = line.size();
    while (begin < end && line[begin] == QLatin1Char(' '))
        ++begin;
    while (end > begin && line[end - 1] == QLatin1Char(' '))
        --end;
    return line.mid(begin, end - begin);
}

Result<int> ImportController::importText(Kind kind, const QString& text)
{
    Context* context = nullptr;
    Project* project = nullptr;
    ArchiveCategory* category = nullptr;
    switch (kind) {
    case Kind::Contexts: context = m_views.contextController().selectedObject(); break;
    case Kind::Projects: project = m_views.projectController().selectedObject(); break;
    case Kind::Archive: category = m_views.archiveCategoryController().selectedObject(); break;
    }
    if (!context && !project && !category)
        return Status::invalidArgument(QStringLiteral("no folder is selected to import into"));

    ObjectContext& store = m_views.store();
    UndoGrouping step(store.undoManager(), QStringLiteral("Import Tasks"));
    int made = 0;
    for (const QString& line : importLines(text)) {
        const QString trimmed = trimmedSpaces(line);
        if (trimmed.isEmpty())
            continue;
        // Each task is a change batch of its own. Left in one batch, every add operation that reads
        // its list's selection would place all the tasks made so far again: quadratic in the lines.
        store.processPendingChanges();
        switch (kind) {
        case Kind::Contexts:
            m_views.contextTasks().addNewTask(trimmed, context, nullptr, QString(), QString(), std::nullopt, QDateTime(), QDateTime(),
                                              QString(), true);
            break;
        case Kind::Projects: m_views.projectTasks().addNewTask(line, project, QString(), QString(), true); break;
        case Kind::Archive: m_views.archivedTasks().addNewTask(line, category, QString(), QString(), std::nullopt, QString(), true); break;
        }
        ++made;
    }
    return made;
}

Result<int> ImportController::importFile(Kind kind, const QString& path)
{
    auto text = readTextFile(path);
    if (!text)
        return text.status();
    return importText(kind, *text);
}

Result<int> ImportController::importContextTasksFromFile(const QString& path) { return importFile(Kind::Contexts, path); }
Result<int> ImportController::importProjectTasksFromFile(const QString& path) { return importFile(Kind::Projects, path); }
Result<int> ImportController::importArchivedTasksFromFile(const QString& path) { return importFile(Kind::Archive, path); }
Result<int> ImportController::importContextTasksFromClipboard(const QString& text) { return importText(Kind::Contexts, text); }
Result<int> ImportController::importProjectTasksFromClipboard(const QString& text) { return importText(Kind::Projects, text); }
Result<int> ImportController::importArchivedTasksFromClipboard(const QString& text) { return importText(Kind::Archive, text); }

bool ImportController::kindOfView(int viewIndex, Kind* kind)
{
    switch (viewIndex) {
    case 0: *kind = Kind::Contexts; return true;
    case 1: *kind = Kind::Projects; return true;
    case 4: *kind = Kind::Archive; return true;
    default: return false;
    }
}

Result<int> ImportController::importTasksFromFile(int viewIndex, const QString& path)
{
    Kind kind;
    return kindOfView(viewIndex, &kind) ? importFile(kind, path) : Result<int>(0);
}

Result<int> ImportController::importTasksFromText(int viewIndex, const QString& text)
{
    Kind kind;
    return kindOfView(viewIndex, &kind) ? importText(kind, text) : Result<int>(0);
}
