#include "app/autosavetimercontroller.h"

#include "app/preferences.h"

AutoSaveTimerController::AutoSaveTimerController(const Preferences& preferences, std::function<void()> save)
    : m_preferences(preferences), m_save(std::move(save))
{
    QObject::connect(&m_timer, &QTimer::timeout, [this] { timerFired(); });
}

void AutoSaveTimerController::activateTimer()
{
    if (!m_preferences.boolForKey("autoSave"))
        return;
    const int minutes = m_preferences.stringForKey("autoSaveAfterMinutes").trimmed().toInt();
    // A zero interval would save on every turn of the event loop: kept from scheduling at all.
    if (minutes <= 0)
        return;
    m_timer.start(std::chrono::minutes(minutes));
    m_running = true;
}

void AutoSaveTimerController::stopTimer()
{
    if (!m_running)
        return;
    m_timer.stop();
    m_running = false;
}

void AutoSaveTimerController::timerFired()
{
    if (m_save)
        m_save();
}
