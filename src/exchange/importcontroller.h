#pragma once

#include "store/status.h"

#include <QString>
#include <QStringList>

class TabViewController;

// Lines of plain text made into tasks, one per line that is not blank, in the first selected folder of
// the context, project or archive tree. The lines are plain names: no quick-entry syntax is applied.
// Each task comes from its list's add operation without the window (so a context's posts its "Task
// added" notification); nothing is saved here. One import is one step of undo.
//
// Lines are split at line feeds only: a carriage return before one stays in the name. Only spaces
// (U+0020) count as blank. A context task takes the trimmed line as its name; a project or archive task
// takes the line as read, untrimmed (the trim only decides whether the line is blank). The difference
// is deliberate: the three imports have always behaved so, and users' files rely on it.
//
// Every operation returns how many tasks it made. Without a selected folder it fails with
// InvalidArgument before making any; a file that cannot be read fails with its reason and makes none.
class ImportController {
public:
    // `views` must outlive this object.
    explicit ImportController(TabViewController& views) : m_views(views) {}

    Result<int> importContextTasksFromFile(const QString& path);
    Result<int> importProjectTasksFromFile(const QString& path);
    Result<int> importArchivedTasksFromFile(const QString& path);

    // `text` is the clipboard's plain text (empty when it holds none).
    Result<int> importContextTasksFromClipboard(const QString& text);
    Result<int> importProjectTasksFromClipboard(const QString& text);
    Result<int> importArchivedTasksFromClipboard(const QString& text);

    // By the main window's selected view index: 0 contexts, 1 projects, 4 archive; any other view makes
    // nothing (0 tasks).
    Result<int> importTasksFromFile(int viewIndex, const QString& path);
    Result<int> importTasksFromText(int viewIndex, const QString& text);

    // The text split into lines as every import reads it.
    static QStringList importLines(const QString& text);
    // The line without the spaces (U+0020 only) at either end; a line that comes out empty makes no task.
    static QString trimmedSpaces(const QString& line);

private:
    enum class Kind { Contexts, Projects, Archive };
    Result<int> importText(Kind kind, const QString& text);
    Result<int> importFile(Kind kind, const QString& path);
    static bool kindOfView(int viewIndex, Kind* kind);

    TabViewController& m_views;
};
