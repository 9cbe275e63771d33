#pragma once

#include "store/recorddocument.h"
#include "store/status.h"

#include <functional>
#include <memory>
#include <vector>

class DataModel;
class ObjectContext;
class Record;

// The XML data file of older releases ("Vyro.xml"). Its layout is described in docs/xml-data-file.md:
//
//   <vyro-store version="1.0">
//     <record entity="context" id="c1">
//       <attribute name="name" type="string">Inbox</attribute>
//       <relationship name="parentContext" ref="c2"/>
//     </record>
//   </vyro-store>
//
// It is only ever read, once, to be converted into an SQLite data file.
Result<RecordDocument> readXmlStore(const QString& path);

// Writes the records of a context in that layout (used to make old-style files, e.g. for tests).
Status writeXmlStore(const ObjectContext& context, const QString& path);

// Writes records into a new SQLite data file at `sqlPath`. The new file appears whole or not at all (it
// is written beside the target and renamed into place). `adopt`, when given, is called with the new
// records before they are saved (the model gives them what a file leaves out).
using AdoptRecords = std::function<void(ObjectContext& context, const std::vector<Record*>& records)>;
Status writeSqliteStore(const RecordDocument& document, const QString& sqlPath, std::shared_ptr<const DataModel> model,
                        const AdoptRecords& adopt = {});
