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
