#include "app/coredataappdelegate.h"
#include "app/newversionchecker.h"
#include "app/preferences.h"
#include "cli/commandline.h"

#include <QEventLoop>

// Needs no data file. Prints what the Help menu's check would show: the alert's message and text (and
// the version offered), or nothing when the offered version was already answered. Never asks and never
// records an answer.
int runCheckVersion(CommandEnvironment& env)
{
    if (!env.arguments().isEmpty())
        return env.fail(QStringLiteral("check-version takes no arguments"), ExitUsage);
    Preferences preferences;
    NewVersionChecker checker(preferences, CoreData_AppDelegate::versionStringForBundle());
    VersionCheckResult result;
    QEventLoop loop;
    QObject::connect(&checker, &NewVersionChecker::finished, &loop, [&](const VersionCheckResult& r) {
        result = r;
        loop.quit();
    });
    checker.check(NewVersionChecker::Mode::Menu);
    loop.exec();
    switch (result.answer) {
    case VersionCheckResult::Answer::NoNewer:
        env.out() << VersionAlertTexts::kNoNewerMessage << '\n' << VersionAlertTexts::kNoNewerText << Qt::endl;
        break;
    case VersionCheckResult::Answer::AskToDownload:
        env.out() << VersionAlertTexts::kNewReleaseMessage << '\n' << VersionAlertTexts::kNewReleaseText << '\n'
                  << "Version: " << result.serverVersion << Qt::endl;
        break;
    case VersionCheckResult::Answer::Nothing:
        break;
    }
    return ExitOk;
}
