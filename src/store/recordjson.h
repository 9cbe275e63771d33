#pragma once

#include "store/recorddocument.h"
#include "store/status.h"

#include <QByteArray>
#include <QJsonObject>

class ObjectContext;
class DataModel;
class Record;

// The JSON form of records: one object per record with its "uri", its attributes under their model
// names (absent values left out; dates in ISO 8601 with the local offset) and its to-one relationships
// as the related record's URI. To-many relationships are left out: they are the inverses of to-one ones.
QJsonObject recordToJson(const Record& record);

// The whole store: an array per entity, named as the entity in the plural ("contexts", "projects",
// "smartFolders", "archiveCategories", "tasks"), records in the order they were made.
QJsonObject storeToJson(const ObjectContext& context);
QString jsonArrayNameForEntity(const QString& entityName);

// Reads such a document. Errors name the place: "tasks[3].dueDate: must be a date".
Result<RecordDocument> recordDocumentFromJson(const QByteArray& json, const DataModel& model);

// ISO 8601 with the local offset, with milliseconds only when there are any.
QString isoDateString(const QDateTime& dateTime);
