#include "store/predicate.h"

#include "store/log.h"
#include "store/predicatenode.h"
#include "store/record.h"

namespace {

using Node = Predicate::Node;

const Value kNull;

KeyRef operandValue(const PredicateOperand& operand, const Record& record, Value& scratch)
{
    switch (operand.kind) {
    case PredicateOperand::Kind::KeyPath: return operand.path.evaluateRef(record, scratch);
    case PredicateOperand::Kind::Constant: return {&operand.constant, nullptr, false};
    case PredicateOperand::Kind::RecordConstant: return {&kNull, operand.record, true};
    case PredicateOperand::Kind::Placeholder: return {&kNull};
    }
    return {&kNull};
}

// Placeholder `open`, if any, stays open.
std::shared_ptr<const Node> fillPlaceholders(const std::shared_ptr<const Node>& node, const QList<PredicateArgument>& arguments, int open = -1)
{
    auto copy = std::make_shared<Node>(*node);
    for (auto& child : copy->children)
        child = fillPlaceholders(child, arguments, open);
    for (PredicateOperand* operand : {&copy->lhs, &copy->rhs}) {
        if (operand->kind != PredicateOperand::Kind::Placeholder || operand->placeholder >= arguments.size() || operand->placeholder == open)
            continue;
        const PredicateArgument& arg = arguments[operand->placeholder];
        if (arg.isRecord) {
            operand->kind = PredicateOperand::Kind::RecordConstant;
            operand->record = arg.record;
        } else {
            operand->kind = PredicateOperand::Kind::Constant;
            operand->constant = arg.value;
        }
    }
    return copy;
}

bool equalValues(const KeyRef& a, const KeyRef& b, bool caseInsensitive)
{
    if (a.isNull() || b.isNull())
        return a.isNull() && b.isNull();
    if (a.isRecord || b.isRecord)
        return a.isRecord && b.isRecord && a.record == b.record;
    const auto c = Value::compare(*a.value, *b.value, caseInsensitive);
    return c && *c == 0;
}

// "*" any run, "?" one character; whole-string match. Case folding happens per character, so a
// case-insensitive match allocates nothing.
bool likeMatch(QStringView text, QStringView pattern, bool caseInsensitive)
{
    auto same = [caseInsensitive](QChar a, QChar b) { return a == b || (caseInsensitive && a.toCaseFolded() == b.toCaseFolded()); };
    qsizetype t = 0, p = 0, starP = -1, starT = 0;
    while (t < text.size()) {
        if (p < pattern.size() && (pattern[p] == QLatin1Char('?') || same(pattern[p], text[t]))) {
            ++t;
            ++p;
        } else if (p < pattern.size() && pattern[p] == QLatin1Char('*')) {
            starP = p++;
            starT = t;
        } else if (starP >= 0) {
            p = starP + 1;
            t = ++starT;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == QLatin1Char('*'))
        ++p;
    return p == pattern.size();
}

bool textTest(ComparisonOp op, const KeyRef& a, const KeyRef& b, bool caseInsensitive)
{
    if (a.isRecord || b.isRecord || a.value->kind() != Value::Kind::String || b.value->kind() != Value::Kind::String)
        return false;
    const QString& text = a.value->stringRef();
    const QString& pattern = b.value->stringRef();
    const Qt::CaseSensitivity cs = caseInsensitive ? Qt::CaseInsensitive : Qt::CaseSensitive;
    switch (op) {
    case ComparisonOp::BeginsWith: return text.startsWith(pattern, cs);
    case ComparisonOp::EndsWith: return text.endsWith(pattern, cs);
    case ComparisonOp::Contains: return text.contains(pattern, cs);
    case ComparisonOp::Like: return likeMatch(text, pattern, caseInsensitive);
    default: return false;
    }
}

void prepareFastPath(const Node& node, const EntityDescription& entity)
{
    using Kind = Predicate::Node::FastPath::Kind;
    node.fast = {&entity, Kind::General, -1};
    if (node.lhs.kind != PredicateOperand::Kind::KeyPath)
        return;
    const bool ordering = node.op == ComparisonOp::Less || node.op == ComparisonOp::LessOrEqual || node.op == ComparisonOp::Greater
        || node.op == ComparisonOp::GreaterOrEqual;
    const bool equality = node.op == ComparisonOp::Equal || node.op == ComparisonOp::NotEqual;
    if (node.rhs.kind == PredicateOperand::Kind::Constant && (equality || ordering) && node.rhs.constant.kind() != Value::Kind::String) {
        if (const int a = node.lhs.path.singleAttribute(entity); a >= 0)
            node.fast = {&entity, Kind::AttributeWithConstant, a};
    } else if (node.rhs.kind == PredicateOperand::Kind::RecordConstant && equality) {
        if (const int r = node.lhs.path.singleToOneRelationship(entity); r >= 0)
            node.fast = {&entity, Kind::RelationshipWithRecord, r};
    }
}

// The same rules as the general path: NULL equals only NULL, orders nothing.
bool compareWithConstant(ComparisonOp op, const Value& v, const Value& c)
{
    if (op == ComparisonOp::Equal || op == ComparisonOp::NotEqual) {
        bool equal;
        if (v.isNull() || c.isNull())
            equal = v.isNull() && c.isNull();
        else if (v.isIntegral() && c.isIntegral())
            equal = v.integral() == c.integral();
        else {
            const auto r = Value::compare(v, c);
            equal = r && *r == 0;
        }
        return op == ComparisonOp::Equal ? equal : !equal;
    }
    int order;
    if (v.isNull() || c.isNull())
        return false;
    if (v.kind() == Value::Kind::Date && c.kind() == Value::Kind::Date) {
        order = v.dateMSecs() < c.dateMSecs() ? -1 : (v.dateMSecs() > c.dateMSecs() ? 1 : 0);
    } else if (v.isIntegral() && c.isIntegral()) {
        order = v.integral() < c.integral() ? -1 : (v.integral() > c.integral() ? 1 : 0);
    } else {
        const auto r = Value::compare(v, c);
        if (!r)
            return false;
        order = *r;
    }
    switch (op) {
    case ComparisonOp::Less: return order < 0;
    case ComparisonOp::LessOrEqual: return order <= 0;
    case ComparisonOp::Greater: return order > 0;
    default: return order >= 0;
    }
}

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

bool evaluateComparison(const Node& node, const Record& record)
{
    if (node.fast.entity != &record.entity())
        prepareFastPath(node, record.entity());
    switch (node.fast.kind) {
    case Predicate::Node::FastPath::Kind::AttributeWithConstant:
        return compareWithConstant(node.op, record.primitiveValue(node.fast.index), node.rhs.constant);
    case Predicate::Node::FastPath::Kind::RelationshipWithRecord: {
        const bool equal = record.toOne(node.fast.index) == node.rhs.record;
        return node.op == ComparisonOp::Equal ? equal : !equal;
    }
    case Predicate::Node::FastPath::Kind::General: break;
    }

    Value scratchA, scratchB;
    const KeyRef a = operandValue(node.lhs, record, scratchA);
    const KeyRef b = operandValue(node.rhs, record, scratchB);
    switch (node.op) {
    case ComparisonOp::Equal: return equalValues(a, b, node.caseInsensitive);
    case ComparisonOp::NotEqual: return !equalValues(a, b, node.caseInsensitive);
    case ComparisonOp::Less:
    case ComparisonOp::LessOrEqual:
    case ComparisonOp::Greater:
    case ComparisonOp::GreaterOrEqual: {
        if (a.isRecord || b.isRecord)
            return false;
        const auto c = Value::compare(*a.value, *b.value, node.caseInsensitive);
        if (!c)
            return false;
        switch (node.op) {
        case ComparisonOp::Less: return *c < 0;
        case ComparisonOp::LessOrEqual: return *c <= 0;
        case ComparisonOp::Greater: return *c > 0;
        default: return *c >= 0;
        }
    }
    default: return textTest(node.op, a, b, node.caseInsensitive);
    }
}

bool evaluateNode(const Node& node, const Record& record)
{
    switch (node.kind) {
    case Node::Kind::True: return true;
    case Node::Kind::False: return false;
    case Node::Kind::Not: return !evaluateNode(*node.children.front(), record);
    case Node::Kind::And:
        for (const auto& child : node.children)
            if (!evaluateNode(*child, record))
                return false;
        return true;
    case Node::Kind::Or:
        for (const auto& child : node.children)
            if (evaluateNode(*child, record))
                return true;
        return false;
    case Node::Kind::Comparison: return evaluateComparison(node, record);
    }
    return false;
}

Status validateNode(const Node& node, const EntityDescription& entity)
{
    for (const auto& child : node.children)
        if (Status s = validateNode(*child, entity); !s.isOk())
            return s;
    if (node.kind == Node::Kind::Comparison) {
        for (const PredicateOperand* operand : {&node.lhs, &node.rhs})
            if (operand->kind == PredicateOperand::Kind::KeyPath)
                if (Status s = operand->path.validate(entity); !s.isOk())
                    return s;
    }
    return Status::ok();
}

QString quotedText(const QString& s)
{
    QString escaped = s;
    escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

QString operandText(const PredicateOperand& operand)
{
    switch (operand.kind) {
    case PredicateOperand::Kind::KeyPath: return operand.path.text();
    case PredicateOperand::Kind::RecordConstant: return operand.record ? operand.record->uri() : QStringLiteral("NULL");
    case PredicateOperand::Kind::Placeholder: return QStringLiteral("%@");
    case PredicateOperand::Kind::Constant:
        switch (operand.constant.kind()) {
        case Value::Kind::Null: return QStringLiteral("NULL");
        case Value::Kind::Bool: return operand.constant.toBool() ? QStringLiteral("YES") : QStringLiteral("NO");
        case Value::Kind::String: return quotedText(operand.constant.toString());
        case Value::Kind::Date: return QLatin1String("CAST(\"") + operand.constant.toString() + QLatin1String("\")");
        default: return operand.constant.toString();
        }
    }
    return {};
}

QString nodeText(const Node& node, bool nested)
{
    switch (node.kind) {
    case Node::Kind::True: return QStringLiteral("TRUEPREDICATE");
    case Node::Kind::False: return QStringLiteral("FALSEPREDICATE");
    case Node::Kind::Not: return QStringLiteral("NOT ") + nodeText(*node.children.front(), true);
    case Node::Kind::And:
    case Node::Kind::Or: {
        QStringList parts;
        for (const auto& child : node.children)
            parts << nodeText(*child, true);
        const QString joined = parts.join(node.kind == Node::Kind::And ? QStringLiteral(" AND ") : QStringLiteral(" OR "));
        return nested ? QLatin1Char('(') + joined + QLatin1Char(')') : joined;
    }
    case Node::Kind::Comparison: {
        static const char* const names[] = {"==", "!=", "<", "<=", ">", ">=", "BEGINSWITH", "ENDSWITH", "CONTAINS", "LIKE"};
        QString op = QLatin1String(names[int(node.op)]);
        if (node.caseInsensitive)
            op += QLatin1String("[c]");
        return operandText(node.lhs) + QLatin1Char(' ') + op + QLatin1Char(' ') + operandText(node.rhs);
    }
    }
    return {};
}

} // namespace

Predicate::Predicate() : m_root(std::make_shared<Node>())
{
}

Result<Predicate> Predicate::parse(const QString& format, const QList<PredicateArgument>& arguments)
{
    auto root = parsePredicate(format, arguments);
    if (!root)
        return root.status();
    return Predicate(*root);
}

// For predicates the program writes itself: a parse error is logged and the result matches nothing.
Predicate Predicate::orMatchNothing(Result<Predicate> parsed)
{
    if (parsed)
        return *parsed;
    logLine(QStringLiteral("Bad predicate: ") + parsed.status().message());
    auto node = std::make_shared<Node>();
    node->kind = Node::Kind::False;
    return Predicate(node);
}

Predicate Predicate::fromFormat(const QString& format, const QList<PredicateArgument>& arguments)
{
    return orMatchNothing(parse(format, arguments));
}

Result<Predicate> Predicate::parseTemplate(const QString& format)
{
    auto root = parsePredicate(format, {}, true);
    if (!root)
        return root.status();
    return Predicate(*root);
}

Predicate Predicate::templateFromFormat(const QString& format)
{
    return orMatchNothing(parseTemplate(format));
}

Predicate Predicate::withArguments(const QList<PredicateArgument>& arguments) const
{
    return Predicate(fillPlaceholders(m_root, arguments));
}

static Predicate joinPredicates(Predicate::Node::Kind kind, const QList<Predicate>& predicates);

Predicate Predicate::andPredicateWithSubpredicates(const QList<Predicate>& predicates)
{
    return joinPredicates(Node::Kind::And, predicates);
}

Predicate Predicate::orPredicateWithSubpredicates(const QList<Predicate>& predicates)
{
    return joinPredicates(Node::Kind::Or, predicates);
}

struct PredicateAccess {
    static const std::shared_ptr<const Predicate::Node>& root(const Predicate& p) { return p.m_root; }
    static Predicate make(std::shared_ptr<const Predicate::Node> n) { return Predicate(std::move(n)); }
};

static Predicate joinPredicates(Predicate::Node::Kind kind, const QList<Predicate>& predicates)
{
    auto node = std::make_shared<Predicate::Node>();
    if (predicates.isEmpty()) {
        // As the platform does: an empty AND holds, an empty OR does not.
        node->kind = kind == Predicate::Node::Kind::And ? Predicate::Node::Kind::True : Predicate::Node::Kind::False;
        return PredicateAccess::make(node);
    }
    node->kind = kind;
    for (const Predicate& p : predicates)
        node->children.push_back(PredicateAccess::root(p));
    return PredicateAccess::make(node);
}

bool Predicate::evaluate(const Record& record) const
{
    return evaluateNode(*m_root, record);
}

Status Predicate::validate(const EntityDescription& entity) const
{
    return validateNode(*m_root, entity);
}

std::pair<int, Record*> Predicate::pinnedRelationship(const EntityDescription& entity) const
{
    std::vector<const Node*> terms {m_root.get()};
    while (!terms.empty()) {
        const Node* n = terms.back();
        terms.pop_back();
        if (n->kind == Node::Kind::And) {
            for (const auto& child : n->children)
                terms.push_back(child.get());
            continue;
        }
        if (n->kind != Node::Kind::Comparison || n->op != ComparisonOp::Equal)
            continue;
        const PredicateOperand* path = nullptr;
        const PredicateOperand* record = nullptr;
        if (n->lhs.kind == PredicateOperand::Kind::KeyPath && n->rhs.kind == PredicateOperand::Kind::RecordConstant) {
            path = &n->lhs;
            record = &n->rhs;
        } else if (n->rhs.kind == PredicateOperand::Kind::KeyPath && n->lhs.kind == PredicateOperand::Kind::RecordConstant) {
            path = &n->rhs;
            record = &n->lhs;
        } else {
            continue;
        }
        const int rel = path->path.singleToOneRelationship(entity);
        if (rel < 0 || !record->record || entity.relationships()[size_t(rel)].inverseIndex < 0)
            continue;
        if (&record->record->entity() != entity.relationships()[size_t(rel)].destination)
            continue;
        return {rel, record->record};
    }
    return {-1, nullptr};
}

QString Predicate::predicateFormat() const
{
    return nodeText(*m_root, false);
}

PreparedPredicates::PreparedPredicates(const std::vector<Entry>& predicates, const EntityDescription& entity, int parameter, KnownLink known)
    : m_entries(predicates), m_parameter(parameter), m_known(known), m_entity(&entity)
{
    Q_ASSERT(predicates.size() <= size_t(kMaximum));
    for (size_t i = 0; i < m_entries.size(); ++i) {
        const Entry& entry = m_entries[i];
        Q_ASSERT(parameter < 0 || parameter < entry.arguments.size());
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
