#include "lists/taskremindercontroller.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "lists/listhost.h"
#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/value.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>

namespace {

// A long wait is cut into steps, so a suspended machine or a changed system clock is noticed within
// this time of resuming.
constexpr qint64 kLongestWaitMs = 60 * 60 * 1000;

const QString kReminderName = QStringLiteral("VyroTaskReminder");

// A date-only due date is the start of its day, and its reminder comes at most a day later (a day of a
// clock change is 25 hours long). So a task due this long before a moment cannot be reminded of after
// it, and one due after a moment cannot be reminded of before it: passes over the store read the raw
// due time first and convert to local time, which is slow, only for the tasks near the span they look at.
constexpr qint64 kLongestDayMs = 26LL * 60 * 60 * 1000;

// The due time in milliseconds since the epoch, or nullopt without one.
std::optional<qint64> dueMSecs(const Task& task)
{
    const Value& due = task.primitiveValue(Task::Attr::dueDate);
    if (due.kind() != Value::Kind::Date)
        return std::nullopt;
    return due.dateMSecs();
}

} // namespace

TaskReminderController::TaskReminderController(ObjectContext& store, Preferences& preferences, Post post, QObject* parent)
    : QObject(parent), m_store(store), m_preferences(preferences), m_post(std::move(post))
{
    m_taskEntity = store.model().entity(u"task");
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &TaskReminderController::check);
}

TaskReminderController::~TaskReminderController() = default;

QDateTime TaskReminderController::now() const
{
    return ModelEnvironment::of(m_store).now();
}

int TaskReminderController::hour() const
{
    const QVariant stored = m_preferences.objectForKey(PreferenceKey::reminderHourForDueDates);
    return stored.isValid() ? std::clamp(stored.toInt(), 0, 23) : 9;
}

QDateTime TaskReminderController::reminderMoment(const Task& task, int hour)
{
    if (task.isDeleted() || task.done() || task.archived())
        return {};
    const QDateTime due = task.dueDate();
    if (!due.isValid())
        return {};
    const QDateTime local = due.toLocalTime();
    if (local == local.date().startOfDay())
        return DateAnchors::localDateTime(local.date(), QTime(hour, 0));
    return local;
}

void TaskReminderController::start()
{
    const QDateTime current = now();
    const QDateTime last = QDateTime::fromString(m_preferences.stringForKey(PreferenceKey::lastReminderCheck), Qt::ISODateWithMs);
    m_started = true;
    connect(&m_store, &ObjectContext::objectsDidChange, this, &TaskReminderController::storeChanged, Qt::UniqueConnection);
    if (!last.isValid() || last > current) {
        remember(current);
        scanForNext();
        return;
    }
    m_lastCheck = last;
    const std::vector<Task*> missed = takeDue(current);
    if (missed.size() == 1)
        m_post({QStringLiteral("Task due"), missed.front()->name(), kReminderName, QString(), 0, false, missed.front()->uri()});
    else if (!missed.empty())
        postSummary(missed, QStringLiteral("%1 tasks fell due while Vyro was not running").arg(missed.size()));
    remember(current);
    scanForNext();
}

void TaskReminderController::check()
{
    if (!m_started)
        return;
    const QDateTime current = now();
    if (current < m_lastCheck) {
        // The clock went back: the span starts again from here. What was reminded of before is not
        // repeated when its moment comes round again.
        remember(current);
        scanForNext();
        return;
    }
    const std::vector<Task*> due = takeDue(current);
    if (int(due.size()) > kSeparateReminders) {
        postSummary(due, QStringLiteral("%1 tasks are due").arg(due.size()));
    } else {
        for (Task* task : due)
            m_post({QStringLiteral("Task due"), task->name(), kReminderName, QString(), 0, false, task->uri()});
    }
    remember(current);
    scanForNext();
}

std::vector<Task*> TaskReminderController::takeDue(const QDateTime& current)
{
    std::vector<std::pair<qint64, Task*>> due;
    const int h = hour();
    const qint64 from = m_lastCheck.toMSecsSinceEpoch();
    const qint64 to = current.toMSecsSinceEpoch();
    for (const auto& owned : m_store.records(*m_taskEntity)) {
        auto* task = static_cast<Task*>(owned.get());
        const std::optional<qint64> dueMs = dueMSecs(*task);
        if (!dueMs || *dueMs > to || *dueMs + kLongestDayMs <= from)
            continue;
        const QDateTime moment = reminderMoment(*task, h);
        if (!moment.isValid() || moment <= m_lastCheck || moment > current)
            continue;
        const qint64 ms = moment.toMSecsSinceEpoch();
        auto [found, added] = m_reminded.try_emplace(task, ms);
        if (!added) {
            if (found->second == ms)
                continue;
            found->second = ms;
        }
        due.emplace_back(ms, task);
    }
    std::stable_sort(due.begin(), due.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<Task*> tasks;
    tasks.reserve(due.size());
    for (const auto& [ms, task] : due)
        tasks.push_back(task);
    return tasks;
}

void TaskReminderController::reschedule()
{
    if (m_started)
        scanForNext();
}

void TaskReminderController::postSummary(const std::vector<Task*>& tasks, const QString& title)
{
    constexpr int kNamesShown = 5;
    QStringList names;
    for (Task* task : tasks) {
        if (names.size() == kNamesShown) {
            names << QStringLiteral("…");
            break;
        }
        names << task->name();
    }
    // A click opens the first of them; the others are beside it in the due list.
    m_post({title, names.join(QLatin1Char('\n')), kReminderName, QString(), 0, false, tasks.front()->uri()});
}

void TaskReminderController::remember(const QDateTime& checked)
{
    m_lastCheck = checked;
    m_preferences.setString(PreferenceKey::lastReminderCheck, checked.toString(Qt::ISODateWithMs));
}

void TaskReminderController::scanForNext()
{
    m_next = {};
    const int h = hour();
    const qint64 from = m_lastCheck.toMSecsSinceEpoch();
    qint64 nearest = std::numeric_limits<qint64>::max();
    for (const auto& owned : m_store.records(*m_taskEntity)) {
        auto* task = static_cast<Task*>(owned.get());
        const std::optional<qint64> due = dueMSecs(*task);
        // A reminder never comes before its due time: a task due after the nearest moment found so far
        // cannot come nearer.
        if (!due || *due + kLongestDayMs <= from || *due >= nearest)
            continue;
        const QDateTime moment = reminderMoment(*task, h);
        if (moment.isValid() && moment > m_lastCheck && moment.toMSecsSinceEpoch() < nearest) {
            nearest = moment.toMSecsSinceEpoch();
            m_next = moment;
        }
    }
    arm();
}

void TaskReminderController::storeChanged(const ChangeBatch& batch)
{
    const QDateTime before = m_next;
    const QDateTime current = now();
    for (Record* record : batch.inserted)
        consider(record, current);
    for (Record* record : batch.updated)
        consider(record, current);
    // A task done, deleted or moved away from the nearest moment leaves the timer early; that firing
    // finds nothing and looks again.
    if (m_next != before)
        arm();
}

void TaskReminderController::consider(Record* record, const QDateTime& current)
{
    if (&record->entity() != m_taskEntity)
        return;
    auto* task = static_cast<Task*>(record);
    const QDateTime moment = reminderMoment(*task, hour());
    if (!moment.isValid() || moment <= m_lastCheck)
        return;
    if (moment <= current) {
        // Given a due time that has passed already: the user knows, the next check stays quiet.
        m_reminded[task] = moment.toMSecsSinceEpoch();
        return;
    }
    if (!m_next.isValid() || moment < m_next)
        m_next = moment;
}

void TaskReminderController::arm()
{
    if (!m_next.isValid()) {
        m_timer.stop();
        return;
    }
    const qint64 wait = std::clamp<qint64>(now().msecsTo(m_next), 0, kLongestWaitMs);
    m_timer.start(std::chrono::milliseconds(wait));
}
