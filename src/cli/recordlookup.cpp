#include "cli/recordlookup.h"

#include "model/context.h"
#include "model/modelenvironment.h"
#include "model/mydateformatter.h"
#include "model/project.h"
#include "store/objectcontext.h"
#include "store/objecturi.h"
#include "store/record.h"

Result<Record*> lookupRecord(const ObjectContext& context, const QString& text, const QString& entity)
{
    if (text.startsWith(QLatin1String("x-coredata:")) || text.startsWith(QLatin1String("vyro:"))) {
        Record* r = context.objectWithURI(objectURIFromTaskLink(text));
        if (!r)
            return Status::notFound(QStringLiteral("no record %1 in this data file").arg(text));
        if (!entity.isEmpty() && r->entity().name() != entity)
            return Status::invalidArgument(QStringLiteral("%1 is a %2, not a %3").arg(text, r->entity().name(), entity));
        return r;
    }
    if (entity.isEmpty())
        return Status::invalidArgument(QStringLiteral("\"%1\" is not a record URI").arg(text));
    const std::vector<Record*> all = context.allObjects(entity);
    // Folders are matched against their path without building it: the paths of a deep chain together
    // grow with the square of its depth.
    auto hasPath = [&](const Record* r) {
        if (entity == QLatin1String("context"))
            return static_cast<const Context*>(r)->hasPathName(text);
        if (entity == QLatin1String("project"))
            return static_cast<const Project*>(r)->hasPathName(text);
        return r->valueForKey(u"pathName").toString() == text;
    };
    for (const bool byPath : {true, false}) {
        std::vector<Record*> found;
        for (Record* r : all)
            if (byPath ? hasPath(r) : r->valueForKey(u"name").toString() == text)
                found.push_back(r);
        if (found.size() == 1)
            return found.front();
        if (found.size() > 1)
            return Status::invalidArgument(QStringLiteral("%1 records of %2 are called \"%3\"; use a URI").arg(found.size()).arg(entity, text));
    }
    return Status::notFound(QStringLiteral("no %1 named \"%2\"").arg(entity, text));
}

Result<Value> parseValueArgument(const QString& text, AttributeType type, const ModelEnvironment& environment)
{
    if (text.isEmpty())
        return Value();
    auto bad = [&](const char* what) { return Status::invalidArgument(QStringLiteral("\"%1\" is not %2").arg(text, QLatin1String(what))); };
    switch (type) {
    case AttributeType::String: return Value::string(text);
    case AttributeType::Bool: {
        const QString t = text.toLower();
        if (t == QLatin1String("true") || t == QLatin1String("yes") || t == QLatin1String("1"))
            return Value::boolean(true);
        if (t == QLatin1String("false") || t == QLatin1String("no") || t == QLatin1String("0"))
            return Value::boolean(false);
        return bad("true or false");
    }
    case AttributeType::Integer: {
        bool ok = false;
        const qint64 i = text.toLongLong(&ok);
        return ok ? Result<Value>(Value::integer(i)) : Result<Value>(bad("a whole number"));
    }
    case AttributeType::Double: {
        bool ok = false;
        const double d = text.toDouble(&ok);
        return ok ? Result<Value>(Value::real(d)) : Result<Value>(bad("a number"));
    }
    case AttributeType::Date: {
        QDateTime d = QDateTime::fromString(text, Qt::ISODateWithMs);
        if (!d.isValid())
            d = MyDateFormatter(environment).getObjectValue(text).value_or(QDateTime());
        return d.isValid() ? Result<Value>(Value::date(d)) : Result<Value>(bad("a date (ISO 8601, +n or a short date)"));
    }
    }
    return Value();
}
