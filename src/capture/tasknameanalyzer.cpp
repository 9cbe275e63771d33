#include "capture/tasknameanalyzer.h"

#include "model/context.h"
#include "model/modelenvironment.h"
#include "model/naturaldatereader.h"
#include "model/project.h"
#include "store/log.h"
#include "store/objectcontext.h"

#include <QHash>

namespace {

// Only the space character is trimmed; tabs and line breaks stay.
QString trimmed(const QString& text)
{
    qsizetype start = 0, end = text.size();
    while (start < end && text[start] == QLatin1Char(' '))
        ++start;
    while (end > start && text[end - 1] == QLatin1Char(' '))
        --end;
    return text.mid(start, end - start);
}

// The trace of one line is collected and written in one go when the parse ends.
thread_local QStringList* g_trace = nullptr;

void trace(const QString& line)
{
    if (g_trace)
        g_trace->append(line);
    else
        logLine(line);
}

void traceText(const QString& text)
{
    trace(QStringLiteral("> '%1'").arg(text));
}

struct TraceScope {
    QStringList lines;
    TraceScope() { g_trace = &lines; }
    ~TraceScope()
    {
        g_trace = nullptr;
        logLines(lines);
    }
};

QString describe(const std::optional<QDateTime>& date)
{
    return date ? date->toString(QStringLiteral("yyyy-MM-dd HH:mm:ss ")) + date->toString(QStringLiteral("t")) : QStringLiteral("(null)");
}

// Cuts the first open ... close pair out of `text`: the text between them, untouched, or nullopt when
// the pair is missing or the close mark comes first. The gap closes up with one space.
std::optional<QString> cutPair(QString& text, QChar open, QChar close)
{
    const qsizetype o = text.indexOf(open);
    const qsizetype c = text.indexOf(close);
    if (o < 0 || c < 0 || o > c)
        return std::nullopt;
    const QString inside = text.mid(o + 1, c - o - 1);
    text = trimmed(trimmed(text.left(o)) + QLatin1Char(' ') + trimmed(text.mid(c + 1)));
    return inside;
}

// The first record of `entity` that the predicate finds, in the store's order.
Result<std::vector<Record*>> firstMatch(const ObjectContext& context, const char* entity, const char* format, const QString& name)
{
    const Predicate& predicate = ModelEnvironment::of(context).predicateTemplate(QLatin1String(format));
    FetchRequest request(QLatin1String(entity), predicate.withArguments({name}));
    request.fetchLimit = 1;
    return context.executeFetchRequest(request);
}

} // namespace

TaskNameAnalyzer::TaskNameAnalyzer(const ObjectContext& context, DateReader readDate)
    : m_context(context), m_readDate(std::move(readDate)), m_contexts(context, QStringLiteral("context")),
      m_projects(context, QStringLiteral("project"))
{
    if (!m_readDate)
        m_readDate = [&context](const QString& text) { return dateWithNaturalLanguageString(text, ModelEnvironment::of(context).now()); };
}

Context* TaskNameAnalyzer::findContext(const QString& name) const
{
    // "name BEGINSWITH[c] %@", first in the store's order.
    Record* found = m_contexts.firstWithPrefix(name);
    if (!found)
        trace(QStringLiteral("No context found for @name"));
    return static_cast<Context*>(found);
}

Project* TaskNameAnalyzer::findProject(const QString& name) const
{
    // "name LIKE[c] %@": without wildcards that is a name equal but for case.
    Record* like = nullptr;
    if (name.contains(QLatin1Char('*')) || name.contains(QLatin1Char('?'))) {
        auto found = firstMatch(m_context, "project", "name LIKE[c] %@", name);
        if (!found) {
            trace(QStringLiteral("Error executing fetch request for project"));
            return nullptr;
        }
        like = found->empty() ? nullptr : found->front();
    } else {
        like = m_projects.firstEqual(name);
    }
    if (like)
        return static_cast<Project*>(like);
    trace(QStringLiteral("No project found for [name], trying to match [name*]"));
    Record* prefix = m_projects.firstWithPrefix(name);
    if (!prefix)
        trace(QStringLiteral("No project found for [name*]"));
    return static_cast<Project*>(prefix);
}

Result<ParseResult> TaskNameAnalyzer::parseTaskName(const QString& line) const
{
    ParseResult result;
    TraceScope scope;
    trace(QStringLiteral("---------"));
    traceText(line);

    // 1. Dates behind the last "#" anywhere in the line; the last comma splits start from due.
    QString working = line;
    if (const qsizetype hash = line.lastIndexOf(QLatin1Char('#')); hash >= 0) {
        const QString dateText = trimmed(line.mid(hash + 1));
        working = trimmed(line.left(hash));
        trace(QStringLiteral("DatePart '%1'").arg(dateText));
        const qsizetype comma = dateText.lastIndexOf(QLatin1Char(','));
        if (comma < 0) {
            result.dueDateText = dateText;
            result.dueDate = m_readDate(dateText);
            trace(QStringLiteral("Due date '%1'").arg(describe(result.dueDate)));
        } else {
            const QString startText = trimmed(dateText.left(comma));
            const QString dueText = trimmed(dateText.mid(comma + 1));
            if (!startText.isEmpty()) {
                result.startDateText = startText;
                result.startDate = m_readDate(startText);
                trace(QStringLiteral("Start date '%1'").arg(startText));
            }
            if (!dueText.isEmpty()) {
                result.dueDateText = dueText;
                result.dueDate = m_readDate(dueText);
                trace(QStringLiteral("Due date '%1'").arg(dueText));
            }
        }
    }
    traceText(working);

    // 2. "@context" opening the working text; the word ends at the first space of the line as typed.
    if (working.startsWith(QLatin1Char('@'))) {
        const qsizetype space = line.indexOf(QLatin1Char(' '));
        if (space >= 0) {
            if (space == 0 || space > working.size()) {
                trace(QStringLiteral("---------"));
                return Status::invalidArgument(
                    QStringLiteral("cannot read \"%1\": the context word must end at the line's first space, which lies outside it").arg(line));
            }
            const QString contextName = working.mid(1, space - 1);
            working = trimmed(working.mid(space));
            trace(QStringLiteral("ContextName '%1'").arg(contextName));
            result.contextName = contextName;
            result.context = findContext(contextName);
        }
    }
    traceText(working);

    // 3. {tags} and 4. [project]: the first pair of each.
    if (auto tags = cutPair(working, QLatin1Char('{'), QLatin1Char('}'))) {
        result.tags = *tags;
        trace(QStringLiteral("Tags '%1'").arg(*tags));
    }
    traceText(working);
    traceText(working);
    if (auto projectName = cutPair(working, QLatin1Char('['), QLatin1Char(']'))) {
        trace(QStringLiteral("ProjectName '%1'").arg(*projectName));
        result.projectName = *projectName;
        result.project = findProject(*projectName);
    }
    traceText(working);

    // 5. Name and note at the last colon.
    const qsizetype colon = working.lastIndexOf(QLatin1Char(':'));
    if (colon >= 0) {
        result.name = trimmed(working.left(colon));
        result.content = trimmed(working.mid(colon + 1));
    } else {
        result.name = working;
        result.content = QStringLiteral("");
    }
    const QString priorityText = result.name;

    // 6. A name ending in a mark loses every mark of that kind; nothing is trimmed afterwards.
    if (result.name.endsWith(QLatin1Char('!')))
        result.name.remove(QLatin1Char('!'));
    else if (result.name.endsWith(QLatin1Char('?')))
        result.name.remove(QLatin1Char('?'));

    // 7. Priority from the marks anywhere in the name as it was before step 6.
    if (priorityText.contains(QLatin1String("!!")))
        result.priority = 1;
    else if (priorityText.contains(QLatin1Char('!')))
        result.priority = 2;
    else if (priorityText.contains(QLatin1String("??")))
        result.priority = 5;
    else if (priorityText.contains(QLatin1Char('?')))
        result.priority = 4;

    trace(QStringLiteral("TaskName '%1'").arg(result.name));
    if (colon >= 0)
        trace(QStringLiteral("TaskContent '%1'").arg(result.content));
    traceText(priorityText);
    trace(QStringLiteral("TaskPriority: %1").arg(result.priority));
    trace(QStringLiteral("---------"));
    return result;
}
