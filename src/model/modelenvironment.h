#pragma once

#include <QDateTime>
#include <QObject>
#include <QVariant>

#include <functional>

class Record;

// What the model reads from outside itself: the clock (every "Today" of the model comes from here, so
// tests fix it), the few preferences its setters and derived values depend on, and where it posts the
// in-process notification "VyroInboxCountHasChanged".
//
// One per process. The application installs its preference reader at start; without one every
// preference reads as absent (false, 0).
class ModelEnvironment : public QObject {
    Q_OBJECT
public:
    static ModelEnvironment& instance();

    QDateTime now() const;
    // A fixed or test clock; an empty function restores the system clock.
    void setClock(std::function<QDateTime()> clock);

    bool boolPreference(QStringView key) const;
    int integerPreference(QStringView key) const;
    void setPreferenceReader(std::function<QVariant(QStringView)> reader);

    // "VyroInboxCountHasChanged": the Inbox gained or lost an open task.
    void postInboxCountHasChanged(Record* object);

Q_SIGNALS:
    void inboxCountHasChanged(Record* object);

private:
    ModelEnvironment() = default;
    std::function<QDateTime()> m_clock;
    std::function<QVariant(QStringView)> m_preferences;
};
