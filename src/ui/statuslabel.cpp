#include "ui/statuslabel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>

StatusLabelController::StatusLabelController(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("statusLabel"));
    m_indicator = new QProgressBar(this);
    m_indicator->setObjectName(QStringLiteral("statusBusyIndicator"));
    m_indicator->setAccessibleName(QStringLiteral("Busy"));
    m_indicator->setRange(0, 0);
    m_indicator->setTextVisible(false);
    m_indicator->setFixedSize(40, 8);
    m_indicator->hide();
    m_label = new QLabel(this);
    m_label->setObjectName(QStringLiteral("statusText"));
    m_label->setAccessibleName(QStringLiteral("Status"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 0, 6, 0);
    layout->setSpacing(6);
    layout->addWidget(m_indicator);
    layout->addWidget(m_label);
}

void StatusLabelController::startAnimation()
{
    m_indicator->show();
}

void StatusLabelController::stopAnimation()
{
    m_indicator->hide();
}

bool StatusLabelController::isAnimating() const
{
    return !m_indicator->isHidden();
}

void StatusLabelController::updateStatusTo(const QString& text)
{
    m_label->setText(text);
}

QString StatusLabelController::text() const
{
    return m_label->text();
}
