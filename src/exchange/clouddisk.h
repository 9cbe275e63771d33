#pragma once

#include <QDateTime>
#include <QLatin1StringView>
#include <QString>

#include <functional>
#include <memory>

// The one remote copy of the data file, wherever it is kept. Every operation answers through its
// callback, later, from the caller's event loop.
class CloudDisk
{
public:
    // Cancelled: the caller called cancel(); nothing went wrong that anyone needs to be told of.
    enum class Failure { None, BadLogin, NoAccess, NoService, Transfer, Cancelled };
    struct Answer {
        Failure failure = Failure::None;
        QString detail; // for the log
        bool isOk() const { return failure == Failure::None; }
    };
    struct RemoteFile {
        bool exists = false;
        QDateTime lastModified;
    };

    virtual ~CloudDisk() = default;

    // Whether the disk can be reached with these credentials at all.
    virtual void check(std::function<void(const Answer&)> done) = 0;
    virtual void remoteFile(std::function<void(const Answer&, const RemoteFile&)> done) = 0;
    // The remote file into `localFile` (created or replaced). A failure may leave `localFile` partly
    // written; it is the caller's scratch file.
    virtual void download(const QString& localFile, std::function<void(const Answer&)> done) = 0;
    // `localFile` in place of the remote file. It goes to a scratch name beside the remote file and
    // replaces it in one step, so a failed upload leaves the remote file as it was.
    virtual void upload(const QString& localFile, std::function<void(const Answer&)> done) = 0;
    // Where the remote file is, for the log.
    virtual QString location() const = 0;
    // Stops what is running: its callback (and that of every later call) answers Cancelled, from the
    // event loop. The remote file stays as it was, as after any failed upload.
    virtual void cancel() = 0;
};

// The remote folder and file, relative to the disk's root.
inline constexpr QLatin1StringView cloudDiskFolderPath{"/Library/Application Support/Vyro"};
inline constexpr QLatin1StringView cloudDiskFilePath{"/Library/Application Support/Vyro/Vyro.sql"};
