#pragma once

#include "exchange/clouddiskaccount.h"
#include "exchange/dotmacsynccontroller.h"

#include <functional>

class CloudDiskTransferCancel;

// One whole transfer for the desktop program's start-up or quit: opens the account's disk (reading
// its password) and runs the controller in a local event loop until it ends. The caller's windows
// keep painting meanwhile; nothing else of the program runs, as at start-up and quit nothing should.
// A disk that cannot be opened (no account, no password) is reported through `report` too; a
// cancelled transfer is not reported, only logged.
DotMacSyncController::Outcome runCloudDiskTransfer(bool upload, const QString& dataFilePath, Preferences& preferences,
                                                   const CloudDiskAccount& account,
                                                   const DotMacSyncController::Report& report,
                                                   CloudDiskTransferCancel* canceller = nullptr);

// Lets the caller of runCloudDiskTransfer stop it while it runs (a progress panel's Cancel). A cancel
// before the disk was opened (the password is still being read) stops the transfer before it begins;
// one after it ended does nothing.
class CloudDiskTransferCancel
{
public:
    void cancel();
    bool isCancelled() const { return m_cancelled; }

private:
    friend DotMacSyncController::Outcome runCloudDiskTransfer(bool, const QString&, Preferences&, const CloudDiskAccount&,
                                                              const DotMacSyncController::Report&,
                                                              CloudDiskTransferCancel*);
    bool m_cancelled = false;
    std::function<void()> m_stop; // set while the controller runs
};
