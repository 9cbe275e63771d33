#include "ui/cloudtransferpanel.h"

#include "exchange/clouddisktransfer.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

CloudTransferPanel::CloudTransferPanel(bool upload, CloudDiskTransferCancel& canceller, QWidget* parent)
    : QDialog(parent), m_canceller(canceller)
{
    setObjectName(QStringLiteral("cloudTransferPanel"));
    setWindowTitle(QStringLiteral("Vyro"));
    setAccessibleName(QStringLiteral("Cloud disk transfer"));
    // At quit the main window is still up, its last changes saved: while the panel shows, they must
    // not go on. Shown with show(), never exec(): the caller's loop runs the transfer.
    setWindowModality(Qt::ApplicationModal);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);

    auto* text = new QLabel(upload ? QStringLiteral("Uploading the data file to the cloud disk…")
                                   : QStringLiteral("Downloading the data file from the cloud disk…"),
                            this);
    text->setObjectName(QStringLiteral("cloudTransferText"));
    text->setAccessibleName(text->text());

    auto* bar = new QProgressBar(this);
    bar->setObjectName(QStringLiteral("cloudTransferProgress"));
    bar->setAccessibleName(QStringLiteral("Transfer in progress"));
    // The disk tells no sizes: the bar only shows that something is going on.
    bar->setRange(0, 0);
    bar->setTextVisible(false);

    auto* buttons = new QDialogButtonBox(this);
    buttons->setObjectName(QStringLiteral("cloudTransferButtons"));
    buttons->setAccessibleName(QStringLiteral("Transfer buttons"));
    m_cancel = buttons->addButton(QDialogButtonBox::Cancel);
    m_cancel->setObjectName(QStringLiteral("cloudTransferCancel"));
    m_cancel->setAccessibleName(QStringLiteral("Cancel the transfer"));
    connect(m_cancel, &QPushButton::clicked, this, &CloudTransferPanel::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addWidget(bar);
    layout->addWidget(buttons);
    setMinimumWidth(360);

    m_delay.setSingleShot(true);
    m_delay.setInterval(showDelayMs);
    connect(&m_delay, &QTimer::timeout, this, [this] {
        if (!m_finished)
            show();
    });
}

void CloudTransferPanel::start()
{
    m_delay.start();
}

void CloudTransferPanel::finish()
{
    m_finished = true;
    m_delay.stop();
    hide();
}

void CloudTransferPanel::reject()
{
    if (!m_finished)
        m_canceller.cancel();
    // The panel stays, Cancel greyed, until the transfer has wound down.
    m_cancel->setEnabled(false);
}
