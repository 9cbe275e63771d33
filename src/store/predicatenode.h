#pragma once

// The parsed form of a predicate; private to the store's predicate code.

#include "store/keypath.h"
#include "store/predicate.h"

#include <memory>
#include <vector>

struct PredicateOperand {
    enum class Kind { KeyPath, Constant, RecordConstant, Placeholder };
    Kind kind = Kind::Constant;
    int placeholder = -1; // Placeholder: the index of its argument
    KeyPath path;
    Value constant;
    Record* record = nullptr;
};

enum class ComparisonOp { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual, BeginsWith, EndsWith, Contains, Like };

struct Predicate::Node {
    enum class Kind { True, False, And, Or, Not, Comparison };
    Kind kind = Kind::True;
    std::vector<std::shared_ptr<const Node>> children;
    ComparisonOp op = ComparisonOp::Equal;
    bool caseInsensitive = false;
    PredicateOperand lhs;
    PredicateOperand rhs;

    // How a comparison is evaluated on records of `entity`, worked out on first use: most comparisons
    // test one attribute against a literal, or one relationship against a record, and need none of the
    // general machinery.
    struct FastPath {
        enum class Kind { General, AttributeWithConstant, RelationshipWithRecord };
        const EntityDescription* entity = nullptr;
        Kind kind = Kind::General;
        int index = -1;
    };
    mutable FastPath fast;
};

// With `keepPlaceholders`, "%@" stays open (Placeholder operands) and `arguments` is not used.
Result<std::shared_ptr<const Predicate::Node>> parsePredicate(const QString& format, const QList<PredicateArgument>& arguments,
                                                              bool keepPlaceholders = false);

// Access to a predicate's tree, for the predicate code.
struct PredicateAccess {
    static const std::shared_ptr<const Predicate::Node>& root(const Predicate& p) { return p.m_root; }
    static Predicate make(std::shared_ptr<const Predicate::Node> n) { return Predicate(std::move(n)); }
};

// A copy of the tree with the "%@" placeholders filled from `arguments`; placeholder `open`, if any,
// stays open.
std::shared_ptr<const Predicate::Node> fillPlaceholders(const std::shared_ptr<const Predicate::Node>& node,
                                                        const QList<PredicateArgument>& arguments, int open = -1);
// A comparison node on `record`, with the NULL rules of Predicate.
bool evaluateComparison(const Predicate::Node& node, const Record& record);
// A value against a constant: NULL equals only NULL and orders nothing.
bool compareWithConstant(ComparisonOp op, const Value& v, const Value& c);

// compareWithConstant for the common cases, written out where it is used.
inline bool compareWithConstantInline(ComparisonOp op, const Value& v, const Value& c)
{
    if (v.isIntegral() && c.isIntegral()) {
        const qint64 a = v.integral();
        const qint64 b = c.integral();
        switch (op) {
        case ComparisonOp::Equal: return a == b;
        case ComparisonOp::NotEqual: return a != b;
        case ComparisonOp::Less: return a < b;
        case ComparisonOp::LessOrEqual: return a <= b;
        case ComparisonOp::Greater: return a > b;
        default: return a >= b;
        }
    }
    if (op == ComparisonOp::Equal && c.isNull())
        return v.isNull();
    return compareWithConstant(op, v, c);
}

