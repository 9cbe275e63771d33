#pragma once

#include "app/newversionchecker.h"

#include <QObject>

#include <functional>

class Dialogs;
class Preferences;
class QWidget;

// The version check's alerts on the main window: the question about a new release (whose answer is
// remembered and may open the download) and, for the menu command, "No newer release available.".
// The check itself runs in the background; the alert comes when it ends.
class VersionCheckAlerts : public QObject {
    Q_OBJECT
public:
    // `window` is where the alerts show; `openUrl` opens the download (the desktop's browser by default).
    VersionCheckAlerts(Preferences& preferences, Dialogs& dialogs, QWidget* window,
                       std::function<void(const QString&)> openUrl = {}, QObject* parent = nullptr);

    // The Help menu's command.
    void checkForNewVersion() { m_checker.check(NewVersionChecker::Mode::Menu); }
    // The quiet check of the start.
    void checkQuietly() { m_checker.check(NewVersionChecker::Mode::Quiet); }
    NewVersionChecker& checker() { return m_checker; }

Q_SIGNALS:
    // After the alert, if any, was answered (for tests).
    void done();

private:
    void show(const VersionCheckResult& result);

    NewVersionChecker m_checker;
    Dialogs& m_dialogs;
    QWidget* m_window;
    std::function<void(const QString&)> m_openUrl;
};
