#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include <optional>

class Preferences;

// What a version check tells the user.
struct VersionCheckResult {
    enum class Answer {
        Nothing,   // the quiet check says nothing
        NoNewer,   // "No newer release available."
        AskToDownload,
    };
    Answer answer = Answer::Nothing;
    QString serverVersion; // the text read; empty when nothing could be read
};

// The two alerts of the check, with the texts the user sees.
struct VersionAlertTexts {
    static constexpr const char* kNewReleaseMessage = "New release of Vyro available";
    static constexpr const char* kNewReleaseText = "Would you like to download it now?";
    static constexpr const char* kDownloadNow = "Download now";
    static constexpr const char* kIgnore = "Ignore";
    static constexpr const char* kRemindLater = "Remind me later";
    static constexpr const char* kNoNewerMessage = "No newer release available.";
    static constexpr const char* kNoNewerText = "Please be patient :-)";
    static constexpr const char* kOk = "OK";
};

// Asks the web site for the newest released version (versionFileAddress(), with a random query so that
// no cache answers) and compares it, as text, with the local version: any difference counts, also an
// older version on the server. A version the user already answered with "Download now" or "Ignore"
// ("lastDownloadPromptForVersion") is not asked about again, and then neither mode says anything.
//
// The menu command (Mode::Menu) always answers; the quiet check of the start (Mode::Quiet) only when
// there is something to ask. The read is asynchronous, with a time limit, so neither blocks the caller;
// `finished` comes once per check, on the caller's thread.
class NewVersionChecker : public QObject {
    Q_OBJECT
public:
    enum class Mode { Menu, Quiet };
    enum class AlertAnswer { DownloadNow, Ignore, RemindLater };

    static constexpr int kDefaultTimeoutMs = 15000;

    // `preferences` must outlive the checker.
    NewVersionChecker(Preferences& preferences, QString localVersion, QObject* parent = nullptr);

    // Starts a check; a check already running is left to finish and this one is refused (false).
    bool check(Mode mode, int timeoutMs = kDefaultTimeoutMs);
    bool isRunning() const { return m_running; }

    // The decision on what was read (nullopt: nothing could be read), with the log lines of the mode.
    static VersionCheckResult decide(Mode mode, const std::optional<QByteArray>& body, const QString& localVersion,
                                     const QString& lastPromptVersion);

    // Records the user's answer to the question about `version`. True when the download should open.
    bool answer(AlertAnswer answer, const QString& version);

Q_SIGNALS:
    void finished(const VersionCheckResult& result);

private:
    Preferences& m_preferences;
    QString m_localVersion;
    bool m_running = false;
    class QNetworkAccessManager* m_network = nullptr;
};
