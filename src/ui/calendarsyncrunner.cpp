#include "ui/calendarsyncrunner.h"

#include "app/coredataappdelegate.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/synccontroller.h"
#include "lists/tabviewcontroller.h"
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
    // The sync ends before the after-sync command it runs starts, and a failure before the sync got
    // going reports "not busy" without a "busy" first: the indicator follows what still runs.
    connect(m_controller, &SyncController::busyChanged, this, [this, status](bool busy) {
        StatusLabelController* label = status();
        if (!label)
            return;
        if (busy || m_controller->isRunning() || m_controller->isAfterSyncRunning())
            label->startAnimation();
        else
            label->stopAnimation();
    });
    connect(m_controller, &SyncController::statusLineChanged, this, [status](const QString& line) {
        if (StatusLabelController* label = status())
            label->updateStatusTo(line);
    });
    connect(m_controller, &SyncController::finished, this,
            [this](SyncController::Outcome, const QString& message) { finished(message); });
}

CalendarSyncRunner::~CalendarSyncRunner() = default;

void CalendarSyncRunner::sync()
{
    // At once, for the press: the controller reports busy only once it has the password, and
    // stops the indicator again when it ends or refuses to start.
    if (MainWindowController* window = m_application.mainWindowController())
        window->statusLabel().startAnimation();
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
    m_controller->doiSync();
}

void CalendarSyncRunner::finished(const QString& message)
{
    // What the sync merged (kept also when it failed later) shows in the folder trees and lists now,
    // not at the user's next click.
    if (MainWindowController* window = m_application.mainWindowController())
        window->views().performRefetchAction();
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
    // Syncs in the background fail again and again while the server is away: one alert, with the
    // latest message, instead of a pile of them.
    if (m_alert) {
        m_alert->setText(message);
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
    m_alert = box;
    box->open();
}

void CalendarSyncRunner::waitUntilIdle()
{
    QEventLoop loop;
    // Checked from the queue: by then a sync that ends has started its own after-sync command.
    const auto idle = [this] {
        return !m_controller->isRunning() && !m_afterSyncPending && !m_controller->isAfterSyncRunning();
    };
    const auto check = [&] {
        if (idle())
            loop.quit();
    };
    connect(m_controller, &SyncController::finished, &loop, check, Qt::QueuedConnection);
    connect(m_controller, &SyncController::afterSyncFinished, &loop, check, Qt::QueuedConnection);
    if (!idle())
        loop.exec();
    // The program is about to close: what the sync had to say is read before the window goes.
    if (m_alert && m_alert->isVisible()) {
        QEventLoop read;
        connect(m_alert, &QMessageBox::finished, &read, &QEventLoop::quit);
        read.exec();
    }
}

QString CalendarSyncRunner::forget()
{
    // A sync that runs would save the state it read at its start again when it ends.
    waitUntilIdle();
    return m_controller->unregisterSyncClient();
}
