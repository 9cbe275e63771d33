#pragma once

#include "support/storefixture.h"

#include "model/dateanchors.h"
#include "model/modelenvironment.h"

#include <QVariantMap>

// A store with a fixed clock (Sunday 22 November 2026, 10:30 local time) and preferences of the test's
// choosing; records go through the model's setters.
class ModelFixture : public StoreFixture {
protected:
    void SetUp() override
    {
        m_now = QDateTime(QDate(2026, 11, 22), QTime(10, 30));
        readPreferences([this](QStringView key) { return preferences.value(key.toString()); });
        StoreFixture::SetUp();
    }

    void configureContext(ObjectContext& context) override
    {
        ModelEnvironment& environment = ModelEnvironment::of(context);
        environment.setClock([this] { return m_now; });
        environment.setPreferenceReader([this](QStringView key) { return m_preferenceReader(key); });
    }

    void setNow(const QDateTime& now) { m_now = now; }
    const QDateTime& now() const { return m_now; }
    // Where the model reads its preferences from, in this and every later context of the test.
    void readPreferences(std::function<QVariant(QStringView)> reader) { m_preferenceReader = std::move(reader); }
    ModelEnvironment& environment() { return ModelEnvironment::of(*context); }

    static QDateTime day(int d, int hour = 9, int minute = 0, int month = 11) { return QDateTime(QDate(2026, month, d), QTime(hour, minute)); }

    // A task appended to a context (and project) as the task lists make one: flags false, not absent.
    Task* addTask(const QString& name, Context* in, Project* project = nullptr)
    {
        auto* t = context->insertNewObject<Task>(QStringLiteral("task"));
        t->setName(name);
        t->setArchived(false);
        t->setCleanedUp(false);
        t->setPrimitiveValue(Task::Attr::done, Value::boolean(false));
        t->setNextAction(false);
        t->setMaybe(false);
        t->setWaitingFor(false);
        t->setDelegated(false);
        in->addTasksObject(t);
        if (project)
            project->addTasksObject(t);
        return t;
    }

    QVariantMap preferences;

private:
    QDateTime m_now;
    std::function<QVariant(QStringView)> m_preferenceReader;
};

inline QList<qint64> positionsInContext(const std::vector<Task*>& tasks)
{
    QList<qint64> out;
    for (Task* t : tasks)
        out << t->positionInContext();
    return out;
}
