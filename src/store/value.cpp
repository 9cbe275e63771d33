#include "store/value.h"

#include <QTimeZone>

Value Value::boolean(bool b)
{
    Value v;
    v.m_kind = Kind::Bool;
    v.m_u.b = b;
    return v;
}

Value Value::integer(qint64 i)
{
    Value v;
    v.m_kind = Kind::Integer;
    v.m_u.i = i;
    return v;
}

Value Value::real(double d)
{
    Value v;
    v.m_kind = Kind::Double;
    v.m_u.d = d;
    return v;
}

Value Value::string(const QString& s)
{
    Value v;
    if (s.isNull())
        return v;
    v.m_kind = Kind::String;
    v.m_u.s = new QString(s);
    return v;
}

Value Value::date(const QDateTime& dt)
{
    if (!dt.isValid())
        return {};
    return dateFromMSecs(dt.toMSecsSinceEpoch());
}

Value Value::dateFromMSecs(qint64 msecs)
{
    Value v;
    v.m_kind = Kind::Date;
    v.m_u.i = msecs;
    return v;
}

Value Value::fromVariant(const QVariant& var)
{
    switch (var.typeId()) {
    case QMetaType::Bool: return boolean(var.toBool());
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong: return integer(var.toLongLong());
    case QMetaType::Double:
    case QMetaType::Float: return real(var.toDouble());
    case QMetaType::QString: return string(var.toString());
    case QMetaType::QDateTime: return date(var.toDateTime());
    default: return {};
    }
}

bool Value::toBool() const
{
    switch (m_kind) {
    case Kind::Bool: return m_u.b;
    case Kind::Integer: return m_u.i != 0;
    case Kind::Double: return m_u.d != 0.0;
    default: return false;
    }
}

qint64 Value::toInteger() const
{
    switch (m_kind) {
    case Kind::Bool: return m_u.b ? 1 : 0;
    case Kind::Integer: return m_u.i;
    case Kind::Double: return qint64(m_u.d);
    default: return 0;
    }
}

double Value::toDouble() const
{
    switch (m_kind) {
    case Kind::Bool: return m_u.b ? 1.0 : 0.0;
    case Kind::Integer: return double(m_u.i);
    case Kind::Double: return m_u.d;
    default: return 0.0;
    }
}

QString Value::toString() const
{
    switch (m_kind) {
    case Kind::String: return *m_u.s;
    case Kind::Null: return {};
    case Kind::Bool: return m_u.b ? QStringLiteral("1") : QStringLiteral("0");
    case Kind::Integer: return QString::number(m_u.i);
    case Kind::Double: return QString::number(m_u.d);
    case Kind::Date: return toDateTime().toString(Qt::ISODate);
    }
    return {};
}

QDateTime Value::toDateTime() const
{
    if (m_kind != Kind::Date)
        return {};
    return QDateTime::fromMSecsSinceEpoch(m_u.i);
}

QVariant Value::toVariant() const
{
    switch (m_kind) {
    case Kind::Null: return {};
    case Kind::Bool: return m_u.b;
    case Kind::Integer: return m_u.i;
    case Kind::Double: return m_u.d;
    case Kind::String: return *m_u.s;
    case Kind::Date: return toDateTime();
    }
    return {};
}

bool Value::operator==(const Value& other) const
{
    if (m_kind != other.m_kind)
        return false;
    switch (m_kind) {
    case Kind::Null: return true;
    case Kind::Bool: return m_u.b == other.m_u.b;
    case Kind::Integer:
    case Kind::Date: return m_u.i == other.m_u.i;
    case Kind::Double: return m_u.d == other.m_u.d;
    case Kind::String: return *m_u.s == *other.m_u.s;
    }
    return false;
}

namespace {

// Text without regard to case, in the order QString::compare gives: most names differ within their
// first few ASCII characters, which are folded here without a call into the Unicode tables.
int compareCaseInsensitive(const QString& a, const QString& b)
{
    const qsizetype n = std::min(a.size(), b.size());
    const char16_t* x = reinterpret_cast<const char16_t*>(a.constData());
    const char16_t* y = reinterpret_cast<const char16_t*>(b.constData());
    for (qsizetype i = 0; i < n; ++i) {
        char16_t cx = x[i], cy = y[i];
        if (cx >= 0x80 || cy >= 0x80)
            return QString::compare(a, b, Qt::CaseInsensitive);
        if (cx >= u'A' && cx <= u'Z')
            cx += 0x20;
        if (cy >= u'A' && cy <= u'Z')
            cy += 0x20;
        if (cx != cy)
            return cx < cy ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

} // namespace

std::optional<int> Value::compare(const Value& a, const Value& b, bool caseInsensitive)
{
    if (a.isNumeric() && b.isNumeric()) {
        if (a.m_kind != Kind::Double && b.m_kind != Kind::Double) {
            const qint64 x = a.toInteger(), y = b.toInteger();
            return x < y ? -1 : (x > y ? 1 : 0);
        }
        const double x = a.toDouble(), y = b.toDouble();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    if (a.m_kind != b.m_kind)
        return std::nullopt;
    switch (a.m_kind) {
    case Kind::String: {
        const int c = caseInsensitive ? compareCaseInsensitive(*a.m_u.s, *b.m_u.s) : QString::compare(*a.m_u.s, *b.m_u.s);
        return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    case Kind::Date: return a.m_u.i < b.m_u.i ? -1 : (a.m_u.i > b.m_u.i ? 1 : 0);
    default: return std::nullopt;
    }
}
