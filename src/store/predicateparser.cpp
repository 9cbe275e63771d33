#include "store/predicatenode.h"

#include <QHash>

namespace {

struct Token {
    enum class Type { End, Identifier, Number, String, Argument, LParen, RParen, Operator, Modifier };
    Type type = Type::End;
    QString text;
    qsizetype position = 0;
};

class Lexer {
public:
    explicit Lexer(const QString& s) : m_s(s) {}

    Result<std::vector<Token>> tokenize()
    {
        std::vector<Token> out;
        while (true) {
            skipSpace();
            Token t;
            t.position = m_i;
            if (m_i >= m_s.size()) {
                out.push_back(t);
                return out;
            }
            const QChar c = m_s[m_i];
            if (c == QLatin1Char('(')) {
                t.type = Token::Type::LParen;
                ++m_i;
            } else if (c == QLatin1Char(')')) {
                t.type = Token::Type::RParen;
                ++m_i;
            } else if (c == QLatin1Char('%')) {
                if (m_i + 1 < m_s.size() && m_s[m_i + 1] == QLatin1Char('@')) {
                    t.type = Token::Type::Argument;
                    m_i += 2;
                } else {
                    return error(QStringLiteral("only %@ placeholders are supported"), m_i);
                }
            } else if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
                auto s = quoted(c);
                if (!s)
                    return s.status();
                t.type = Token::Type::String;
                t.text = *s;
            } else if (c == QLatin1Char('[')) {
                const qsizetype close = m_s.indexOf(QLatin1Char(']'), m_i);
                if (close < 0)
                    return error(QStringLiteral("unclosed ["), m_i);
                t.type = Token::Type::Modifier;
                t.text = m_s.mid(m_i + 1, close - m_i - 1).toLower();
                m_i = close + 1;
            } else if (c.isDigit() || ((c == QLatin1Char('-') || c == QLatin1Char('+')) && m_i + 1 < m_s.size() && m_s[m_i + 1].isDigit())) {
                qsizetype j = m_i + 1;
                while (j < m_s.size() && (m_s[j].isDigit() || m_s[j] == QLatin1Char('.')))
                    ++j;
                t.type = Token::Type::Number;
                t.text = m_s.mid(m_i, j - m_i);
                m_i = j;
            } else if (c.isLetter() || c == QLatin1Char('_') || c == QLatin1Char('@') || c == QLatin1Char('$')) {
                qsizetype j = m_i + 1;
                while (j < m_s.size() && (m_s[j].isLetterOrNumber() || m_s[j] == QLatin1Char('_') || m_s[j] == QLatin1Char('.') || m_s[j] == QLatin1Char('@')))
                    ++j;
                t.type = Token::Type::Identifier;
                t.text = m_s.mid(m_i, j - m_i);
                m_i = j;
            } else {
                static const char* const ops[] = {"==", "!=", "<>", "<=", ">=", "=<", "=>", "&&", "||", "=", "<", ">", "!"};
                bool found = false;
                for (const char* op : ops) {
                    const QLatin1String o(op);
                    if (QStringView(m_s).mid(m_i).startsWith(o)) {
                        t.type = Token::Type::Operator;
                        t.text = o;
                        m_i += o.size();
                        found = true;
                        break;
                    }
                }
                if (!found)
                    return error(QStringLiteral("unexpected character '%1'").arg(c), m_i);
            }
            out.push_back(t);
        }
    }

private:
    void skipSpace()
    {
        while (m_i < m_s.size() && m_s[m_i].isSpace())
            ++m_i;
    }

    Result<QString> quoted(QChar quote)
    {
        const qsizetype start = m_i;
        QString text = QStringLiteral(""); // '' is the empty text, not NULL
        ++m_i;
        while (m_i < m_s.size()) {
            const QChar c = m_s[m_i++];
            if (c == quote)
                return text;
            if (c == QLatin1Char('\\') && m_i < m_s.size()) {
                text += m_s[m_i++];
                continue;
            }
            text += c;
        }
        return Status::invalidArgument(QStringLiteral("unterminated text literal at %1").arg(start));
    }

    Status error(const QString& what, qsizetype at) const
    {
        return Status::invalidArgument(QStringLiteral("%1 at position %2 of \"%3\"").arg(what).arg(at).arg(m_s));
    }

    const QString& m_s;
    qsizetype m_i = 0;
};

using NodePtr = std::shared_ptr<const Predicate::Node>;

class Parser {
public:
    Parser(const QString& format, std::vector<Token> tokens, const QList<PredicateArgument>& args, bool keepPlaceholders)
        : m_format(format), m_tokens(std::move(tokens)), m_args(args), m_keepPlaceholders(keepPlaceholders)
    {
    }

    Result<NodePtr> parse()
    {
        auto node = orExpression();
        if (!node)
            return node;
        if (peek().type != Token::Type::End)
            return error(QStringLiteral("unexpected \"%1\"").arg(describe(peek())));
        if (!m_keepPlaceholders && m_nextArg != m_args.size())
            return Status::invalidArgument(QStringLiteral("%1 arguments given for %2 placeholders in \"%3\"")
                                               .arg(m_args.size()).arg(m_nextArg).arg(m_format));
        return node;
    }

private:
    const Token& peek() const { return m_tokens[m_pos]; }
    const Token& next() { return m_tokens[m_pos < m_tokens.size() - 1 ? m_pos++ : m_pos]; }

    static bool isWord(const Token& t, const char* word)
    {
        return t.type == Token::Type::Identifier && t.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
    }
    bool isAnd(const Token& t) const { return isWord(t, "and") || (t.type == Token::Type::Operator && t.text == QLatin1String("&&")); }
    bool isOr(const Token& t) const { return isWord(t, "or") || (t.type == Token::Type::Operator && t.text == QLatin1String("||")); }
    bool isNot(const Token& t) const { return isWord(t, "not") || (t.type == Token::Type::Operator && t.text == QLatin1String("!")); }

    static QString describe(const Token& t)
    {
        switch (t.type) {
        case Token::Type::End: return QStringLiteral("end of text");
        case Token::Type::LParen: return QStringLiteral("(");
        case Token::Type::RParen: return QStringLiteral(")");
        case Token::Type::Argument: return QStringLiteral("%@");
        case Token::Type::String: return QLatin1Char('\'') + t.text + QLatin1Char('\'');
        case Token::Type::Modifier: return QLatin1Char('[') + t.text + QLatin1Char(']');
        default: return t.text;
        }
    }

    Status error(const QString& what) const
    {
        return Status::invalidArgument(QStringLiteral("%1 at position %2 of \"%3\"").arg(what).arg(peek().position).arg(m_format));
    }

    Result<NodePtr> joined(Predicate::Node::Kind kind, Result<NodePtr> (Parser::*operand)(), bool (Parser::*isOp)(const Token&) const)
    {
        auto first = (this->*operand)();
        if (!first)
            return first;
        if (!(this->*isOp)(peek()))
            return first;
        auto node = std::make_shared<Predicate::Node>();
        node->kind = kind;
        node->children.push_back(*first);
        while ((this->*isOp)(peek())) {
            next();
            auto more = (this->*operand)();
            if (!more)
                return more;
            node->children.push_back(*more);
        }
        return NodePtr(node);
    }

    Result<NodePtr> orExpression() { return joined(Predicate::Node::Kind::Or, &Parser::andExpression, &Parser::isOr); }
    Result<NodePtr> andExpression() { return joined(Predicate::Node::Kind::And, &Parser::notExpression, &Parser::isAnd); }

    Result<NodePtr> notExpression()
    {
        if (isNot(peek())) {
            next();
            auto inner = notExpression();
            if (!inner)
                return inner;
            auto node = std::make_shared<Predicate::Node>();
            node->kind = Predicate::Node::Kind::Not;
            node->children.push_back(*inner);
            return NodePtr(node);
        }
        return primary();
    }

    Result<NodePtr> primary()
    {
        if (peek().type == Token::Type::LParen) {
            next();
            auto inner = orExpression();
            if (!inner)
                return inner;
            if (peek().type != Token::Type::RParen)
                return error(QStringLiteral("expected \")\" but found \"%1\"").arg(describe(peek())));
            next();
            return inner;
        }
        if (isWord(peek(), "truepredicate") || isWord(peek(), "falsepredicate")) {
            auto node = std::make_shared<Predicate::Node>();
            node->kind = isWord(next(), "truepredicate") ? Predicate::Node::Kind::True : Predicate::Node::Kind::False;
            return NodePtr(node);
        }
        return comparison();
    }

    Result<NodePtr> comparison()
    {
        auto node = std::make_shared<Predicate::Node>();
        node->kind = Predicate::Node::Kind::Comparison;
        auto lhs = operand();
        if (!lhs)
            return lhs.status();
        node->lhs = *lhs;
        const Token& opToken = peek();
        static const QHash<QString, ComparisonOp> symbols = {
            {QStringLiteral("=="), ComparisonOp::Equal}, {QStringLiteral("="), ComparisonOp::Equal},
            {QStringLiteral("!="), ComparisonOp::NotEqual}, {QStringLiteral("<>"), ComparisonOp::NotEqual},
            {QStringLiteral("<"), ComparisonOp::Less}, {QStringLiteral("<="), ComparisonOp::LessOrEqual},
            {QStringLiteral("=<"), ComparisonOp::LessOrEqual}, {QStringLiteral(">"), ComparisonOp::Greater},
            {QStringLiteral(">="), ComparisonOp::GreaterOrEqual}, {QStringLiteral("=>"), ComparisonOp::GreaterOrEqual},
        };
        static const QHash<QString, ComparisonOp> words = {
            {QStringLiteral("beginswith"), ComparisonOp::BeginsWith}, {QStringLiteral("endswith"), ComparisonOp::EndsWith},
            {QStringLiteral("contains"), ComparisonOp::Contains}, {QStringLiteral("like"), ComparisonOp::Like},
        };
        if (opToken.type == Token::Type::Operator && symbols.contains(opToken.text)) {
            node->op = symbols.value(opToken.text);
        } else if (opToken.type == Token::Type::Identifier && words.contains(opToken.text.toLower())) {
            node->op = words.value(opToken.text.toLower());
        } else {
            return error(QStringLiteral("expected a comparison operator but found \"%1\"").arg(describe(opToken)));
        }
        next();
        if (peek().type == Token::Type::Modifier) {
            const QString modifier = next().text;
            if (modifier != QLatin1String("c") && modifier != QLatin1String("cd") && modifier != QLatin1String("d"))
                return error(QStringLiteral("unknown option [%1]").arg(modifier));
            node->caseInsensitive = modifier.contains(QLatin1Char('c'));
        }
        auto rhs = operand();
        if (!rhs)
            return rhs.status();
        node->rhs = *rhs;
        return NodePtr(node);
    }

    Result<PredicateOperand> operand()
    {
        const Token t = peek();
        PredicateOperand out;
        switch (t.type) {
        case Token::Type::Argument: {
            next();
            if (m_keepPlaceholders) {
                out.kind = PredicateOperand::Kind::Placeholder;
                out.placeholder = int(m_nextArg++);
                return out;
            }
            if (m_nextArg >= m_args.size())
                return error(QStringLiteral("more %@ placeholders than arguments"));
            const PredicateArgument& arg = m_args[m_nextArg++];
            if (arg.isRecord) {
                out.kind = PredicateOperand::Kind::RecordConstant;
                out.record = arg.record;
            } else {
                out.constant = arg.value;
            }
            return out;
        }
        case Token::Type::String:
            next();
            out.constant = Value::string(t.text);
            return out;
        case Token::Type::Number: {
            next();
            bool ok = false;
            if (t.text.contains(QLatin1Char('.')))
                out.constant = Value::real(t.text.toDouble(&ok));
            else
                out.constant = Value::integer(t.text.toLongLong(&ok));
            if (!ok)
                return error(QStringLiteral("bad number \"%1\"").arg(t.text));
            return out;
        }
        case Token::Type::Identifier: {
            next();
            const QString lower = t.text.toLower();
            if (lower == QLatin1String("yes") || lower == QLatin1String("true"))
                out.constant = Value::boolean(true);
            else if (lower == QLatin1String("no") || lower == QLatin1String("false"))
                out.constant = Value::boolean(false);
            else if (lower == QLatin1String("null") || lower == QLatin1String("nil"))
                out.constant = Value();
            else if (isReservedWord(lower))
                return Status::invalidArgument(QStringLiteral("expected a key or a value but found \"%1\" in \"%2\"").arg(t.text, m_format));
            else {
                out.kind = PredicateOperand::Kind::KeyPath;
                out.path = KeyPath(t.text);
            }
            return out;
        }
        default:
            return error(QStringLiteral("expected a key or a value but found \"%1\"").arg(describe(t)));
        }
    }

    static bool isReservedWord(const QString& lower)
    {
        static const QStringList reserved = {QStringLiteral("and"), QStringLiteral("or"), QStringLiteral("not"),
                                             QStringLiteral("beginswith"), QStringLiteral("endswith"), QStringLiteral("contains"),
                                             QStringLiteral("like"), QStringLiteral("truepredicate"), QStringLiteral("falsepredicate")};
        return reserved.contains(lower);
    }

    const QString& m_format;
    std::vector<Token> m_tokens;
    size_t m_pos = 0;
    const QList<PredicateArgument>& m_args;
    bool m_keepPlaceholders;
    qsizetype m_nextArg = 0;
};

} // namespace

Result<NodePtr> parsePredicate(const QString& format, const QList<PredicateArgument>& arguments, bool keepPlaceholders)
{
    auto tokens = Lexer(format).tokenize();
    if (!tokens)
        return tokens.status();
    return Parser(format, std::move(*tokens), arguments, keepPlaceholders).parse();
}
