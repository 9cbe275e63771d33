#include "exchange/syncstate.h"

#include "store/objectcontext.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

QString text(const QJsonObject& json, const char* key)
{
    return json.value(QLatin1String(key)).toString();
}

} // namespace

const QString* SyncState::calendarAt(const QString& href) const
{
    for (auto it = calendars.cbegin(); it != calendars.cend(); ++it) {
        if (it->href == href)
            return &it.key();
    }
    return nullptr;
}

QJsonObject SyncState::toJson() const
{
    QJsonObject calendarsJson;
    for (auto it = calendars.cbegin(); it != calendars.cend(); ++it) {
        calendarsJson.insert(it.key(), QJsonObject{{"href", it->href}, {"title", it->title}, {"ctag", it->ctag},
                                                   {"token", it->syncToken}});
    }
    QJsonObject tasksJson;
    for (auto it = tasks.cbegin(); it != tasks.cend(); ++it) {
        tasksJson.insert(it.key(), QJsonObject{{"href", it->href},
                                               {"etag", it->etag},
                                               {"calendar", it->calendar},
                                               {"body", QString::fromUtf8(it->body)},
                                               {"local", it->local.toJson()},
                                               {"remote", it->remote.toJson()}});
    }
    return {{"server", server},           {"user", user},   {"home", home}, {"calendars", calendarsJson},
            {"tasks", tasksJson},         {"detached", QJsonArray::fromStringList(detached)}};
}

SyncState SyncState::fromJson(const QJsonObject& json)
{
    SyncState state;
    state.server = text(json, "server");
    state.user = text(json, "user");
    state.home = text(json, "home");
    for (const QJsonValue& href : json.value(QLatin1String("detached")).toArray())
        state.detached.append(href.toString());
    const QJsonObject calendarsJson = json.value(QLatin1String("calendars")).toObject();
    for (auto it = calendarsJson.begin(); it != calendarsJson.end(); ++it) {
        const QJsonObject c = it.value().toObject();
        state.calendars.insert(it.key(), {text(c, "href"), text(c, "title"), text(c, "ctag"), text(c, "token")});
    }
    const QJsonObject tasksJson = json.value(QLatin1String("tasks")).toObject();
    state.tasks.reserve(tasksJson.size());
    for (auto it = tasksJson.begin(); it != tasksJson.end(); ++it) {
        const QJsonObject t = it.value().toObject();
        state.tasks.insert(it.key(), {text(t, "href"), text(t, "etag"), text(t, "calendar"), text(t, "body").toUtf8(),
                                      CalendarTaskFields::fromJson(t.value(QLatin1String("local")).toObject()),
                                      CalendarTaskFields::fromJson(t.value(QLatin1String("remote")).toObject())});
    }
    return state;
}

Result<SyncState> loadSyncState(const ObjectContext& context)
{
    const QVariant stored = context.metadata().value(QString(kSyncStateKey));
    if (!stored.isValid() || stored.toString().isEmpty())
        return SyncState();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(stored.toString().toUtf8(), &error);
    if (!document.isObject())
        return Status::corruption(QStringLiteral("the calendar sync state in the data file does not read: ") + error.errorString());
    return SyncState::fromJson(document.object());
}

Status saveSyncState(ObjectContext& context, const SyncState& state)
{
    QVariantMap metadata = context.metadata();
    metadata.insert(QString(kSyncStateKey), QString::fromUtf8(QJsonDocument(state.toJson()).toJson(QJsonDocument::Compact)));
    return context.setMetadata(metadata);
}

bool hasSyncState(const ObjectContext& context)
{
    return !context.metadata().value(QString(kSyncStateKey)).toString().isEmpty();
}

Status forgetSyncState(ObjectContext& context)
{
    QVariantMap metadata = context.metadata();
    metadata.remove(QString(kSyncStateKey));
    return context.setMetadata(metadata);
}
