#include "model/recurrenttaskscontroller.h"

#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/task.h"
#include "model/tasksduplicator.h"

namespace {

QDateTime advance(const QDateTime& base, qint64 mode, qint64 n)
{
    if (!base.isValid())
        return {};
    switch (mode) {
    case 0: return DateAnchors::addCalendarDays(base, n);
    case 1: return DateAnchors::addCalendarDays(base, 7 * n);
    case 2: return DateAnchors::addCalendarMonths(base, int(n));
    default: return {};
    }
}

} // namespace

Task* RecurrentTasksController::handleRecurrenceForTask(Task* t)
{
    if (!t || !t->isRecuringTask())
        return nullptr;
    const qint64 n = t->recurNumber();
    QDateTime baseStart, baseDue;
    switch (t->recurType()) {
    case 0:
        baseStart = t->startDate();
        baseDue = t->dueDate();
        break;
    case 1:
        baseStart = DateAnchors::today(ModelEnvironment::of(*t).now());
        if (t->dueDate().isValid())
            baseDue = baseStart.addMSecs(t->startDate().msecsTo(t->dueDate()));
        break;
    default: break;
    }
    const QDateTime nextStart = advance(baseStart, t->recurMode(), n);
    const QDateTime nextDue = advance(baseDue, t->recurMode(), n);

    Task* copy = TasksDuplicator::duplicateTaskFrom(t);
    // Due first, then start: both move forward by the same amount, so the start-before-due rule holds at
    // each step.
    copy->setDueDate(nextDue);
    copy->setStartDate(nextStart);
    copy->setNextAction(false);
    if (!ModelEnvironment::of(*t).boolPreference(u"copyDetailsFromCompletedTasksToNextRecurrentTasks")) {
        copy->setContent(QStringLiteral(""));
        copy->setUrl(QStringLiteral(""));
        copy->setTags(QStringLiteral(""));
        copy->setContact(QStringLiteral(""));
    }
    return copy;
}
