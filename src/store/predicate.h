#pragma once

#include "store/keypath.h"
#include "store/status.h"
#include "store/value.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

class EntityDescription;
class Record;

// An argument for a "%@" placeholder: a value (text, number, date, boolean) or a record.
struct PredicateArgument {
    PredicateArgument(const Value& v) : value(v) {}
    PredicateArgument(Record* r) : record(r), isRecord(true) {}
    PredicateArgument(const QString& s) : value(Value::string(s)) {}
    PredicateArgument(const char* s) : value(Value::string(QString::fromUtf8(s))) {}
    PredicateArgument(const QDateTime& d) : value(Value::date(d)) {}
    PredicateArgument(int i) : value(Value::integer(i)) {}
    PredicateArgument(qint64 i) : value(Value::integer(i)) {}

    Value value;
    Record* record = nullptr;
    bool isRecord = false;
};

// A filter over records, written in the format-string language the program uses:
//
//   comparisons   ==  =  <>  !=  <  <=  >  >=   between key paths, "%@" arguments and literals
//   literals      integers and decimals, 'text' or "text", YES NO TRUE FALSE, NULL NIL
//   text tests    BEGINSWITH ENDSWITH CONTAINS LIKE (any case), "[c]" for case-insensitive;
//                 LIKE takes "*" for any run of characters and "?" for one character
//   logic         AND && OR || NOT !, parentheses, TRUEPREDICATE, FALSEPREDICATE
//
// NULL is a value of its own: "x == NULL" holds only for an absent x, "x <> 1" holds for an absent x,
// "x == 0" and "x < %@" (any ordering) never hold for an absent x, and a text test never holds on an
// absent or non-text value. Comparing a relationship with a record argument compares identity. Booleans
// compare as the numbers 0 and 1.
//
// A predicate is immutable once parsed; copies share the parsed tree. The tree caches how it reads the
// records of an entity on first use, so a predicate belongs to one thread (the main thread's, for the
// program's predicates), like the records it reads.
class Predicate {
public:
    Predicate(); // TRUEPREDICATE
    static Result<Predicate> parse(const QString& format, const QList<PredicateArgument>& arguments = {});
    // For predicates the program writes itself: a parse error is a programming error, logged, and the
    // result matches nothing.
    static Predicate fromFormat(const QString& format, const QList<PredicateArgument>& arguments = {});
    // Parses once for use with many argument lists: the "%@" placeholders stay open until
    // withArguments fills them (an open placeholder reads as NULL). For predicates evaluated often.
    static Result<Predicate> parseTemplate(const QString& format);
    static Predicate templateFromFormat(const QString& format);
    Predicate withArguments(const QList<PredicateArgument>& arguments) const;

    static Predicate andPredicateWithSubpredicates(const QList<Predicate>& predicates);
    static Predicate orPredicateWithSubpredicates(const QList<Predicate>& predicates);

    bool evaluate(const Record& record) const;
    // Every key path exists on `entity`.
    Status validate(const EntityDescription& entity) const;
    // When a top-level AND term compares a to-one relationship of `entity` with a record ("parentContext
    // == %@"), that relationship index and record; a fetch then only needs to look at the record's inverse
    // set. {-1, nullptr} otherwise.
    std::pair<int, Record*> pinnedRelationship(const EntityDescription& entity) const;
    // A readable text form (arguments written in place).
    QString predicateFormat() const;

    struct Node;

private:
    friend struct PredicateAccess;
    static Predicate orMatchNothing(Result<Predicate> parsed);
    explicit Predicate(std::shared_ptr<const Node> root) : m_root(std::move(root)) {}
    std::shared_ptr<const Node> m_root;
};

// filteredArrayUsingPredicate
template <typename Container>
Container filteredArray(const Container& records, const Predicate& predicate)
{
    Container out;
    for (auto* r : records)
        if (predicate.evaluate(*r))
            out.push_back(r);
    return out;
}
