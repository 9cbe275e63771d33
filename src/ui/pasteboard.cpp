#include "ui/pasteboard.h"

#include "store/objectcontext.h"
#include "store/record.h"

#include <QMimeData>

QByteArray encodeRecords(const std::vector<Record*>& records)
{
    QByteArray data;
    for (const Record* r : records) {
        data += r->uri().toUtf8();
        data += '\n';
    }
    return data;
}

std::vector<Record*> decodeRecords(const ObjectContext& store, const QByteArray& data)
{
    std::vector<Record*> records;
    for (const QByteArray& line : data.split('\n')) {
        if (line.isEmpty())
            continue;
        Record* r = store.objectWithURI(QString::fromUtf8(line));
        if (r && !r->isDeleted())
            records.push_back(r);
    }
    return records;
}

QMimeData* mimeDataForRecords(const QString& type, const std::vector<Record*>& records)
{
    auto* mime = new QMimeData;
    mime->setData(type, encodeRecords(records));
    QStringList names;
    for (const Record* r : records)
        names << r->valueForKey(u"name").toString();
    mime->setText(names.join(QLatin1Char('\n')));
    return mime;
}

std::vector<Record*> recordsFromMimeData(const ObjectContext& store, const QMimeData& data, const QString& type)
{
    if (!data.hasFormat(type))
        return {};
    return decodeRecords(store, data.data(type));
}
