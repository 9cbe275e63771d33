#include "store/recordjson.h"

#include "store/objectcontext.h"
#include "store/record.h"

#include <QJsonArray>
#include <QJsonDocument>

QString isoDateString(const QDateTime& dateTime)
{
    const QDateTime local = dateTime.toLocalTime();
    const QDateTime withOffset = local.toOffsetFromUtc(local.offsetFromUtc());
    return withOffset.toString(withOffset.time().msec() ? Qt::ISODateWithMs : Qt::ISODate);
}

QString jsonArrayNameForEntity(const QString& entityName)
{
    if (entityName.endsWith(QLatin1Char('y')))
        return entityName.chopped(1) + QStringLiteral("ies");
    return entityName + QLatin1Char('s');
}

QJsonObject recordToJson(const Record& record)
{
    QJsonObject out;
    out.insert(QStringLiteral("uri"), record.uri());
    const EntityDescription& entity = record.entity();
    for (size_t a = 0; a < entity.attributes().size(); ++a) {
        const Value& v = record.primitiveValue(int(a));
        const QString& name = entity.attributes()[a].name;
        switch (v.kind()) {
        case Value::Kind::Null: break;
        case Value::Kind::Bool: out.insert(name, v.toBool()); break;
        case Value::Kind::Integer: out.insert(name, v.toInteger()); break;
        case Value::Kind::Double: out.insert(name, v.toDouble()); break;
        case Value::Kind::String: out.insert(name, v.toString()); break;
        case Value::Kind::Date: out.insert(name, isoDateString(v.toDateTime())); break;
        }
    }
    for (size_t r = 0; r < entity.relationships().size(); ++r) {
        if (entity.relationships()[r].toMany)
            continue;
        if (Record* target = record.toOne(int(r)))
            out.insert(entity.relationships()[r].name, target->uri());
    }
    return out;
}

QJsonObject storeToJson(const ObjectContext& context)
{
    QJsonObject out;
    for (const auto& entity : context.model().entities()) {
        QJsonArray records;
        for (Record* r : context.allObjects(entity->name()))
            records.append(recordToJson(*r));
        out.insert(jsonArrayNameForEntity(entity->name()), records);
    }
    return out;
}

namespace {

Result<Value> valueFromJson(const QJsonValue& json, AttributeType type, const QString& where)
{
    auto wrong = [&](const char* what) { return Status::invalidArgument(where + QStringLiteral(": must be ") + QLatin1String(what)); };
    switch (type) {
    case AttributeType::Bool:
        if (json.isBool())
            return Value::boolean(json.toBool());
        if (json.isDouble() && (json.toDouble() == 0 || json.toDouble() == 1))
            return Value::boolean(json.toDouble() != 0);
        return wrong("true or false");
    case AttributeType::Integer: {
        const double d = json.toDouble();
        if (!json.isDouble() || d != double(qint64(d)))
            return wrong("a whole number");
        return Value::integer(qint64(d));
    }
    case AttributeType::Double:
        if (!json.isDouble())
            return wrong("a number");
        return Value::real(json.toDouble());
    case AttributeType::String:
        if (!json.isString())
            return wrong("a text");
        return Value::string(json.toString());
    case AttributeType::Date: {
        const QDateTime d = json.isString() ? QDateTime::fromString(json.toString(), Qt::ISODateWithMs) : QDateTime();
        if (!d.isValid())
            return wrong("a date in ISO 8601 form, such as \"2026-12-24T17:00:00+01:00\"");
        return Value::date(d);
    }
    }
    return Value();
}

} // namespace

Result<RecordDocument> recordDocumentFromJson(const QByteArray& json, const DataModel& model)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        const QByteArray before = json.left(parseError.offset);
        const int line = int(before.count('\n')) + 1;
        const int column = int(parseError.offset - before.lastIndexOf('\n'));
        return Status::invalidArgument(QStringLiteral("not valid JSON at line %1, column %2: %3").arg(line).arg(column).arg(parseError.errorString()));
    }
    if (!doc.isObject())
        return Status::invalidArgument(QStringLiteral("the file must hold one JSON object with the arrays of records"));
    const QJsonObject root = doc.object();
    QStringList known;
    for (const auto& e : model.entities())
        known << jsonArrayNameForEntity(e->name());
    for (auto it = root.begin(); it != root.end(); ++it)
        if (!known.contains(it.key()))
            return Status::invalidArgument(QStringLiteral("unknown array \"%1\" (expected %2)").arg(it.key(), known.join(QStringLiteral(", "))));

    RecordDocument out;
    for (const auto& entityPtr : model.entities()) {
        const EntityDescription& entity = *entityPtr;
        const QString arrayName = jsonArrayNameForEntity(entity.name());
        const QJsonValue arrayValue = root.value(arrayName);
        if (arrayValue.isUndefined() || arrayValue.isNull())
            continue;
        if (!arrayValue.isArray())
            return Status::invalidArgument(QStringLiteral("\"%1\" must be an array").arg(arrayName));
        const QJsonArray array = arrayValue.toArray();
        for (qsizetype i = 0; i < array.size(); ++i) {
            DocumentRecord record;
            record.entity = entity.name();
            record.location = QStringLiteral("%1[%2]").arg(arrayName).arg(i);
            if (!array[i].isObject())
                return Status::invalidArgument(record.location + QStringLiteral(": must be an object"));
            const QJsonObject object = array[i].toObject();
            for (auto it = object.begin(); it != object.end(); ++it) {
                const QString& key = it.key();
                const QString where = record.location + QLatin1Char('.') + key;
                if (it.value().isNull())
                    continue; // the same as leaving the key out
                if (key == QLatin1String("uri")) {
                    if (!it.value().isString() || it.value().toString().isEmpty())
                        return Status::invalidArgument(where + QStringLiteral(": must be a non-empty text"));
                    record.id = it.value().toString();
                    continue;
                }
                const int a = entity.attributeIndex(key);
                if (a >= 0) {
                    auto v = valueFromJson(it.value(), entity.attributes()[size_t(a)].type, where);
                    if (!v)
                        return v.status();
                    record.attributes.emplace_back(key, std::move(*v));
                    continue;
                }
                const int r = entity.relationshipIndex(key);
                if (r >= 0 && !entity.relationships()[size_t(r)].toMany) {
                    if (!it.value().isString())
                        return Status::invalidArgument(where + QStringLiteral(": must be the URI of a %1").arg(entity.relationships()[size_t(r)].destinationEntity));
                    record.relationships.emplace_back(key, it.value().toString());
                    continue;
                }
                // Unknown keys and to-many relationships: importDocument explains which.
                record.attributes.emplace_back(key, Value());
            }
            out.records.push_back(std::move(record));
        }
    }
    return out;
}
