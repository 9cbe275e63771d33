#pragma once

#include "store/entitydescription.h"
#include "store/status.h"
#include "store/value.h"

class ModelEnvironment;

class ObjectContext;
class Record;

// Finds the record a command-line argument names: its URI ("x-coredata://…") or task link ("vyro://…"),
// or for folders its path name ("Home > Garden") or, when unique, its name. `entity` may be empty when
// only a URI is acceptable for any entity.
Result<Record*> lookupRecord(const ObjectContext& context, const QString& text, const QString& entity);

// Reads a value typed on the command line for an attribute of `type`; "" is the absent value.
// Booleans: true/false, yes/no, 1/0. Dates: ISO 8601, "+n" days from today, or the locale's short date.
Result<Value> parseValueArgument(const QString& text, AttributeType type, const ModelEnvironment& environment);
