#pragma once

#include "exchange/clouddisk.h"

#include <QLatin1StringView>
#include <QString>

#include <functional>
#include <memory>

class Preferences;

// Texts of the cloud-disk copy: the alert's title and button, and every message it shows.
namespace CloudDiskText {
inline constexpr QLatin1StringView title{"Vyro cloud disk connection"};
inline constexpr QLatin1StringView button{"OK"};
inline constexpr QLatin1StringView badLogin{"Authorization failed for your cloud disk username and password."};
inline constexpr QLatin1StringView accessError{"Synchronization failed - cloud disk access error. Please restart Vyro to try again."};
inline constexpr QLatin1StringView notEnabled{"Synchronization failed - cloud disk service is not enabled. Please restart Vyro to try again."};
inline constexpr QLatin1StringView downloadError{"Synchronization failed - download error. Please restart Vyro to try again."};
inline constexpr QLatin1StringView uploadError{"Synchronization failed - upload error. Please restart Vyro to try again."};
} // namespace CloudDiskText

// Keeps one copy of the data file on the cloud disk: at start-up, before the store opens, a newer
// remote copy replaces the local file; at quit, after the store is closed, the local file replaces the
// remote copy. Whole files, nothing merged.
//
// While "dotMacWaitingForFirstSync" is true the download takes the remote copy whatever the dates say
// (and clears the flag when it succeeded); the caller does not upload meanwhile.
//
// The data file is only ever replaced by rename, after the downloaded copy was checked to be a data
// file and the cloud-disk backup was taken; a failed download leaves it as it was. Each failure is
// reported once through `Report` and the program goes on with the local file.
class DotMacSyncController
{
public:
    // Cancelled: stopped by cancel(), nothing reported; both copies are as a failure leaves them.
    enum class Outcome { Transferred, NothingToDo, Failed, Cancelled };
    using Report = std::function<void(const QString& title, const QString& message)>;
    using Done = std::function<void(Outcome)>;

    DotMacSyncController(QString dataFilePath, Preferences& preferences, std::unique_ptr<CloudDisk> disk,
                         Report report);
    ~DotMacSyncController();

    // Asynchronous: `done` is called once, from the event loop, when the transfer has ended.
    void downloadDataFromDotMac(Done done);
    void uploadDataToDotMac(Done done);
    // Stops the running transfer: its `done` gets Cancelled, from the event loop, unless the data file
    // was already replaced or the upload already in place (then it is told as it happened).
    void cancel();

private:
    // True, with `done` called, when the transfer was cancelled (by this object or the disk).
    bool stopped(const CloudDisk::Answer& answer, const Done& done);
    void begin(bool upload, std::function<void()> next, Done done);
    void fail(const QString& message, Done done);
    void replaceDataFile(const QString& downloaded, const QDateTime& remoteDate, Done done);

    QString m_dataFilePath;
    Preferences& m_preferences;
    std::unique_ptr<CloudDisk> m_disk;
    Report m_report;
    bool m_cancelled = false;
};
