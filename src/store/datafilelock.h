#pragma once

#include "store/status.h"

#include <QLockFile>
#include <QString>

#include <memory>

// A hold on a data file: a lock file beside it ("<data file>.lock") that only one process can own. A
// lock left by a process that died is taken over.
class DataFileLock {
public:
    static Result<std::unique_ptr<DataFileLock>> acquire(const QString& dataFilePath);
    ~DataFileLock();

    const QString& dataFilePath() const { return m_dataFilePath; }

private:
    DataFileLock(const QString& dataFilePath, std::unique_ptr<QLockFile> lock);
    QString m_dataFilePath;
    std::unique_ptr<QLockFile> m_lock;
};
