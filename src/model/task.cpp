#include "model/task.h"

#include "model/archivecategory.h"
#include "model/context.h"
#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/project.h"
#include "store/objectcontext.h"

#include <QUrl>

namespace {
const QString kUrlSeparator = QStringLiteral("#$#");
}

Context* Task::parentContext() const
{
    return static_cast<Context*>(toOne(Rel::parentContext));
}

Project* Task::parentProject() const
{
    return static_cast<Project*>(toOne(Rel::parentProject));
}

ArchiveCategory* Task::parentArchiveCategory() const
{
    return static_cast<ArchiveCategory*>(toOne(Rel::parentArchiveCategory));
}

// Pending and next-action counters always; the due ones only while the task has a due date.
template <typename Folder>
static void resetFolderCounters(Folder* folder, bool withDue)
{
    if (folder)
        folder->resetTaskCounters(withDue);
}

void Task::resetParentCounters()
{
    const bool hasDue = dueDate().isValid();
    resetFolderCounters(parentContext(), hasDue);
    resetFolderCounters(parentProject(), hasDue);
}

void Task::postInboxNotificationIfInInbox()
{
    if (parentContext() && parentContext()->isInbox())
        ModelEnvironment::of(*this).postInboxCountHasChanged(this);
}

void Task::setName(const QString& value)
{
    QString name = value.isEmpty() ? QStringLiteral("New task") : value;
    if (ModelEnvironment::of(*this).boolPreference(u"autoCapitalizeTaskNames"))
        name[0] = name[0].toUpper();
    setPrimitiveValue(Attr::name, Value::string(name));
}

void Task::setParentContext(Context* context)
{
    const bool hasDue = dueDate().isValid();
    resetFolderCounters(parentContext(), hasDue);
    setToOne(Rel::parentContext, context);
    resetFolderCounters(context, hasDue);
}

void Task::setParentProject(Project* project)
{
    const bool hasDue = dueDate().isValid();
    resetFolderCounters(parentProject(), hasDue);
    setToOne(Rel::parentProject, project);
    resetFolderCounters(project, hasDue);
}

void Task::moveToContext(Context* context)
{
    if (context == parentContext())
        return;
    if (Context* old = parentContext())
        old->removeTasksObject(this);
    if (context)
        context->addTasksObject(this);
}

void Task::moveToProject(Project* project)
{
    if (project == parentProject())
        return;
    if (Project* old = parentProject())
        old->removeTasksObject(this);
    if (project)
        project->addTasksObject(this);
}

void Task::setParentArchiveCategory(ArchiveCategory* category)
{
    if (ArchiveCategory* old = parentArchiveCategory()) {
        old->resetCounterForPendingTasks();
        old->resetCounterForNextActionTasks();
    }
    setToOne(Rel::parentArchiveCategory, category);
    if (category) {
        category->resetCounterForPendingTasks();
        category->resetCounterForNextActionTasks();
    }
}

void Task::setDone(bool value)
{
    resetParentCounters();
    // Completing or re-opening a task always clears its next-action flag.
    setNextAction(false);
    if (value) {
        setCompletionDate(ModelEnvironment::of(*this).now());
    } else if (cleanedUp()) {
        // Counted while the task is still cleaned up, so it goes to the end of both orders. The
        // completion date is kept on purpose.
        if (Context* c = parentContext())
            setPositionInContext(c->uncompletedTasksCount() + 1);
        if (Project* p = parentProject())
            setPositionInProject(p->uncompletedTasksCount() + 1);
    }
    setCleanedUp(false);
    setPrimitiveValue(Attr::done, Value::boolean(value));
}

void Task::setCleanedUp(bool value)
{
    resetParentCounters();
    setPrimitiveValue(Attr::cleanedUp, Value::boolean(value));
    if (value) {
        if (Context* c = parentContext())
            c->calculateTaskPositions();
        if (Project* p = parentProject())
            p->calculateTaskPositions();
    }
    postInboxNotificationIfInInbox();
}

void Task::setArchived(bool value)
{
    setPrimitiveValue(Attr::archived, Value::boolean(value));
    if (Context* c = parentContext())
        c->calculateTaskPositions();
    if (Project* p = parentProject())
        p->calculateTaskPositions();
    resetParentCounters();
    postInboxNotificationIfInInbox();
}

void Task::setNextAction(bool value)
{
    setPrimitiveValue(Attr::nextAction, Value::boolean(value));
    if (Context* c = parentContext())
        c->resetCounterForNextActionTasks();
    if (Project* p = parentProject())
        p->resetCounterForNextActionTasks();
    if (ArchiveCategory* a = parentArchiveCategory())
        a->resetCounterForNextActionTasks();
}

void Task::setStartDate(const QDateTime& value)
{
    // The start stays strictly before the due date: a start at or after it is ignored, silently.
    if (value.isValid() && dueDate().isValid() && value >= dueDate())
        return;
    setPrimitiveValue(Attr::startDate, Value::date(value));
}

void Task::setDueDate(const QDateTime& value)
{
    if (value.isValid() && startDate().isValid() && value <= startDate())
        return;
    setPrimitiveValue(Attr::dueDate, Value::date(value));
    // Unconditionally here: the task may have just lost its due date.
    if (Context* c = parentContext()) {
        c->resetCounterForDueTodayTasks();
        c->resetCounterForDueTomorrowTasks();
    }
    if (Project* p = parentProject()) {
        p->resetCounterForDueTodayTasks();
        p->resetCounterForDueTomorrowTasks();
    }
}

void Task::applyRecurNumber(const Value& value)
{
    setPrimitiveValue(Attr::recurNumber, value);
    if (!startDate().isValid())
        setStartDate(DateAnchors::today(ModelEnvironment::of(*this).now()));
}

void Task::setRecurNumber(qint64 value)
{
    applyRecurNumber(Value::integer(value));
}

void Task::clearRecurNumber()
{
    applyRecurNumber(Value());
}

void Task::storeValueForKey(int attribute, const Value& value)
{
    switch (attribute) {
    case Attr::name: setName(value.toString()); break;
    case Attr::done: setDone(value.toBool()); break;
    case Attr::cleanedUp: setCleanedUp(value.toBool()); break;
    case Attr::archived: setArchived(value.toBool()); break;
    case Attr::nextAction: setNextAction(value.toBool()); break;
    case Attr::startDate: setStartDate(value.toDateTime()); break;
    case Attr::dueDate: setDueDate(value.toDateTime()); break;
    case Attr::recurNumber: applyRecurNumber(value); break;
    default: Record::storeValueForKey(attribute, value);
    }
}

void Task::storeRecordForKey(int relationship, Record* target)
{
    switch (relationship) {
    case Rel::parentContext: setParentContext(static_cast<Context*>(target)); break;
    case Rel::parentProject: setParentProject(static_cast<Project*>(target)); break;
    case Rel::parentArchiveCategory: setParentArchiveCategory(static_cast<ArchiveCategory*>(target)); break;
    default: Record::storeRecordForKey(relationship, target);
    }
}

bool Task::future() const
{
    return startDate().isValid() && startDate() > DateAnchors::today(ModelEnvironment::of(*this).now());
}

int Task::status() const
{
    if (maybe())
        return 4;
    if (waitingFor())
        return 2;
    if (delegated())
        return 3;
    if (future())
        return 1;
    if (parentProject() && positionInProject() == 1)
        return 5;
    return 0;
}

bool Task::isRecuringTask() const
{
    const Value& n = primitiveValue(Attr::recurNumber);
    return !n.isNull() && n.toInteger() >= 1;
}

QString Task::recurrenceString() const
{
    return isRecuringTask() ? QString::fromUtf8("\xE2\x99\xBA") : QString();
}

Colour Task::colorForRecurrenceString() const
{
    return isRecuringTask() ? Colour::recurrence() : Colour::black();
}

Colour Task::colourForTask() const
{
    if (done())
        return Colour::done();
    const QDateTime due = dueDate();
    if (due.isValid()) {
        const QDateTime now = ModelEnvironment::of(*this).now();
        if (due < DateAnchors::todayEnd(now))
            return Colour::dueToday();
        if (due >= DateAnchors::tomorrowStart(now) && due < DateAnchors::tomorrowEnd(now))
            return Colour::dueTomorrow();
    }
    return Colour::black();
}

static std::optional<QStringList> splitList(const Value& v)
{
    if (v.isNull())
        return std::nullopt;
    return v.toString().split(QLatin1Char(','));
}

std::optional<QStringList> Task::displayTags() const
{
    return splitList(primitiveValue(Attr::tags));
}

void Task::setDisplayTags(const QStringList& tags)
{
    setTags(tags.join(QLatin1Char(',')));
}

std::optional<QStringList> Task::displayContact() const
{
    return splitList(primitiveValue(Attr::contact));
}

void Task::setDisplayContact(const QStringList& contacts)
{
    setContact(contacts.join(QLatin1Char(',')));
}

QStringList Task::urlsFromUrl() const
{
    const Value& v = primitiveValue(Attr::url);
    return v.isNull() ? QStringList() : v.toString().split(kUrlSeparator);
}

QString Task::urlFromUrls(const QStringList& urls)
{
    return urls.join(kUrlSeparator);
}

std::optional<QStringList> Task::displayURL() const
{
    QStringList kept;
    for (const QString& text : urlsFromUrl()) {
        const QUrl url(text);
        if (url.isValid() && !url.isRelative())
            kept << url.toString(QUrl::FullyEncoded);
    }
    if (kept.isEmpty())
        return std::nullopt;
    return kept;
}

void Task::setDisplayURL(const QStringList& urls)
{
    if (urls.isEmpty())
        setPrimitiveValue(Attr::url, Value());
    else
        setUrl(urlFromUrls(urls));
}

void Task::describe(EntityDescription& entity)
{
    VYRO_TASK_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
    // A clean-up flags many tasks and closes up their contexts and projects, which renumbers most of
    // their tasks.
    entity.setAttributeStorage(Attr::cleanedUp, AttributeStorage::Packed);
    entity.setAttributeStorage(Attr::positionInContext, AttributeStorage::Packed);
    entity.setAttributeStorage(Attr::positionInProject, AttributeStorage::Packed);
    entity.setChangeHooks({&Task::attributeChanged, &Task::toOneChanged, &Task::deletedChanged, &Task::willDelete});
    entity.addRelationship({QStringLiteral("parentContext"), QStringLiteral("context"), false, QStringLiteral("tasks")});
    entity.addRelationship({QStringLiteral("parentProject"), QStringLiteral("project"), false, QStringLiteral("tasks")});
    entity.addRelationship({QStringLiteral("parentArchiveCategory"), QStringLiteral("archiveCategory"), false, QStringLiteral("tasks")});
    // The tables sort by it.
    entity.addDerivedKey({QStringLiteral("status"), [](const Record& r) { return Value::integer(static_cast<const Task&>(r).status()); }, {}});
}

bool Task::countsAsOpen(const Value& cleanedUp, const Value& archived)
{
    const bool cleaned = cleanedUp.isIntegral() && cleanedUp.integral() == 1;
    const bool unarchived = archived.isIntegral() && archived.integral() == 0;
    return !cleaned && unarchived;
}

// A task counts in its context's and project's open tasks while it is alive, linked to them and open.
void Task::adjustOpenCounts(qint64 delta) const
{
    if (Context* c = parentContext())
        c->adjustUncompletedTasksCount(delta);
    if (Project* p = parentProject())
        p->adjustUncompletedTasksCount(delta);
}

bool Task::isReversing(const Record& record)
{
    return record.managedObjectContext()->undoManager().isReversing();
}

void Task::resetAllFolderCounters(int relationship, Record* oldFolder) const
{
    // Every counter of the folders: the setters' own resets are not known here, and a fresh count is
    // never wrong.
    auto context = [](Context* c) {
        if (!c)
            return;
        c->resetTaskCounters(true);
        if (c->isInbox())
            ModelEnvironment::of(*c).postInboxCountHasChanged(c);
    };
    auto project = [](Project* p) {
        if (p)
            p->resetTaskCounters(true);
    };
    auto category = [](ArchiveCategory* a) {
        if (a) {
            a->resetCounterForPendingTasks();
            a->resetCounterForNextActionTasks();
        }
    };
    context(parentContext());
    project(parentProject());
    category(parentArchiveCategory());
    if (relationship == Rel::parentContext)
        context(static_cast<Context*>(oldFolder));
    else if (relationship == Rel::parentProject)
        project(static_cast<Project*>(oldFolder));
    else if (relationship == Rel::parentArchiveCategory)
        category(static_cast<ArchiveCategory*>(oldFolder));
}

void Task::attributeChanged(Record& record, int attribute, const Value& oldValue)
{
    if (isReversing(record))
        static_cast<const Task&>(record).resetAllFolderCounters();
    if ((attribute != Attr::cleanedUp && attribute != Attr::archived) || record.isDeleted())
        return;
    const auto& task = static_cast<const Task&>(record);
    const Value& cleanedUp = task.primitiveValue(Attr::cleanedUp);
    const Value& archived = task.primitiveValue(Attr::archived);
    const bool was = attribute == Attr::cleanedUp ? countsAsOpen(oldValue, archived) : countsAsOpen(cleanedUp, oldValue);
    const bool is = countsAsOpen(cleanedUp, archived);
    if (was != is)
        task.adjustOpenCounts(is ? 1 : -1);
}

void Task::toOneChanged(Record& record, int relationship, Record* oldTarget, Record* newTarget)
{
    const auto& task = static_cast<const Task&>(record);
    if (isReversing(record))
        task.resetAllFolderCounters(relationship, oldTarget);
    if ((relationship != Rel::parentContext && relationship != Rel::parentProject) || record.isDeleted()
        || !countsAsOpen(task.primitiveValue(Attr::cleanedUp), task.primitiveValue(Attr::archived)))
        return;
    auto adjust = [relationship](Record* folder, qint64 delta) {
        if (!folder)
            return;
        if (relationship == Rel::parentContext)
            static_cast<Context*>(folder)->adjustUncompletedTasksCount(delta);
        else
            static_cast<Project*>(folder)->adjustUncompletedTasksCount(delta);
    };
    adjust(oldTarget, -1);
    adjust(newTarget, 1);
}

void Task::willDelete(Record& record)
{
    // Leaves its folders as the setters would, so their orders close up and their counters are reset.
    auto& task = static_cast<Task&>(record);
    if (Context* c = task.parentContext(); c && !c->isDeleted())
        c->removeTasksObject(&task);
    if (Project* p = task.parentProject(); p && !p->isDeleted())
        p->removeTasksObject(&task);
    if (ArchiveCategory* a = task.parentArchiveCategory(); a && !a->isDeleted())
        task.setParentArchiveCategory(nullptr);
}

void Task::deletedChanged(Record& record, bool deleted)
{
    const auto& task = static_cast<const Task&>(record);
    if (isReversing(record))
        task.resetAllFolderCounters();
    if (countsAsOpen(task.primitiveValue(Attr::cleanedUp), task.primitiveValue(Attr::archived)))
        task.adjustOpenCounts(deleted ? -1 : 1);
}
