#pragma once

#include "model/datamodel.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <gtest/gtest.h>

// Data files as another machine would leave them, for tests of copying them around.

// A data file holding one task named `taskName`.
inline void writeDataFile(const QString& path, const QString& taskName)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    ObjectContext store(managedObjectModel());
    ASSERT_TRUE(store.addSqliteStore(path).isOk());
    store.insertNewObject<Task>(QStringLiteral("task"))->setName(taskName);
    ASSERT_TRUE(store.save().isOk());
}

// The names of the tasks in the data file at `path`; "<not a data file>" when it cannot be opened.
inline QStringList taskNamesIn(const QString& path)
{
    ObjectContext store(managedObjectModel());
    if (!store.addSqliteStore(path).isOk())
        return {QStringLiteral("<not a data file>")};
    QStringList names;
    for (Record* r : store.allObjects(QStringLiteral("task")))
        names << static_cast<Task*>(r)->name();
    return names;
}
