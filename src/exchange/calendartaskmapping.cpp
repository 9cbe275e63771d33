#include "exchange/calendartaskmapping.h"

#include "model/modelenvironment.h"
#include "model/project.h"
#include "model/recurrenttaskscontroller.h"
#include "model/task.h"
#include "store/fetchrequest.h"
#include "store/log.h"
#include "store/objectcontext.h"

namespace {

QString trimmedOf(const QString& text, QStringView characters)
{
    qsizetype start = 0, end = text.size();
    while (start < end && characters.contains(text[start]))
        ++start;
    while (end > start && characters.contains(text[end - 1]))
        --end;
    return text.mid(start, end - start);
}

QString withoutSpaces(const QString& text)
{
    return trimmedOf(text, u" ");
}

QString withoutBrackets(const QString& text)
{
    return trimmedOf(text, u"[]");
}

void write(const SyncLog& log, const QString& line)
{
    if (log)
        log(line);
    else
        logLine(line);
}

// The project the summary names, found as the user would type it: LIKE, so "*" and "?" are wildcards.
Project* findProject(const Task& task, const QString& name, const SyncLog& log)
{
    write(log, QStringLiteral("Searching project..."));
    const Predicate& like = ModelEnvironment::of(task).predicateTemplate(QStringLiteral("name LIKE[c] %@"));
    const auto found = task.managedObjectContext()->executeFetchRequest(
        FetchRequest(QStringLiteral("project"), like.withArguments({name})));
    if (!found) {
        write(log, QStringLiteral("Error executing fetch request"));
        return nullptr;
    }
    if (found->empty()) {
        write(log, QStringLiteral("No parent project found for [name]"));
        return nullptr;
    }
    auto* project = static_cast<Project*>(found->front());
    write(log, QStringLiteral("Setting parent project..."));
    write(log, project->name());
    return project;
}

void pullSummary(Task& task, const QString& summary, const SyncLog& log)
{
    const SyncSummary parsed = parseSyncSummary(summary);
    if (!parsed.projectName.isEmpty()) {
        if (Project* project = findProject(task, parsed.projectName, log))
            task.moveToProject(project);
    }
    task.setName(parsed.name);
}

void pullUrl(Task& task, const QString& url)
{
    QStringList urls = task.urlsFromUrl();
    if (urls.isEmpty()) {
        if (!url.isEmpty())
            task.setUrl(url);
        return;
    }
    if (url.isEmpty())
        urls.removeFirst();
    else
        urls.first() = url;
    task.setDisplayURL(urls);
}

} // namespace

bool isPushedBySyncMode(const Task& task, int syncTasksMode)
{
    const bool open = !task.done() && !task.maybe() && !task.waitingFor();
    switch (syncTasksMode) {
    case 1: return open;
    case 2: return open && !task.future();
    case 3: return open && task.nextAction();
    default: return true;
    }
}

CalendarTaskFields calendarFieldsForTask(const Task& task, int syncTaskProjectNameMode)
{
    CalendarTaskFields f;
    if (const Project* project = task.parentProject()) {
        f.summary = syncTaskProjectNameMode == 0 ? QStringLiteral("%1 [%2]").arg(task.name(), project->name())
                                                 : QStringLiteral("[%1] %2").arg(project->name(), task.name());
    } else {
        f.summary = task.name();
    }
    f.description = task.content();
    f.completed = task.done();
    switch (task.priority()) {
    case 1: f.priority = 1; break;
    case 2: f.priority = 5; break;
    default: f.priority = 9; break;
    }
    if (const QDateTime due = task.dueDate(); due.isValid())
        f.due = due.toLocalTime().date();
    const QStringList urls = task.urlsFromUrl();
    if (!urls.isEmpty())
        f.url = urls.first();
    return f;
}

SyncSummary parseSyncSummary(const QString& summary)
{
    SyncSummary parsed{summary, {}};
    if (summary.endsWith(QLatin1Char(']'))) {
        const qsizetype open = summary.lastIndexOf(QLatin1Char('['));
        if (open >= 0) {
            parsed.name = withoutSpaces(summary.left(open));
            parsed.projectName = withoutBrackets(summary.mid(open));
        }
    } else if (summary.startsWith(QLatin1Char('['))) {
        const qsizetype close = summary.indexOf(QLatin1Char(']'));
        if (close >= 0) {
            parsed.name = withoutSpaces(summary.mid(close + 1));
            parsed.projectName = withoutBrackets(summary.left(close + 1));
        }
    }
    return parsed;
}

void pullCalendarField(Task& task, CalendarField field, const CalendarTaskFields& remote, const SyncLog& log)
{
    write(log, QStringLiteral("Change %1 = %2").arg(calendarFieldName(field), calendarFieldText(remote, field)));
    switch (field) {
    case CalendarField::Summary: pullSummary(task, remote.summary, log); break;
    case CalendarField::Description:
        if (task.content() != remote.description)
            task.setContent(remote.description);
        break;
    case CalendarField::Status:
        // Only a real change: completing a task that is already done would make a second next occurrence.
        if (remote.completed && !task.done()) {
            const bool recurred = RecurrentTasksController::handleRecurrenceForTask(&task) != nullptr;
            task.setDone(true);
            // Its next occurrence exists now: the clean-up, which makes one for every done task it
            // clears, must not make a second.
            if (recurred)
                task.setCleanedUp(true);
        } else if (!remote.completed && task.done()) {
            task.setDone(false);
        }
        break;
    case CalendarField::Priority: {
        const int priority = remote.priority == 1 ? 1 : remote.priority == 5 ? 2 : 3;
        if (task.priority() != priority)
            task.setPriority(priority);
        break;
    }
    case CalendarField::Due: {
        // A due time of the task's own on the same day stays: the calendar only carries the day.
        const QDateTime due = task.dueDate();
        if (!remote.due.isValid()) {
            if (due.isValid())
                task.setDueDate(QDateTime());
        } else if (!due.isValid() || due.toLocalTime().date() != remote.due) {
            task.setDueDate(remote.due.startOfDay());
        }
        break;
    }
    case CalendarField::Url: pullUrl(task, remote.url); break;
    }
}
