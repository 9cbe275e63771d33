#pragma once

#include "model/archivecategory.h"
#include "model/context.h"
#include "model/datamodel.h"
#include "model/project.h"
#include "model/smartfolder.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

inline std::ostream& operator<<(std::ostream& os, const Status& s)
{
    return os << s.toString().toStdString();
}

inline std::ostream& operator<<(std::ostream& os, const QString& s)
{
    return os << s.toStdString();
}

// A context over a real data file in a fresh temporary folder, reopened on demand.
class StoreFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        reopen();
    }

    QString dataFilePath() const { return m_dir.filePath(QStringLiteral("Vyro.sql")); }
    QString path(const QString& name) const { return m_dir.filePath(name); }

    // Drops the context (unsaved changes are lost) and loads the file again.
    void reopen()
    {
        context.reset();
        context = std::make_unique<ObjectContext>(managedObjectModel());
        configureContext(*context);
        const Status s = context->addSqliteStore(dataFilePath());
        ASSERT_TRUE(s.isOk()) << s;
    }

    // Called for every new context, before its file is opened.
    virtual void configureContext(ObjectContext&) {}

    void save()
    {
        const Status s = context->save();
        ASSERT_TRUE(s.isOk()) << s;
    }

    Context* newContext(const QString& name, Context* parent = nullptr)
    {
        auto* c = context->insertNewObject<Context>(QStringLiteral("context"));
        c->setName(name);
        c->setParentContext(parent);
        return c;
    }
    Project* newProject(const QString& name, Project* parent = nullptr, bool active = true)
    {
        auto* p = context->insertNewObject<Project>(QStringLiteral("project"));
        p->setName(name);
        p->setActive(active);
        p->setParentProject(parent);
        return p;
    }
    Task* newTask(const QString& name, Context* in = nullptr, Project* project = nullptr)
    {
        auto* t = context->insertNewObject<Task>(QStringLiteral("task"));
        t->setName(name);
        t->setParentContext(in);
        t->setParentProject(project);
        return t;
    }

    template <typename T = Record>
    std::vector<T*> fetch(const QString& entity, const QString& format, const QList<PredicateArgument>& args = {})
    {
        auto predicate = Predicate::parse(format, args);
        EXPECT_TRUE(predicate.isOk()) << predicate.status();
        if (!predicate)
            return {};
        auto result = context->executeFetchRequest(FetchRequest(entity, *predicate));
        EXPECT_TRUE(result.isOk()) << result.status();
        std::vector<T*> out;
        if (result)
            for (Record* r : *result)
                out.push_back(static_cast<T*>(r));
        return out;
    }

    QTemporaryDir m_dir;
    std::unique_ptr<ObjectContext> context;
};

// Names of records, sorted, for comparisons that do not care about order.
template <typename Container>
QStringList namesOf(const Container& records)
{
    QStringList names;
    for (auto* r : records)
        names << r->valueForKey(u"name").toString();
    names.sort();
    return names;
}
