#pragma once

#include <QDialog>
#include <QTimer>

class CloudDiskTransferCancel;
class QPushButton;

// The window shown while the data file comes from or goes to the cloud disk at start-up or quit: a
// line of text, a busy bar and Cancel, which stops the transfer through `canceller`. It appears only
// once the transfer has lasted `showDelayMs`, so a quick one shows nothing. Closing it (Escape, the
// title bar) cancels too.
class CloudTransferPanel : public QDialog
{
    Q_OBJECT
public:
    static constexpr int showDelayMs = 300;

    CloudTransferPanel(bool upload, CloudDiskTransferCancel& canceller, QWidget* parent = nullptr);

    // Starts the wait after which the panel shows.
    void start();
    // The transfer ended: the panel goes (or never comes).
    void finish();

    void reject() override;

private:
    CloudDiskTransferCancel& m_canceller;
    QPushButton* m_cancel;
    QTimer m_delay;
    bool m_finished = false;
};
