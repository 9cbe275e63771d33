#pragma once

#include "store/predicate.h"

#include <cstdint>
#include <vector>

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
// Belongs to the thread of the records it reads; immutable once made, so one thread may reuse it for
// many passes.
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
    // not used), or -1 for none. At most kMaximum predicates: any further ones are left out (logged)
    // and never hold; an entry without the open argument has its missing arguments read as NULL.
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
