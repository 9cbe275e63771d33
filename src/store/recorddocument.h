#pragma once

#include "store/status.h"
#include "store/value.h"

#include <QString>

#include <utility>
#include <vector>

class ObjectContext;
class Record;

// Records read from a file (the JSON of `vyro load`, the old XML data file) before they reach a
// context. Ids only wire relationships within the document; a reference that is no id of the document
// may name a record already in the context by its URI.
struct DocumentRecord {
    QString entity;
    QString id;
    QString location; // where the record stands in its file, for messages: "tasks[3]", "line 12"
    std::vector<std::pair<QString, Value>> attributes;
    std::vector<std::pair<QString, QString>> relationships; // to-one relationship name -> id or URI
};

struct RecordDocument {
    std::vector<DocumentRecord> records;
};

// Checks the whole document against the context's model (entities, keys, kinds of value, references,
// no loops in a tree), and only then adds every record. All or nothing: on an error nothing is added and
// the message names the record and the field. The records are added as they stand, without the side
// effects of the model's setters. `created`, when given, receives the new records in document order.
Status importDocument(ObjectContext& context, const RecordDocument& document, std::vector<Record*>* created = nullptr);
