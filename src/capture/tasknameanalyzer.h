#pragma once

#include "capture/nameindex.h"
#include "store/status.h"

#include <QDateTime>
#include <QString>

#include <functional>
#include <optional>

class Context;
class ObjectContext;
class Project;

// What one quick-entry line says about a task.
struct ParseResult {
    QString name;
    QString content;
    int priority = 3;                 // 1 most urgent .. 5 least
    Context* context = nullptr;
    Project* project = nullptr;
    std::optional<QDateTime> startDate;
    std::optional<QDateTime> dueDate;
    std::optional<QString> tags;      // as typed between the braces, possibly empty
    // The texts the line gave for the context, the project and the dates, whether or not they led to
    // a folder or a date: callers tell the user what part of the line was not used. A date text is kept
    // when it was read; a date part without a comma is read even when empty.
    std::optional<QString> contextName;
    std::optional<QString> projectName;
    std::optional<QString> startDateText;
    std::optional<QString> dueDateText;
};

// Reads the quick-entry syntax:  name [: note] with  @context  [project]  {tags}  #start, due  and
// the priority marks "!!", "!", "?", "??". The steps run in a fixed order on what the earlier ones
// left, with their quirks kept on purpose (the last "#", the context word ending at the first space of
// the line as typed, the last comma of the dates, the last colon, the first brace and bracket pairs).
// It only reads the store, to find the context and the project, and writes a trace to the log.
class TaskNameAnalyzer {
public:
    using DateReader = std::function<std::optional<QDateTime>(const QString&)>;

    // `readDate` defaults to the natural-language date reader.
    explicit TaskNameAnalyzer(const ObjectContext& context, DateReader readDate = {});

    // The line must not be empty. Two lines cannot be read (an "@" word whose end, the first space of
    // the line as typed, lies past the text that is left, or at its very start); they give an error
    // and no result.
    Result<ParseResult> parseTaskName(const QString& line) const;

private:
    Context* findContext(const QString& name) const;
    Project* findProject(const QString& name) const;

    const ObjectContext& m_context;
    DateReader m_readDate;
    // The lookups give the same answers as the fetches they stand for, without a scan per line.
    mutable NameIndex m_contexts;
    mutable NameIndex m_projects;
};
