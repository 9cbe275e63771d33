#include "store/xmlstore.h"

#include "store/datafilelock.h"
#include "store/objectcontext.h"
#include "store/record.h"
#include "store/recordjson.h"

#include <QFile>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

const QLatin1String kRoot("vyro-store");

Result<Value> parseTyped(const QString& type, const QString& text, const QString& where)
{
    auto bad = [&] { return Status::invalidArgument(QStringLiteral("%1: \"%2\" is not a %3 value").arg(where, text, type)); };
    if (type == QLatin1String("string"))
        return Value::string(text);
    if (type == QLatin1String("bool")) {
        if (text == QLatin1String("true") || text == QLatin1String("1"))
            return Value::boolean(true);
        if (text == QLatin1String("false") || text == QLatin1String("0"))
            return Value::boolean(false);
        return bad();
    }
    bool ok = false;
    if (type == QLatin1String("integer")) {
        const qint64 i = text.trimmed().toLongLong(&ok);
        return ok ? Result<Value>(Value::integer(i)) : Result<Value>(bad());
    }
    if (type == QLatin1String("double")) {
        const double d = text.trimmed().toDouble(&ok);
        return ok ? Result<Value>(Value::real(d)) : Result<Value>(bad());
    }
    if (type == QLatin1String("date")) {
        const QDateTime d = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
        return d.isValid() ? Result<Value>(Value::date(d)) : Result<Value>(bad());
    }
    return Status::invalidArgument(QStringLiteral("%1: unknown type \"%2\"").arg(where, type));
}

QString typeOf(const Value& v)
{
    switch (v.kind()) {
    case Value::Kind::Bool: return QStringLiteral("bool");
    case Value::Kind::Integer: return QStringLiteral("integer");
    case Value::Kind::Double: return QStringLiteral("double");
    case Value::Kind::Date: return QStringLiteral("date");
    default: return QStringLiteral("string");
    }
}

} // namespace

Result<RecordDocument> readXmlStore(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(QStringLiteral("Cannot read %1: %2").arg(path, file.errorString()));
    QXmlStreamReader xml(&file);
    RecordDocument doc;
    auto here = [&] { return QStringLiteral("%1 line %2").arg(path).arg(xml.lineNumber()); };

    if (!xml.readNextStartElement() || xml.name() != kRoot)
        return Status::corruption(QStringLiteral("%1 is not a Vyro XML data file").arg(path));
    while (xml.readNextStartElement()) {
        if (xml.name() != QLatin1String("record"))
            return Status::corruption(QStringLiteral("%1: unexpected element <%2>").arg(here(), xml.name()));
        DocumentRecord record;
        record.entity = xml.attributes().value(QLatin1String("entity")).toString();
        record.id = xml.attributes().value(QLatin1String("id")).toString();
        // Messages name the record by its line, entity and id, and the value by its line and name.
        record.location = QStringLiteral("%1 (%2 \"%3\")").arg(here(), record.entity, record.id);
        while (xml.readNextStartElement()) {
            const QString name = xml.attributes().value(QLatin1String("name")).toString();
            const QString where = QStringLiteral("%1 (%2 \"%3\", %4)").arg(here(), record.entity, record.id, name);
            if (xml.name() == QLatin1String("attribute")) {
                const QString type = xml.attributes().value(QLatin1String("type")).toString();
                const QString text = xml.readElementText();
                auto value = parseTyped(type, text, where);
                if (!value)
                    return value.status();
                record.attributes.emplace_back(name, std::move(*value));
            } else if (xml.name() == QLatin1String("relationship")) {
                record.relationships.emplace_back(name, xml.attributes().value(QLatin1String("ref")).toString());
                xml.skipCurrentElement();
            } else {
                return Status::corruption(QStringLiteral("%1: unexpected element <%2>").arg(here(), xml.name()));
            }
        }
        doc.records.push_back(std::move(record));
    }
    if (xml.hasError())
        return Status::corruption(QStringLiteral("%1: %2").arg(here(), xml.errorString()));
    return doc;
}

Status writeXmlStore(const ObjectContext& context, const QString& path)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Status::ioError(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    QXmlStreamWriter xml(&file);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(kRoot);
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    auto idOf = [](const Record& r) { return r.entity().name() + QLatin1Char('-') + QString::number(r.primaryKey()); };
    for (const auto& entity : context.model().entities()) {
        for (Record* r : context.allObjects(entity->name())) {
            xml.writeStartElement(QStringLiteral("record"));
            xml.writeAttribute(QStringLiteral("entity"), entity->name());
            xml.writeAttribute(QStringLiteral("id"), idOf(*r));
            for (size_t a = 0; a < entity->attributes().size(); ++a) {
                const Value& v = r->primitiveValue(int(a));
                if (v.isNull())
                    continue;
                xml.writeStartElement(QStringLiteral("attribute"));
                xml.writeAttribute(QStringLiteral("name"), entity->attributes()[a].name);
                xml.writeAttribute(QStringLiteral("type"), typeOf(v));
                xml.writeCharacters(v.kind() == Value::Kind::Date ? isoDateString(v.toDateTime())
                                    : v.kind() == Value::Kind::Bool ? (v.toBool() ? QStringLiteral("true") : QStringLiteral("false"))
                                                                    : v.toString());
                xml.writeEndElement();
            }
            for (size_t rel = 0; rel < entity->relationships().size(); ++rel) {
                if (entity->relationships()[rel].toMany)
                    continue;
                if (Record* target = r->toOne(int(rel))) {
                    xml.writeEmptyElement(QStringLiteral("relationship"));
                    xml.writeAttribute(QStringLiteral("name"), entity->relationships()[rel].name);
                    xml.writeAttribute(QStringLiteral("ref"), idOf(*target));
                }
            }
            xml.writeEndElement();
        }
    }
    xml.writeEndElement();
    xml.writeEndDocument();
    if (xml.hasError() || !file.commit())
        return Status::ioError(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    return Status::ok();
}

Status writeSqliteStore(const RecordDocument& document, const QString& sqlPath, std::shared_ptr<const DataModel> model,
                        const AdoptRecords& adopt)
{
    const QString partial = sqlPath + QStringLiteral(".converting");
    QFile::remove(partial);
    QFile::remove(partial + QStringLiteral("-journal"));
    Status status;
    {
        ObjectContext context(model);
        context.undoManager().setEnabled(false);
        status = context.addSqliteStore(partial);
        std::vector<Record*> created;
        if (status.isOk())
            status = importDocument(context, document, &created);
        if (status.isOk() && adopt)
            adopt(context, created);
        if (status.isOk())
            status = context.save();
    }
    if (status.isOk() && !QFile::rename(partial, sqlPath))
        status = Status::ioError(QStringLiteral("Cannot move the converted data file to %1").arg(sqlPath));
    if (!status.isOk())
        QFile::remove(partial);
    return status;
}
