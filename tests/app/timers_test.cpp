#include "app/autosavetimercontroller.h"
#include "app/hideapplicationtimercontroller.h"
#include "app/preferences.h"
#include "support/testprocesses.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Timers need an event dispatcher, which the application object brings.
class TimersTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ensureApplication();
        prefs = std::make_unique<Preferences>(dir.filePath(QStringLiteral("prefs.ini")));
    }
    QTemporaryDir dir;
    std::unique_ptr<Preferences> prefs;
};

} // namespace

TEST_F(TimersTest, AutoSaveRunsOnlyWhenOnWithAUsableInterval)
{
    const struct {
        bool on;
        QString minutes;
        bool running;
        int intervalMs;
    } cases[] = {
        {true, QStringLiteral("5"), true, 5 * 60'000},
        {true, QStringLiteral(" 2 "), true, 2 * 60'000},
        {false, QStringLiteral("5"), false, 0},
        {true, QStringLiteral("0"), false, 0},
        {true, QStringLiteral("soon"), false, 0},
    };
    for (const auto& c : cases) {
        prefs->setBool("autoSave", c.on);
        prefs->setString("autoSaveAfterMinutes", c.minutes);
        int saves = 0;
        AutoSaveTimerController timer(*prefs, [&] { ++saves; });
        timer.activateTimer();
        EXPECT_EQ(timer.isRunning(), c.running) << c.minutes.toStdString();
        if (c.running) {
            EXPECT_EQ(timer.intervalMilliseconds(), c.intervalMs);
        }
        timer.timerFired();
        EXPECT_EQ(saves, 1);
        timer.stopTimer();
        EXPECT_FALSE(timer.isRunning());
    }
}

TEST_F(TimersTest, HideTimerFollowsTurnOnAndFiresOnce)
{
    prefs->setString("hideApplicationIfWindowNotActiveAfterSeconds", QStringLiteral("30"));
    int hides = 0;
    HideApplicationTimerController timer(*prefs, [&] { ++hides; });

    timer.turnOff();
    timer.activateTimer();
    EXPECT_FALSE(timer.isRunning()) << "turned off: focus loss schedules nothing";

    timer.turnOn();
    timer.activateTimer();
    EXPECT_TRUE(timer.isRunning());
    EXPECT_EQ(timer.intervalMilliseconds(), 30'000);
    timer.stopTimer();
    EXPECT_FALSE(timer.isRunning());

    prefs->setString("hideApplicationIfWindowNotActiveAfterSeconds", QStringLiteral("0"));
    timer.activateTimer();
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    EXPECT_EQ(hides, 1);
    EXPECT_FALSE(timer.isRunning());
}
