#include "ui/calendarsyncrunner.h"

#include "app/coredataappdelegate.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/synccontroller.h"
#include "ui/desktopapplication.h"
#include "ui/mainwindow.h"
#include "ui/mainwindowcontroller.h"
#include "ui/statuslabel.h"

#include <QEventLoop>
#include <QMessageBox>
#include <QPushButton>

CalendarSyncRunner::CalendarSyncRunner(DesktopApplication& application, QObject* parent)
    : QObject(parent), m_application(application),
      m_controller(new SyncController(application.appDelegate().managedObjectContext(), application.preferences(),
                                       application.appDelegate().currentDataFilePath(), this))
{
    const auto status = [this]() -> StatusLabelController* {
        MainWindowController* window = m_application.mainWindowController();
        return window ? &window->statusLabel() : nullptr;
    };
    connect(m_controller, &SyncController::busyChanged, this, [status](bool busy) {
        if (StatusLabelController* label = status())
            busy ? label->startAnimation() : label->stopAnimation();
    });
    connect(m_controller, &SyncController::statusLineChanged, this, [status](const QString& line) {
        if (StatusLabelController* label = status())
            label->updateStatusTo(line);
    });
    connect(m_controller, &SyncController::finished, this,
            [this](SyncController::Outcome, const QString& message) { finished(message); });
    connect(m_controller, &SyncController::afterSyncFinished, this, [this] { m_afterSyncRunning = false; });
}

CalendarSyncRunner::~CalendarSyncRunner() = default;

void CalendarSyncRunner::sync()
{
    m_controller->doSync();
}

void CalendarSyncRunner::afterSync()
{
    if (m_application.preferences().boolForKey(PreferenceKey::iSyncWhenSyncing))
        return;
    if (m_controller->isRunning()) {
        m_afterSyncPending = true;
        return;
    }
    m_afterSyncRunning = true;
    m_controller->doiSync();
}

void CalendarSyncRunner::finished(const QString& message)
{
    if (m_afterSyncPending || m_application.preferences().boolForKey(PreferenceKey::iSyncWhenSyncing))
        m_afterSyncRunning = true;
    if (m_afterSyncPending) {
        m_afterSyncPending = false;
        m_controller->doiSync();
    }
    if (message.isEmpty())
        return;
    if (m_report) {
        m_report(QString(SyncText::title), message);
        return;
    }
    MainWindowController* window = m_application.mainWindowController();
    auto* box = new QMessageBox(QMessageBox::Warning, QString(SyncText::title), message, QMessageBox::Ok,
                                window ? &window->window() : nullptr);
    box->setObjectName(QStringLiteral("syncStatusAlert"));
    box->setAccessibleName(QString(SyncText::title));
    box->button(QMessageBox::Ok)->setText(QString(SyncText::button));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    box->open();
}

void CalendarSyncRunner::waitUntilIdle()
{
    QEventLoop loop;
    const auto idle = [this] { return !m_controller->isRunning() && !m_afterSyncPending && !m_afterSyncRunning; };
    const auto check = [&] {
        if (idle())
            loop.quit();
    };
    connect(m_controller, &SyncController::finished, &loop, check, Qt::QueuedConnection);
    connect(m_controller, &SyncController::afterSyncFinished, &loop, check, Qt::QueuedConnection);
    if (!idle())
        loop.exec();
}

QString CalendarSyncRunner::forget()
{
    return m_controller->unregisterSyncClient();
}
