#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>

#include <cstdint>
#include <optional>

// One attribute value of a record. Every attribute is optional: Null (absent) is a value of its own and
// differs from false and from 0. Kept to 16 bytes because a store of a hundred thousand tasks holds
// millions of them: dates are kept as UTC milliseconds, text behind one pointer.
class Value {
public:
    enum class Kind : std::uint8_t { Null, Bool, Integer, Double, String, Date };

    Value() noexcept {}
    static Value boolean(bool b);
    static Value integer(qint64 i);
    static Value real(double d);
    static Value string(const QString& s);      // a null QString gives Null; "" stays ""
    static Value date(const QDateTime& dt);     // an invalid date gives Null
    static Value dateFromMSecs(qint64 msecsSinceEpochUtc);
    // Bool, Int/LongLong, Double, QString and QDateTime variants; anything else (and invalid) is Null.
    static Value fromVariant(const QVariant& v);

    Value(const Value& other) { copyFrom(other); }
    Value(Value&& other) noexcept : m_kind(other.m_kind), m_u(other.m_u)
    {
        other.m_kind = Kind::Null;
        other.m_u.i = 0;
    }
    Value& operator=(const Value& other)
    {
        if (this != &other) {
            clear();
            copyFrom(other);
        }
        return *this;
    }
    Value& operator=(Value&& other) noexcept
    {
        if (this != &other) {
            clear();
            m_kind = other.m_kind;
            m_u = other.m_u;
            other.m_kind = Kind::Null;
            other.m_u.i = 0;
        }
        return *this;
    }
    ~Value() { clear(); }

    Kind kind() const { return m_kind; }
    bool isNull() const { return m_kind == Kind::Null; }
    bool isNumeric() const { return m_kind == Kind::Bool || m_kind == Kind::Integer || m_kind == Kind::Double; }
    // Booleans and integers, read without a call: for the predicate evaluator's fast path.
    bool isIntegral() const { return m_kind == Kind::Bool || m_kind == Kind::Integer; }
    qint64 integral() const { return m_kind == Kind::Bool ? qint64(m_u.b) : m_u.i; }

    // Readers follow the platform's rules for absent values: false, 0, 0.0, a null QString, an invalid date.
    bool toBool() const;
    qint64 toInteger() const;
    double toDouble() const;
    QString toString() const;
    // The text itself, without a copy; only for kind() == String.
    const QString& stringRef() const { return *m_u.s; }
    QDateTime toDateTime() const;          // local time
    qint64 dateMSecs() const { return m_kind == Kind::Date ? m_u.i : 0; }
    QVariant toVariant() const;

    // Exact equality of kind and content (used to skip writes that change nothing).
    bool operator==(const Value& other) const;

    // Ordering for comparisons and sorting: numbers with numbers (booleans count as 0 and 1), text with
    // text, dates with dates. Null or mixed kinds have no order: nullopt.
    static std::optional<int> compare(const Value& a, const Value& b, bool caseInsensitive = false);

private:
    void clear() noexcept
    {
        if (m_kind == Kind::String)
            delete m_u.s;
        m_kind = Kind::Null;
        m_u.i = 0;
    }
    void copyFrom(const Value& other)
    {
        m_kind = other.m_kind;
        if (m_kind == Kind::String)
            m_u.s = new QString(*other.m_u.s);
        else
            m_u = other.m_u;
    }

    Kind m_kind = Kind::Null;
    union {
        bool b;
        qint64 i;
        double d;
        QString* s;
    } m_u {};
};
