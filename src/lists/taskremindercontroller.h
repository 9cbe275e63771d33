#pragma once

#include <QDateTime>
#include <QObject>
#include <QTimer>

#include <functional>
#include <unordered_map>
#include <vector>

class EntityDescription;
class ObjectContext;
class Preferences;
class Record;
class Task;
struct ChangeBatch;
struct DesktopNotification;

// Reminds of open tasks (neither done nor archived) when their due moment arrives, whether the window
// is shown or not. A due date with a time of day is due at that moment; a due date without one (stored
// as the start of its day) is due at the hour of "reminderHourForDueDates" on that day.
//
// A reminder is given once per task and due moment: the moments that fall in the span since the last
// check ("lastReminderCheck", kept in the preferences across runs) are the ones reminded of. So a due date
// moved later reminds again when the new moment comes, and one set or moved into the past does not (nor
// does a task changed while its moment has passed unchecked, as after a suspended machine). At start the
// moments that fell while the program was not running give one summary; the first run ever reminds of
// nothing it finds already due.
//
// One timer waits for the nearest moment. It is found by one pass over the tasks at start and after each
// firing; a change batch only looks at the tasks it touched, so a large store costs nothing per edit.
class TaskReminderController : public QObject {
    Q_OBJECT
public:
    using Post = std::function<void(const DesktopNotification&)>;
    TaskReminderController(ObjectContext& store, Preferences& preferences, Post post, QObject* parent = nullptr);
    ~TaskReminderController() override;

    // Catches up with what fell due since the last run, then waits for the next moment.
    void start();
    // Gives the reminders due by now and waits for the next moment; the timer calls it.
    void check();
    // The reminder hour changed: every date-only moment moves.
    void reschedule();

    // When `task` is to be reminded of, with date-only due dates at `hour`; invalid for a task that
    // reminds of nothing (no due date, done, archived, deleted).
    static QDateTime reminderMoment(const Task& task, int hour);
    // The moment the timer waits for; invalid when nothing is ahead.
    QDateTime nextMoment() const { return m_next; }
    // More reminders than this at one check come as one summary.
    static constexpr int kSeparateReminders = 3;

private:
    QDateTime now() const;
    int hour() const;
    // The open tasks whose moments lie after the last check and not after `current`, leaving out those
    // already reminded of at that moment, in the order of their moments; marked as reminded of.
    std::vector<Task*> takeDue(const QDateTime& current);
    void scanForNext();
    void storeChanged(const ChangeBatch& batch);
    void consider(Record* record, const QDateTime& current);
    void arm();
    void remember(const QDateTime& checked);
    void postSummary(const std::vector<Task*>& tasks, const QString& title);

    ObjectContext& m_store;
    Preferences& m_preferences;
    Post m_post;
    const EntityDescription* m_taskEntity = nullptr;
    QTimer m_timer;
    QDateTime m_lastCheck;
    QDateTime m_next;
    // The moment each task was last reminded of, so a check that sees the same span twice (a clock set
    // back) does not repeat itself.
    std::unordered_map<const Task*, qint64> m_reminded;
    bool m_started = false;
};
