#include "app/newversionchecker.h"

#include "app/preferences.h"
#include "app/weblinks.h"
#include "store/log.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRandomGenerator>
#include <QUrl>

namespace {
constexpr const char* kLastPromptKey = "lastDownloadPromptForVersion";
}

NewVersionChecker::NewVersionChecker(Preferences& preferences, QString localVersion, QObject* parent)
    : QObject(parent), m_preferences(preferences), m_localVersion(std::move(localVersion)),
      m_network(new QNetworkAccessManager(this))
{
}

bool NewVersionChecker::check(Mode mode, int timeoutMs)
{
    if (m_running)
        return false;
    m_running = true;
    if (mode == Mode::Quiet)
        logLine(QStringLiteral("Checking for new version..."));
    const QUrl address(versionFileAddress() + QLatin1Char('?') + QString::number(QRandomGenerator::global()->generate()));
    QNetworkRequest request(address);
    request.setTransferTimeout(timeoutMs);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    QNetworkReply* reply = m_network->get(request);
    connect(reply, &QNetworkReply::finished, this, [this, reply, mode] {
        reply->deleteLater();
        std::optional<QByteArray> body;
        if (reply->error() == QNetworkReply::NoError)
            body = reply->readAll();
        const VersionCheckResult result =
            decide(mode, body, m_localVersion, m_preferences.stringForKey(QLatin1String(kLastPromptKey)));
        m_running = false;
        Q_EMIT finished(result);
    });
    return true;
}

VersionCheckResult NewVersionChecker::decide(Mode mode, const std::optional<QByteArray>& body, const QString& localVersion,
                                             const QString& lastPromptVersion)
{
    const bool menu = mode == Mode::Menu;
    VersionCheckResult nothingNew{menu ? VersionCheckResult::Answer::NoNewer : VersionCheckResult::Answer::Nothing, {}};
    if (!body || body->isEmpty()) {
        logLine(QStringLiteral("Could not read the version status!"));
        return nothingNew;
    }
    const QString serverVersion = QString::fromUtf8(*body);
    nothingNew.serverVersion = serverVersion;
    if (menu) {
        logLine(QStringLiteral("Net version string"));
        logLine(serverVersion);
        logLine(QStringLiteral("Bundle version string"));
        logLine(localVersion);
    }
    if (localVersion == serverVersion)
        return nothingNew;
    if (menu) {
        logLine(QStringLiteral("Last prompt version string"));
        logLine(lastPromptVersion);
    }
    // An answered version stays unasked, by the menu command too: it says nothing at all then.
    if (!lastPromptVersion.isNull() && lastPromptVersion == serverVersion)
        return {VersionCheckResult::Answer::Nothing, serverVersion};
    return {VersionCheckResult::Answer::AskToDownload, serverVersion};
}

bool NewVersionChecker::answer(AlertAnswer answer, const QString& version)
{
    if (answer == AlertAnswer::RemindLater)
        return false;
    m_preferences.setString(QLatin1String(kLastPromptKey), version);
    m_preferences.sync();
    return answer == AlertAnswer::DownloadNow;
}
