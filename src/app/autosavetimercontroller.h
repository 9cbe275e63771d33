#pragma once

#include <QTimer>

#include <functional>

class Preferences;

// Saves the store at intervals while "autoSave" is on. Start-up does not start it; the desktop does,
// and starts it again when the user changes the two preferences.
class AutoSaveTimerController {
public:
    AutoSaveTimerController(const Preferences& preferences, std::function<void()> save);

    // Only while "autoSave" is on: a repeating timer every "autoSaveAfterMinutes" (integer text)
    // minutes. A value of 0 or less, or text that is no number, schedules nothing.
    void activateTimer();
    void stopTimer();
    void timerFired();

    bool isRunning() const { return m_running; }
    int intervalMilliseconds() const { return m_timer.interval(); }

private:
    const Preferences& m_preferences;
    std::function<void()> m_save;
    QTimer m_timer;
    bool m_running = false;
};
