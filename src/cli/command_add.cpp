#include "app/coredataappdelegate.h"
#include "capture/quicktypeincontroller.h"
#include "capture/tasknameanalyzer.h"
#include "cli/commandline.h"
#include "model/context.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <QJsonDocument>

namespace {

// Quick type-in drops the parts of a line it cannot use without a word; here the user is told of each,
// one line apiece. The task is made all the same.
void warnOfUnusedParts(CommandEnvironment& env, const ParseResult& reading, const Task& task)
{
    if (reading.contextName && !reading.context) {
        const Context* in = task.parentContext();
        env.warn(QStringLiteral("no context's name begins with \"%1\": the task is in %2")
                     .arg(*reading.contextName, in ? QStringLiteral("\"%1\"").arg(in->pathName().isEmpty() ? in->name() : in->pathName())
                                                   : QStringLiteral("no context")));
    }
    if (reading.projectName && !reading.project)
        env.warn(QStringLiteral("no project's name is or begins with \"%1\": the task has no project").arg(*reading.projectName));
    // What the task ended up with: a start date may still come from the preference for new tasks.
    auto outcome = [&](const QDateTime& date, const char* which) {
        return date.isValid() ? QStringLiteral("the task's %1 date is %2, as for any new task").arg(QLatin1String(which), isoDateString(date))
                              : QStringLiteral("the task has no %1 date").arg(QLatin1String(which));
    };
    auto unread = [&](const std::optional<QString>& text, const std::optional<QDateTime>& date, const QDateTime& result, const char* which) {
        if (!text || date)
            return;
        if (text->isEmpty())
            env.warn(QStringLiteral("nothing follows \"#\": %1").arg(outcome(result, which)));
        else
            env.warn(QStringLiteral("\"%1\" reads as no date: %2").arg(*text, outcome(result, which)));
    };
    unread(reading.startDateText, reading.startDate, task.startDate(), "start");
    unread(reading.dueDateText, reading.dueDate, task.dueDate(), "due");
    // The start date is set first; a due date not after it is refused by the task.
    if (reading.dueDate && task.dueDate() != *reading.dueDate)
        env.warn(QStringLiteral("the due date %1 is not after the start date %2: the task has no due date")
                     .arg(isoDateString(*reading.dueDate), isoDateString(task.startDate())));
}

} // namespace

int runAdd(CommandEnvironment& env)
{
    if (env.arguments().size() != 1 || env.arguments().first().isEmpty())
        return env.fail(QStringLiteral("add takes one non-empty LINE"), ExitUsage);
    if (auto failed = env.openStore())
        return *failed;
    ObjectContext& context = env.appDelegate().managedObjectContext();
    ParseResult reading;
    auto task = QuickTypeInController(context).quickTypeInDone(env.arguments().first(), &reading);
    if (!task)
        return env.fail(task.status().message(), ExitUsage);
    // Quick type-in has saved already, or left its changes for a later save; one more try tells which.
    if (Status s = env.save(); !s.isOk())
        return env.fail(QStringLiteral("the task could not be saved: %1").arg(s.message()));
    warnOfUnusedParts(env, reading, **task);
    env.out() << QString::fromUtf8(QJsonDocument(recordToJson(**task)).toJson(QJsonDocument::Indented));
    return ExitOk;
}
