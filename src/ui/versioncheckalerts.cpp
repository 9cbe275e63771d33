#include "ui/versioncheckalerts.h"

#include "app/coredataappdelegate.h"
#include "app/weblinks.h"
#include "ui/dialogs.h"

#include <QDesktopServices>
#include <QUrl>

VersionCheckAlerts::VersionCheckAlerts(Preferences& preferences, Dialogs& dialogs, QWidget* window,
                                       std::function<void(const QString&)> openUrl, QObject* parent)
    : QObject(parent), m_checker(preferences, CoreData_AppDelegate::versionStringForBundle()), m_dialogs(dialogs),
      m_window(window), m_openUrl(std::move(openUrl))
{
    if (!m_openUrl)
        m_openUrl = [](const QString& address) { QDesktopServices::openUrl(QUrl(address)); };
    connect(&m_checker, &NewVersionChecker::finished, this, &VersionCheckAlerts::show);
}

void VersionCheckAlerts::show(const VersionCheckResult& result)
{
    using Texts = VersionAlertTexts;
    switch (result.answer) {
    case VersionCheckResult::Answer::NoNewer:
        m_dialogs.inform(m_window, QString::fromUtf8(Texts::kNoNewerMessage), QString::fromUtf8(Texts::kNoNewerText));
        break;
    case VersionCheckResult::Answer::AskToDownload: {
        const int chosen = m_dialogs.choose(m_window, QString::fromUtf8(Texts::kNewReleaseMessage), QString::fromUtf8(Texts::kNewReleaseText),
                                            {QString::fromUtf8(Texts::kDownloadNow), QString::fromUtf8(Texts::kIgnore),
                                             QString::fromUtf8(Texts::kRemindLater)});
        const auto answer = chosen == 0   ? NewVersionChecker::AlertAnswer::DownloadNow
                            : chosen == 1 ? NewVersionChecker::AlertAnswer::Ignore
                                          : NewVersionChecker::AlertAnswer::RemindLater;
        if (m_checker.answer(answer, result.serverVersion))
            m_openUrl(downloadAddress());
        break;
    }
    case VersionCheckResult::Answer::Nothing:
        break;
    }
    Q_EMIT done();
}
