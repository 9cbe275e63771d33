#pragma once

// Generators for the plain typed accessors of the entity classes. Each entity lists its attributes
// once, as X(getter, Setter, Type), and that one list gives the index enum, the data model's attribute
// table and the accessors, so the three can never disagree.

#include "store/record.h"

#include <QDateTime>
#include <QString>

namespace accessors {
template <AttributeType> struct Traits;
template <> struct Traits<AttributeType::String> {
    using Type = QString;
    using Param = const QString&;
    static QString get(const Value& v) { return v.toString(); }
    static Value make(const QString& s) { return Value::string(s); }
};
template <> struct Traits<AttributeType::Bool> {
    using Type = bool;
    using Param = bool;
    static bool get(const Value& v) { return v.toBool(); }
    static Value make(bool b) { return Value::boolean(b); }
};
template <> struct Traits<AttributeType::Integer> {
    using Type = qint64;
    using Param = qint64;
    static qint64 get(const Value& v) { return v.toInteger(); }
    static Value make(qint64 i) { return Value::integer(i); }
};
template <> struct Traits<AttributeType::Date> {
    using Type = QDateTime;
    using Param = const QDateTime&;
    static QDateTime get(const Value& v) { return v.toDateTime(); }
    static Value make(const QDateTime& d) { return Value::date(d); } // invalid: absent
};
} // namespace accessors

#define VYRO_ATTRIBUTE_ENUM(getter, Setter, Kind, Mode) getter,

// Mode "plain": the setter just stores. Mode "custom": the setter has side effects and is written by
// hand in the entity's .cpp file.
#define VYRO_ATTRIBUTE_ACCESSORS(getter, Setter, Kind, Mode)                                                   \
    accessors::Traits<AttributeType::Kind>::Type getter() const                                                \
    {                                                                                                          \
        return accessors::Traits<AttributeType::Kind>::get(primitiveValue(Attr::getter));                      \
    }                                                                                                          \
    VYRO_SETTER_##Mode(getter, Setter, Kind)

#define VYRO_SETTER_plain(getter, Setter, Kind)                                                                \
    void set##Setter(accessors::Traits<AttributeType::Kind>::Param v)                                          \
    {                                                                                                          \
        setPrimitiveValue(Attr::getter, accessors::Traits<AttributeType::Kind>::make(v));                      \
    }

#define VYRO_SETTER_custom(getter, Setter, Kind) void set##Setter(accessors::Traits<AttributeType::Kind>::Param v);

#define VYRO_ATTRIBUTE_DESCRIPTION(getter, Setter, Kind, Mode) entity.addAttribute(QStringLiteral(#getter), AttributeType::Kind);
