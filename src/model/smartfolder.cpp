#include "model/smartfolder.h"

#include "model/dateanchors.h"
#include "model/modelenvironment.h"

std::optional<QStringList> SmartFolder::displayTags() const
{
    const Value& v = primitiveValue(Attr::tags);
    if (v.isNull())
        return std::nullopt;
    return v.toString().split(QLatin1Char(','));
}

void SmartFolder::setDisplayTags(const QStringList& tags)
{
    setTags(tags.join(QLatin1Char(',')));
}

void SmartFolder::setName(const QString& value)
{
    setPrimitiveValue(Attr::name, Value::string(value.isEmpty() ? QStringLiteral("New smart folder") : value));
}

Predicate SmartFolder::predicateForFolder() const
{
    if (isAllPending())
        return Predicate::fromFormat(QStringLiteral("(cleanedUp == 0) and (archived == 0) and (parentProject == NULL or parentProject.active == 1)"));
    QList<Predicate> criteria;
    const Value& tagsValue = primitiveValue(Attr::tags);
    if (!tagsValue.isNull() && tagsValue.toString() != QLatin1String("")) {
        QList<Predicate> tagTests;
        // The tag is pasted into the text as it stands: a case-insensitive substring test on the whole
        // tags string ("home" also finds "homework"). A tag with a single quote cannot be parsed and
        // matches nothing.
        const QStringList tags = displayTags().value_or(QStringList());
        for (const QString& tag : tags)
            tagTests << Predicate::fromFormat(QStringLiteral("tags contains[c] '%1'").arg(tag));
        criteria << (tagsQueryMode() == 0 ? Predicate::orPredicateWithSubpredicates(tagTests) : Predicate::andPredicateWithSubpredicates(tagTests));
    }
    const Value& days = primitiveValue(Attr::dueDateDaysNumber);
    if (!days.isNull() && days.toInteger() > 0) {
        const QDateTime start = DateAnchors::todayStart(ModelEnvironment::of(*this).now());
        const QDateTime end = DateAnchors::addCalendarDays(start, days.toInteger());
        if (includeOverdueTasks())
            criteria << Predicate::fromFormat(QStringLiteral("(dueDate<>NULL) and (dueDate<%@)"), {end});
        else
            criteria << Predicate::fromFormat(QStringLiteral("(dueDate<>NULL) and (dueDate<%@) and (dueDate>=%@)"), {end, start});
    }
    if (criteria.isEmpty())
        return Predicate::fromFormat(QStringLiteral("cleanedUp == 0 and (archived == 0) and (parentProject == NULL or parentProject.active == 1)"));
    return Predicate::andPredicateWithSubpredicates(criteria);
}

void SmartFolder::storeValueForKey(int attribute, const Value& value)
{
    if (attribute == Attr::name)
        setName(value.toString());
    else
        Record::storeValueForKey(attribute, value);
}

void SmartFolder::describe(EntityDescription& entity)
{
    VYRO_SMARTFOLDER_ATTRIBUTES(VYRO_ATTRIBUTE_DESCRIPTION)
}
