#pragma once

#include <QChar>
#include <QString>

class FolderArrayController;
class Record;
class SmartFolder;
class SmartFoldersArrayController;
class Task;
class TasksArrayController;

// The type-ahead buffer of one task table. Keys that follow each other within half a second build up
// one search text; after a longer pause a key starts a new one. Times are in seconds from any fixed
// origin (the caller's clock), so the buffer never reads a clock itself.
class TypeAhead {
public:
    static constexpr double kWindowSeconds = 0.5;

    // Adds the character of a type-ahead key pressed at `now` and returns the search text.
    const QString& type(QChar character, double now);
    const QString& buffer() const { return m_buffer; }

private:
    QString m_buffer;
    bool m_typed = false;
    double m_lastKeyTime = 0;
};

// Selects the first task on show whose name begins with `text`, ignoring case; when none does and the
// text is longer than two characters, the first whose name contains it. Returns the task selected, or
// nullptr with the selection left alone.
Task* typeAheadInTasks(TasksArrayController& list, const QString& text);

// The folder trees' type-ahead: selects the first folder in list order whose name begins with `name`,
// ignoring case, else the first whose name contains it. Returns the folder selected, or nullptr with the
// selection left alone (an empty name matches nothing).
Record* typeAheadForName(FolderArrayController& folders, const QString& name);
SmartFolder* typeAheadForName(SmartFoldersArrayController& folders, const QString& name);
