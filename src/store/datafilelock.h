#pragma once

#include "store/status.h"

#include <QString>

#include <memory>

// A hold on a data file for as long as the object lives: an exclusive lock of the operating system
// (flock) on the lock file beside it, "<data file>.lock". The kernel lets go of it when the process
// ends, however it ends, so a lock file left behind by a crash, or one that is empty or garbled, never
// keeps anyone out. The file's content (the holder's pid and host) serves only to name the holder in
// the message that another process gets. The lock is per open file, so a second hold on the same data
// file is refused within one process too.
//
// The lock file is created readable and writable by the owner only, and is left in place when the hold
// ends (emptied): removing it would let two processes lock two different files of the same name.
//
// Not thread-safe: a lock belongs to the thread that holds the store (see ObjectContext).
class DataFileLock {
public:
    // Busy, naming the holder when its lock file says who it is, when another hold exists.
    static Result<std::unique_ptr<DataFileLock>> acquire(const QString& dataFilePath);
    // Whether another open file holds the data file now; false when there is no lock file. Cheap: it
    // opens no data and creates nothing. Only a hint: the holder may let go, or another may take hold,
    // right after the answer.
    static bool isHeldElsewhere(const QString& dataFilePath);
    ~DataFileLock();
    DataFileLock(const DataFileLock&) = delete;
    DataFileLock& operator=(const DataFileLock&) = delete;

    const QString& dataFilePath() const { return m_dataFilePath; }
    static QString lockFilePath(const QString& dataFilePath);

private:
    DataFileLock(const QString& dataFilePath, int fd);
    QString m_dataFilePath;
    int m_fd;
};
