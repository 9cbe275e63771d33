#pragma once

#include <QTimer>

#include <functional>

class Preferences;

// Hides the program some seconds after it lost focus: started when the program goes to the background
// (while "hideApplicationIfWindowNotActive" is on), stopped when it comes back.
class HideApplicationTimerController {
public:
    HideApplicationTimerController(const Preferences& preferences, std::function<void()> hideApplication);

    // Schedules the one-shot timer for "hideApplicationIfWindowNotActiveAfterSeconds" (read as integer
    // text) seconds, only while turned on. A timer already running is not cancelled first: it is simply
    // scheduled again.
    void activateTimer();
    void stopTimer();
    void timerFired();
    void turnOn() { m_turnedOn = true; }
    void turnOff() { m_turnedOn = false; }

    bool isRunning() const { return m_running; }
    bool isTurnedOn() const { return m_turnedOn; }
    int intervalMilliseconds() const { return m_timer.interval(); }

private:
    const Preferences& m_preferences;
    std::function<void()> m_hide;
    QTimer m_timer;
    bool m_running = false;
    bool m_turnedOn = true;
};
