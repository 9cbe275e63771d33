#include "store/preparedpredicates.h"

#include "store/check.h"
#include "store/predicatenode.h"
#include "store/record.h"

namespace {
using Node = Predicate::Node;
const Value kNull;
} // namespace

PreparedPredicates::PreparedPredicates(const std::vector<Entry>& predicates, const EntityDescription& entity, int parameter, KnownLink known)
    : m_entries(predicates), m_parameter(parameter), m_known(known), m_entity(&entity)
{
    // The answers are bits of a 32-bit mask: predicates past the last bit are left out and never hold.
    if (!VYRO_CHECK(m_entries.size() <= size_t(kMaximum)))
        m_entries.resize(size_t(kMaximum));
    for (size_t i = 0; i < m_entries.size(); ++i) {
        Entry& entry = m_entries[i];
        // Every entry needs a place for the open argument; missing arguments read as NULL.
        if (parameter >= 0 && !VYRO_CHECK(parameter < entry.arguments.size()))
            while (entry.arguments.size() <= parameter)
                entry.arguments.append(PredicateArgument(Value()));
        if (entry.arguments.isEmpty())
            m_filled.push_back(entry.predicate);
        else
            m_filled.push_back(PredicateAccess::make(fillPlaceholders(PredicateAccess::root(entry.predicate), entry.arguments, parameter)));
        m_roots.push_back(std::uint32_t(m_steps.size()));
        prepare(*PredicateAccess::root(m_filled.back()), int(i));
    }
    std::vector<int> uses(m_comparisons.size(), 0);
    for (const Step& step : m_steps)
        if (step.kind == Step::Kind::Comparison)
            ++uses[step.comparison];
    int bits = 0;
    for (size_t i = 0; i < m_comparisons.size() && bits < 64; ++i)
        if (uses[i] > 1)
            m_comparisons[i].seenBit = bits++;
}

bool PreparedPredicates::Comparison::sameTest(const Comparison& other) const
{
    if (kind != other.kind || op != other.op || index != other.index || attribute != other.attribute || record != other.record)
        return false;
    switch (kind) {
    case Kind::AttributeWithConstant:
    case Kind::RelatedAttributeWithConstant: return constant == other.constant;
    case Kind::RelationshipWithRecord:
    case Kind::RelationshipWithParameter:
    case Kind::KnownLink: return true;
    case Kind::General:
    case Kind::GeneralWithParameter: return false; // never shared
    }
    return false;
}

void PreparedPredicates::prepare(const Node& node, int predicate)
{
    const size_t at = m_steps.size();
    m_steps.emplace_back();
    switch (node.kind) {
    case Node::Kind::True: m_steps[at].kind = Step::Kind::True; break;
    case Node::Kind::False: m_steps[at].kind = Step::Kind::False; break;
    case Node::Kind::Not:
        m_steps[at].kind = Step::Kind::Not;
        prepare(*node.children.front(), predicate);
        break;
    case Node::Kind::And:
    case Node::Kind::Or:
        m_steps[at].kind = node.kind == Node::Kind::And ? Step::Kind::And : Step::Kind::Or;
        prepareTerms(node, node.kind == Node::Kind::And, predicate);
        break;
    case Node::Kind::Comparison: {
        m_steps[at].kind = Step::Kind::Comparison;
        Comparison comparison = resolve(node, predicate);
        size_t index = 0;
        while (index < m_comparisons.size() && !m_comparisons[index].sameTest(comparison))
            ++index;
        if (index == m_comparisons.size())
            m_comparisons.push_back(std::move(comparison));
        m_steps[at].comparison = std::uint32_t(index);
        break;
    }
    }
    m_steps[at].span = std::uint32_t(m_steps.size() - at);
}

// The terms of an AND (OR), with the terms of any AND (OR) among them taken in their place: the same
// truth, fewer steps.
void PreparedPredicates::prepareTerms(const Node& node, bool conjunction, int predicate)
{
    const Node::Kind kind = conjunction ? Node::Kind::And : Node::Kind::Or;
    for (const auto& child : node.children)
        if (child->kind == kind)
            prepareTerms(*child, conjunction, predicate);
        else
            prepare(*child, predicate);
}

// The comparisons the evaluator's own fast path takes, under the same conditions, and besides them a
// relationship followed by an attribute.
PreparedPredicates::Comparison PreparedPredicates::resolve(const Node& node, int predicate) const
{
    Comparison out;
    out.op = node.op;
    out.node = &node;
    const auto isParameter = [this](const PredicateOperand& operand) {
        return m_parameter >= 0 && operand.kind == PredicateOperand::Kind::Placeholder && operand.placeholder == m_parameter;
    };
    const bool withParameter = isParameter(node.lhs) || isParameter(node.rhs);
    if (withParameter) {
        out.kind = Comparison::Kind::GeneralWithParameter;
        out.predicate = predicate;
    }
    if (node.lhs.kind != PredicateOperand::Kind::KeyPath)
        return out;
    const bool ordering = node.op == ComparisonOp::Less || node.op == ComparisonOp::LessOrEqual || node.op == ComparisonOp::Greater
        || node.op == ComparisonOp::GreaterOrEqual;
    const bool equality = node.op == ComparisonOp::Equal || node.op == ComparisonOp::NotEqual;
    if (node.rhs.kind == PredicateOperand::Kind::Constant && (equality || ordering) && node.rhs.constant.kind() != Value::Kind::String) {
        if (const int a = node.lhs.path.singleAttribute(*m_entity); a >= 0) {
            out.kind = Comparison::Kind::AttributeWithConstant;
            out.index = a;
            out.constant = node.rhs.constant;
        } else if (const auto [r, ra] = node.lhs.path.relatedAttribute(*m_entity); r >= 0) {
            out.kind = Comparison::Kind::RelatedAttributeWithConstant;
            out.index = r;
            out.attribute = ra;
            out.constant = node.rhs.constant;
        }
    } else if ((node.rhs.kind == PredicateOperand::Kind::RecordConstant || isParameter(node.rhs)) && equality) {
        if (const int r = node.lhs.path.singleToOneRelationship(*m_entity); r >= 0) {
            out.kind = withParameter ? Comparison::Kind::RelationshipWithParameter : Comparison::Kind::RelationshipWithRecord;
            out.index = r;
            out.record = withParameter ? nullptr : node.rhs.record;
            if (!withParameter && r == m_known.relationship && out.record == m_known.record)
                out.kind = Comparison::Kind::KnownLink;
        }
    }
    return out;
}

std::uint32_t PreparedPredicates::evaluate(const Record& record, std::uint32_t which, Record* parameter) const
{
    std::uint32_t out = 0;
    if (&record.entity() != m_entity) {
        for (size_t i = 0; i < m_roots.size(); ++i)
            if ((which >> i & 1) && evaluateElsewhere(i, record, parameter))
                out |= std::uint32_t(1) << i;
        return out;
    }
    Seen seen;
    for (size_t i = 0; i < m_roots.size(); ++i)
        if ((which >> i & 1) && evaluateStep(m_roots[i], record, parameter, seen))
            out |= std::uint32_t(1) << i;
    return out;
}

bool PreparedPredicates::evaluateElsewhere(size_t predicate, const Record& record, Record* parameter) const
{
    const Entry& entry = m_entries[predicate];
    if (entry.arguments.isEmpty())
        return entry.predicate.evaluate(record);
    QList<PredicateArgument> arguments = entry.arguments;
    if (m_parameter >= 0)
        arguments[m_parameter] = parameter;
    return entry.predicate.withArguments(arguments).evaluate(record);
}

bool PreparedPredicates::evaluateStep(size_t at, const Record& record, Record* parameter, Seen& seen) const
{
    const Step& step = m_steps[at];
    switch (step.kind) {
    case Step::Kind::True: return true;
    case Step::Kind::False: return false;
    case Step::Kind::Not: return !evaluateTerm(at + 1, record, parameter, seen);
    case Step::Kind::And:
        for (size_t term = at + 1, end = at + step.span; term < end; term += m_steps[term].span)
            if (!evaluateTerm(term, record, parameter, seen))
                return false;
        return true;
    case Step::Kind::Or:
        for (size_t term = at + 1, end = at + step.span; term < end; term += m_steps[term].span)
            if (evaluateTerm(term, record, parameter, seen))
                return true;
        return false;
    case Step::Kind::Comparison: return evaluateComparison(step.comparison, record, parameter, seen);
    }
    return false;
}

inline bool PreparedPredicates::evaluateTerm(size_t at, const Record& record, Record* parameter, Seen& seen) const
{
    const Step& step = m_steps[at];
    return step.kind == Step::Kind::Comparison ? evaluateComparison(step.comparison, record, parameter, seen)
                                               : evaluateStep(at, record, parameter, seen);
}

inline bool PreparedPredicates::evaluateComparison(size_t index, const Record& record, Record* parameter, Seen& seen) const
{
    const Comparison& comparison = m_comparisons[index];
    // Only a shared comparison is worth remembering.
    const std::uint64_t bit = comparison.seenBit >= 0 ? std::uint64_t(1) << comparison.seenBit : 0;
    if (seen.known & bit)
        return seen.holds & bit;
    bool holds;
    switch (comparison.kind) {
    case Comparison::Kind::AttributeWithConstant:
        holds = compareWithConstantInline(comparison.op, record.primitiveValue(comparison.index), comparison.constant);
        break;
    case Comparison::Kind::RelationshipWithRecord:
    case Comparison::Kind::RelationshipWithParameter: {
        const Record* target = comparison.kind == Comparison::Kind::RelationshipWithRecord ? comparison.record : parameter;
        const bool equal = record.toOne(comparison.index) == target;
        holds = comparison.op == ComparisonOp::Equal ? equal : !equal;
        break;
    }
    case Comparison::Kind::KnownLink: holds = comparison.op == ComparisonOp::Equal; break;
    case Comparison::Kind::RelatedAttributeWithConstant: {
        // An absent record in the middle of the path reads as NULL.
        const Record* related = record.toOne(comparison.index);
        holds = compareWithConstantInline(comparison.op, related ? related->primitiveValue(comparison.attribute) : kNull, comparison.constant);
        break;
    }
    case Comparison::Kind::General: holds = ::evaluateComparison(*comparison.node, record); break;
    case Comparison::Kind::GeneralWithParameter: holds = evaluateWithParameter(comparison, record, parameter); break;
    default: holds = false;
    }
    if (bit) {
        seen.known |= bit;
        if (holds)
            seen.holds |= bit;
    }
    return holds;
}

// Rare: the comparison filled with the record for this one evaluation.
bool PreparedPredicates::evaluateWithParameter(const Comparison& comparison, const Record& record, Record* parameter) const
{
    QList<PredicateArgument> arguments = m_entries[size_t(comparison.predicate)].arguments;
    arguments[m_parameter] = parameter;
    const std::shared_ptr<const Node> unowned(std::shared_ptr<const Node>(), comparison.node);
    return ::evaluateComparison(*fillPlaceholders(unowned, arguments), record);
}
