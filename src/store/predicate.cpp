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

} // namespace

// Placeholder `open`, if any, stays open.
std::shared_ptr<const Node> fillPlaceholders(const std::shared_ptr<const Node>& node, const QList<PredicateArgument>& arguments, int open)
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

namespace {

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

} // namespace

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

namespace {

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
