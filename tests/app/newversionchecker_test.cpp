#include "app/newversionchecker.h"
#include "support/logcapture.h"
#include "support/storefixture.h"

#include <gtest/gtest.h>

namespace {

using Answer = VersionCheckResult::Answer;
using Mode = NewVersionChecker::Mode;

} // namespace

// The decision alone, for every combination that leads somewhere else.
TEST(NewVersionDecision, Table)
{
    const QString none; // never answered
    struct Row {
        const char* what;
        Mode mode;
        std::optional<QByteArray> body;
        QString lastPrompt;
        Answer expected;
    } rows[] = {
        {"equal, menu", Mode::Menu, QByteArray("1.4"), none, Answer::NoNewer},
        {"equal, quiet", Mode::Quiet, QByteArray("1.4"), none, Answer::Nothing},
        {"older on the server counts", Mode::Quiet, QByteArray("1.3"), none, Answer::AskToDownload},
        {"no trimming", Mode::Menu, QByteArray("1.4\n"), none, Answer::AskToDownload},
        {"answered before", Mode::Menu, QByteArray("1.5"), QStringLiteral("1.5"), Answer::Nothing},
        {"answered another", Mode::Quiet, QByteArray("1.6"), QStringLiteral("1.5"), Answer::AskToDownload},
        {"answered the empty text", Mode::Menu, QByteArray("1.6"), QStringLiteral(""), Answer::AskToDownload},
        {"empty, menu", Mode::Menu, QByteArray(), none, Answer::NoNewer},
        {"unread, quiet", Mode::Quiet, std::nullopt, none, Answer::Nothing},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const VersionCheckResult result = NewVersionChecker::decide(row.mode, row.body, QStringLiteral("1.4"), row.lastPrompt);
        EXPECT_EQ(result.answer, row.expected);
        if (row.expected == Answer::AskToDownload) {
            EXPECT_EQ(result.serverVersion.toUtf8(), *row.body);
        }
    }
}

TEST(NewVersionDecision, LogLinesOfEachMode)
{
    const auto menu = loggedBy([] { NewVersionChecker::decide(Mode::Menu, QByteArray("2.0"), QStringLiteral("1.4"), QStringLiteral("1.9")); });
    EXPECT_EQ(menu, QStringList({"Net version string", "2.0", "Bundle version string", "1.4", "Last prompt version string", "1.9"}));
    const auto quiet = loggedBy([] { NewVersionChecker::decide(Mode::Quiet, QByteArray("2.0"), QStringLiteral("1.4"), QString()); });
    EXPECT_TRUE(quiet.isEmpty());
    const auto unread = loggedBy([] { NewVersionChecker::decide(Mode::Quiet, std::nullopt, QStringLiteral("1.4"), QString()); });
    EXPECT_EQ(unread, QStringList({"Could not read the version status!"}));
}
