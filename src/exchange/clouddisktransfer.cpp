#include "exchange/clouddisktransfer.h"

#include "store/log.h"

#include <QEventLoop>

void CloudDiskTransferCancel::cancel()
{
    if (m_cancelled)
        return;
    m_cancelled = true;
    if (m_stop)
        m_stop();
}

DotMacSyncController::Outcome runCloudDiskTransfer(bool upload, const QString& dataFilePath, Preferences& preferences,
                                                   const CloudDiskAccount& account,
                                                   const DotMacSyncController::Report& report,
                                                   CloudDiskTransferCancel* canceller)
{
    using Outcome = DotMacSyncController::Outcome;
    QEventLoop loop;
    std::optional<Outcome> outcome;
    std::unique_ptr<DotMacSyncController> controller;
    auto finish = [&](Outcome o) {
        outcome = o;
        loop.quit();
    };
    openCloudDisk(account, [&](Result<std::unique_ptr<CloudDisk>> disk) {
        if (canceller && canceller->isCancelled()) {
            logLine(QStringLiteral("Cloud disk transfer cancelled by the user before it began."));
            finish(Outcome::Cancelled);
            return;
        }
        if (!disk) {
            logLine(QStringLiteral("Cloud disk not opened: ") + disk.status().message());
            if (report)
                report(QString(CloudDiskText::title), disk.status().message());
            finish(Outcome::Failed);
            return;
        }
        controller = std::make_unique<DotMacSyncController>(dataFilePath, preferences, std::move(*disk), report);
        if (canceller)
            canceller->m_stop = [&controller] { controller->cancel(); };
        if (upload)
            controller->uploadDataToDotMac(finish);
        else
            controller->downloadDataFromDotMac(finish);
    });
    if (!outcome)
        loop.exec();
    if (canceller)
        canceller->m_stop = nullptr;
    return *outcome;
}
