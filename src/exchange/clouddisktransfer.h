#pragma once

#include "exchange/clouddiskaccount.h"
#include "exchange/dotmacsynccontroller.h"

// One whole transfer for the desktop program's start-up or quit: opens the account's disk (reading
// its password) and runs the controller in a local event loop until it ends. The caller's windows
// keep painting meanwhile; nothing else of the program runs, as at start-up and quit nothing should.
// A disk that cannot be opened (no account, no password) is reported through `report` too.
DotMacSyncController::Outcome runCloudDiskTransfer(bool upload, const QString& dataFilePath, Preferences& preferences,
                                                   const CloudDiskAccount& account,
                                                   const DotMacSyncController::Report& report);
