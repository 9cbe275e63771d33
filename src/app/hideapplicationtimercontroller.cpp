#include "app/hideapplicationtimercontroller.h"

#include "app/preferences.h"

HideApplicationTimerController::HideApplicationTimerController(const Preferences& preferences, std::function<void()> hideApplication)
    : m_preferences(preferences), m_hide(std::move(hideApplication))
{
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, [this] { timerFired(); });
}

void HideApplicationTimerController::activateTimer()
{
    if (!m_turnedOn)
        return;
    const int seconds = m_preferences.stringForKey("hideApplicationIfWindowNotActiveAfterSeconds").trimmed().toInt();
    m_timer.start(std::max(0, seconds) * 1000);
    m_running = true;
}

void HideApplicationTimerController::stopTimer()
{
    if (!m_running)
        return;
    m_timer.stop();
    m_running = false;
}

void HideApplicationTimerController::timerFired()
{
    m_running = false;
    if (m_hide)
        m_hide();
}
