#pragma once

#include "store/predicate.h"

#include <QDateTime>
#include <QObject>
#include <QVariant>

#include <functional>
#include <unordered_map>
#include <vector>

class ObjectContext;
class Record;

// What the model reads from outside itself and keeps beside the records: the clock (every "Today" of
// the model comes from here, so tests fix it), the few preferences its setters and derived values depend
// on, where it posts the in-process notification "VyroInboxCountHasChanged", the renumbering put off
// while a DeferredRenumbering lives, and parsed predicate templates.
//
// One per object context, owned by it and made on first use, so a second context (a staging area, a
// preview, a test) lives beside the first without sharing any of this. The application installs its
// preference reader at start; without one every preference reads as absent (false, 0).
//
// Thread: that of its context.
class ModelEnvironment : public QObject {
    Q_OBJECT
public:
    static ModelEnvironment& of(const ObjectContext& context);
    static ModelEnvironment& of(const Record& record);

    QDateTime now() const;
    // A fixed or test clock; an empty function restores the system clock.
    void setClock(std::function<QDateTime()> clock);

    bool boolPreference(QStringView key) const;
    int integerPreference(QStringView key) const;
    void setPreferenceReader(std::function<QVariant(QStringView)> reader);

    // "VyroInboxCountHasChanged": the Inbox gained or lost an open task.
    void postInboxCountHasChanged(Record* object);

    // The template parsed from `format` once for the context's life (Predicate::templateFromFormat); the
    // reference stays valid as long as the environment.
    const Predicate& predicateTemplate(const QString& format);

    // The folders whose renumbering waits for the last DeferredRenumbering to end.
    struct PendingRenumbering {
        Record* folder;
        const Predicate* openTasks;
        int positionAttribute;
    };
    int renumberingDeferrals = 0;
    std::vector<PendingRenumbering> pendingRenumberings;

Q_SIGNALS:
    void inboxCountHasChanged(Record* object);

public:
    // A free-standing environment, for code and tests that read dates without a store.
    ModelEnvironment() = default;

private:
    std::function<QDateTime()> m_clock;
    std::function<QVariant(QStringView)> m_preferences;
    std::unordered_map<QString, Predicate> m_templates;
};
