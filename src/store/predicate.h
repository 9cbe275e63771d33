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
// A predicate is immutable once parsed; copies share the parsed tree.
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

enum class ComparisonOp;

// A to-one relationship and a record (see PreparedPredicates); none by default.
struct PreparedKnownLink {
    int relationship = -1;
    const Record* record = nullptr;
};

// Predicates made ready for evaluating many records of one entity, for loops that test every record
// of a large set: each tree laid out in one array, and each comparison resolved once to the attribute
// or relationship it reads, so that an evaluation follows no shared pointers and looks nothing up.
// Predicates prepared together share their comparisons: one that occurs in several of them is read at
// most once per record. Answers exactly as Predicate::evaluate does; records of another entity are
// handed to the predicates themselves.
//
// Each predicate is a template filled with its own arguments, except that one placeholder (the same
// index in every template) may stay open for a record given with each evaluation: the folder of a
// folder query, say, so that one prepared set serves every folder.
class PreparedPredicates {
public:
    struct Entry {
        Predicate predicate; // filled by `arguments` as withArguments does; used as it is when there are none
        QList<PredicateArgument> arguments;
    };
    static constexpr int kMaximum = 32;

    // `parameter`: the open placeholder, an index into every entry's arguments (whose entry there is
    // not used), or -1 for none. At most kMaximum predicates.
    // `known`: a to-one relationship and the record that every record evaluated links to through it
    // (the candidates of a fetch pinned to that record): comparisons of that link with that record are
    // answered without reading the link.
    using KnownLink = PreparedKnownLink;
    PreparedPredicates(const std::vector<Entry>& predicates, const EntityDescription& entity, int parameter = -1, KnownLink known = {});

    // Bit i set when predicate i holds for `record`, asked only for the predicates whose bit is set in
    // `which`.
    std::uint32_t evaluate(const Record& record, std::uint32_t which, Record* parameter = nullptr) const;

private:
    struct Comparison {
        enum class Kind : std::uint8_t {
            AttributeWithConstant,        // attribute `index` against `constant`
            RelationshipWithRecord,       // to-one relationship `index` against `record`
            RelationshipWithParameter,    // to-one relationship `index` against the evaluation's record
            RelatedAttributeWithConstant, // attribute `attribute` of the record that to-one `index` leads to
            KnownLink,                    // the known link against its record: holds for "==", not for "<>"
            General,                      // any other comparison: the parsed `node`
            GeneralWithParameter,         // the same, reading the evaluation's record
        };
        Kind kind = Kind::General;
        ComparisonOp op {};
        int index = -1;
        int attribute = -1;
        int predicate = -1; // GeneralWithParameter: whose arguments fill the node
        int seenBit = -1;   // for a comparison that occurs more than once: its bit in Seen
        Value constant;
        const Record* record = nullptr;
        const Predicate::Node* node = nullptr;
        bool sameTest(const Comparison& other) const;
    };
    struct Step {
        enum class Kind : std::uint8_t { True, False, And, Or, Not, Comparison };
        Kind kind = Kind::True;
        std::uint32_t span = 1;       // steps in this subtree, itself included; the terms follow in order
        std::uint32_t comparison = 0; // Comparison: its index
    };
    // Shared comparisons already read for the record in hand, by their seenBit.
    struct Seen {
        std::uint64_t known = 0;
        std::uint64_t holds = 0;
    };

    void prepare(const Predicate::Node& node, int predicate);
    void prepareTerms(const Predicate::Node& node, bool conjunction, int predicate);
    Comparison resolve(const Predicate::Node& node, int predicate) const;
    bool evaluateStep(size_t step, const Record& record, Record* parameter, Seen& seen) const;
    bool evaluateTerm(size_t step, const Record& record, Record* parameter, Seen& seen) const;
    bool evaluateComparison(size_t comparison, const Record& record, Record* parameter, Seen& seen) const;
    [[gnu::noinline]] bool evaluateWithParameter(const Comparison& comparison, const Record& record, Record* parameter) const;
    bool evaluateElsewhere(size_t predicate, const Record& record, Record* parameter) const;

    std::vector<Entry> m_entries; // as given, for records of another entity
    std::vector<Predicate> m_filled; // own the nodes the comparisons point at
    int m_parameter;
    KnownLink m_known;
    const EntityDescription* m_entity;
    std::vector<std::uint32_t> m_roots;
    std::vector<Step> m_steps;
    std::vector<Comparison> m_comparisons;
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
