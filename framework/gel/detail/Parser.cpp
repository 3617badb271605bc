#include "gel/detail/Parser.h"

#include "gel/ParseError.h"
#include "gel/detail/Functions.h"

#include <utility>

namespace gel::detail {

namespace {

std::string quoted(std::string_view text)
{
    return "'" + std::string(text) + "'";
}

std::string arity(Function const& function)
{
    if (function.most == MAX_ARGUMENTS)
        return "at least " + std::to_string(function.fewest) + (function.fewest == 1 ? " argument" : " arguments");
    if (function.fewest < function.most)
        return std::to_string(function.fewest) + " or " + std::to_string(function.most) + " arguments";
    return std::to_string(function.most) + (function.most == 1 ? " argument" : " arguments");
}

std::string_view withinLimit(std::string_view text)
{
    if (text.size() > Parser::MAX_BYTES) {
        throw ParseError(text, 0,
                         "a text of " + std::to_string(text.size()) + " bytes is too long; at most " +
                             std::to_string(Parser::MAX_BYTES) + " are allowed");
    }
    return text;
}

}   // namespace

Program Parser::parse(std::string const& text)
{
    Parser parser(text, nullptr);
    parser.whole();
    return std::move(parser.m_code).finish(text);
}

Program Parser::parse(std::string const& text, TreeBuilder& nodes)
{
    Parser parser(text, &nodes);
    parser.whole();
    return std::move(parser.m_code).finish(text);
}

Parser::Parser(std::string_view text, TreeBuilder* nodes)
    : m_lexer(withinLimit(text)), m_code(nodes == nullptr), m_nodes(nodes)
{}

void Parser::whole()
{
    if (token().sign == Sign::End)
        fail("empty expression");
    conditional();
    if (token().sign != Sign::End)
        failEnd();
}

void Parser::conditional()
{
    Emitter::Start const start = m_code.start();
    operation(CHOICE);
    std::size_t const question = token().offset;
    if (!accept(Sign::Question))
        return;

    Emitter::Jumps otherwise;
    Emitter::Jumps end;
    m_code.jump(Operation::Choose, otherwise);
    enter(question);
    conditional();
    leave();
    m_code.jump(Operation::Jump, end);
    std::size_t const colon = token().offset;
    expect(Sign::Colon, "of the '?' at " + m_lexer.place(question));
    m_code.land(otherwise);
    enter(colon);
    conditional();
    leave();
    m_code.land(end);
    m_code.fold(start);
    join(Tree::Kind::Conditional, 3);
}

/// Parses an operand and all operators behind it that bind tighter than `loosest`.
void Parser::operation(Binding loosest)
{
    Emitter::Start const start = m_code.start();
    operand();
    Binding tightest = PRODUCT;
    while (row().binds > loosest && row().binds <= tightest) {
        // After an operand no tighter operator can follow; after a list or a pattern one could, and must not bind to
        // it.
        tightest = row().binds;
        if (tightest == COMPARISON)
            comparison(row());
        else
            combination(row());
        m_code.fold(start);
    }
}

void Parser::comparison(Operator const& relation)
{
    switch (relation.sign) {
    case Sign::In:
    case Sign::NotWord: membership(); break;
    case Sign::Matches: match(); break;
    default:
        m_lexer.advance();
        operation(relation.right);
        m_code.apply(relation.operation);
        join(kindOf(relation.sign), 2);
    }
    if (row().binds == COMPARISON)
        fail("comparisons do not chain; use && or parentheses");
}

void Parser::membership()
{
    bool const isWanted = !accept(Sign::NotWord);
    expect(Sign::In, "after 'not'");
    std::size_t const opening = token().offset;
    expect(Sign::OpenBracket, "after 'in'");
    enter(opening);
    Emitter::Jumps found;
    std::size_t items = 0;
    if (token().sign != Sign::CloseBracket) {
        do {
            conditional();
            m_code.jump(Operation::SkipIfItem, found, isWanted);
            ++items;
        } while (accept(Sign::Comma));
    }
    Extent const list = close(Sign::CloseBracket, Sign::OpenBracket, opening);
    leave();
    m_code.endOfList(!isWanted);
    m_code.land(found);
    join(isWanted ? Tree::Kind::In : Tree::Kind::NotIn, 1 + items, list);
}

void Parser::match()
{
    RegexToken regex;
    if (!m_lexer.regex(regex))
        fail("expected a regular expression /.../ after '=~', found " + found());
    PatternFault fault;
    std::unique_ptr<Pattern const> pattern = Pattern::compile(regex.pattern, regex.flags, fault);
    if (!pattern)
        m_lexer.fail(regex.offset + fault.offset, "regular expression: " + fault.reason);
    if (m_nodes)   // with both slashes
        m_nodes->pattern({regex.offset - 1, regex.offset + regex.pattern.size() + 1 + regex.flags.size()},
                         m_code.position());
    m_code.match(std::move(pattern));
    join(Tree::Kind::Match, 2);
}

void Parser::combination(Operator const& row)
{
    std::size_t const offset = token().offset;
    m_lexer.advance();
    Emitter::Jumps skip;
    switch (row.sign) {
    case Sign::And:
    case Sign::Or:
        m_code.jump(row.operation, skip);
        operation(row.right);
        m_code.apply(Operation::Truth);
        break;
    case Sign::Coalesce:
        m_code.jump(row.operation, skip);
        enter(offset);
        operation(row.right);
        leave();
        break;
    default: operation(row.right); m_code.apply(row.operation);
    }
    m_code.land(skip);
    join(kindOf(row.sign), 2);
}

void Parser::operand()
{
    bool const isNegated = prefixed();
    if (isNegated && row().binds >= COMPARISON)
        fail("'!' applies only to what follows it; use parentheses before " + quoted(token().spelling));
}

/// Parses a primary with its prefix operators. Returns true if `!` is among them.
bool Parser::prefixed()
{
    Sign const sign = token().sign;
    if (sign != Sign::Not && sign != Sign::Minus) {
        primary();
        return false;
    }
    Emitter::Start const start = m_code.start();
    Extent const prefix = extent();
    enter(prefix.begin);
    m_lexer.advance();
    bool const isNegated = prefixed();
    leave();
    m_code.apply(sign == Sign::Not ? Operation::Not : Operation::Negate);
    m_code.fold(start);
    join(sign == Sign::Not ? Tree::Kind::Not : Tree::Kind::Negate, 1, prefix);
    return isNegated || sign == Sign::Not;
}

void Parser::primary()
{
    switch (token().sign) {
    case Sign::Number: constant(Operand(Value(token().number))); break;
    case Sign::String: constant(Operand(token().text)); break;
    case Sign::True:
    case Sign::False: constant(Operand(token().sign == Sign::True)); break;
    case Sign::Undefined: constant(Operand::undefined()); break;
    case Sign::Name:
        if (m_lexer.callFollows())
            return call();
        m_code.read(token().text);
        if (m_nodes)
            m_nodes->symbol(extent(), token().text, m_code.position());
        break;
    case Sign::OpenParenthesis: return parenthesis();
    default: failOperand();
    }
    m_lexer.advance();
}

void Parser::call()
{
    Emitter::Start const start = m_code.start();
    bool const isCallable = token().isCallable;
    std::size_t const name = token().offset;
    Function const* const function = functionNamed(token().text);
    if (isCallable && !function)
        fail("unknown function " + quoted(token().text));
    m_lexer.advance();
    if (!isCallable)
        fail("only a plain name can be called");

    std::size_t const opening = token().offset;
    enter(opening);
    m_lexer.advance();
    std::size_t count = 0;
    if (token().sign != Sign::CloseParenthesis) {
        do {
            if (++count > MAX_ARGUMENTS)
                fail("a call takes at most " + std::to_string(MAX_ARGUMENTS) + " arguments");
            conditional();
        } while (accept(Sign::Comma));
    }
    Extent const arguments = close(Sign::CloseParenthesis, Sign::OpenParenthesis, opening);
    leave();
    if (count < function->fewest || count > function->most) {
        m_lexer.fail(name, quoted(function->name) + " takes " + arity(*function) + ", not " + std::to_string(count));
    }
    m_code.call(*function, count);
    m_code.fold(start);
    if (m_nodes)
        m_nodes->join(Tree::Kind::Call, count, m_code.position(), {name, arguments.end}, function->name);
}

void Parser::parenthesis()
{
    std::size_t const opening = token().offset;
    enter(opening);
    m_lexer.advance();
    conditional();
    Extent const group = close(Sign::CloseParenthesis, Sign::OpenParenthesis, opening);
    leave();
    if (m_nodes)
        m_nodes->group(group);
}

void Parser::constant(Operand const& value)
{
    m_code.constant(value);
    if (m_nodes)
        m_nodes->constant(extent(), value.release(), m_code.position());
}

void Parser::join(Tree::Kind kind, std::size_t parts, Extent more)
{
    if (m_nodes)
        m_nodes->join(kind, parts, m_code.position(), more);
}

bool Parser::accept(Sign sign)
{
    if (token().sign != sign)
        return false;
    m_lexer.advance();
    return true;
}

void Parser::expect(Sign sign, std::string const& purpose)
{
    if (!accept(sign))
        fail("expected " + quoted(rowOf(sign).spelling) + " " + purpose + ", found " + found());
}

Extent Parser::close(Sign closing, Sign opening, std::size_t openedAt)
{
    std::size_t const end = extent().end;
    if (token().sign != closing)
        expect(closing, "to close the " + quoted(rowOf(opening).spelling) + " at " + m_lexer.place(openedAt));
    m_lexer.advance();
    return {openedAt, end};
}

void Parser::enter(std::size_t offset)
{
    if (++m_nesting > MAX_NESTING)
        m_lexer.fail(offset, "nested more than " + std::to_string(MAX_NESTING) + " levels deep");
}

std::string Parser::found() const
{
    return token().sign == Sign::End ? "end of text" : quoted(token().spelling);
}

void Parser::failOperand() const
{
    if (token().sign == Sign::Null)
        fail("'null' is reserved; the absent value is written undefined");
    fail("expected an operand, found " + found() + (token().sign == Sign::NotWord ? "; negation is written !" : ""));
}

void Parser::failEnd() const
{
    std::string reason = "unexpected " + found() + " after the end of the expression";
    switch (token().sign) {
    case Sign::Name:
        if (token().spelling == "and" || token().spelling == "or") {
            reason += token().spelling == "and" ? "; did you mean '&&'?" : "; did you mean '||'?";
            break;
        }
        [[fallthrough]];
    case Sign::Number:
    case Sign::String:
    case Sign::True:
    case Sign::False:
    case Sign::Undefined:
    case Sign::Not:
    case Sign::OpenParenthesis: reason += "; is && or || missing before it?"; break;
    default: break;
    }
    fail(reason);
}

}   // namespace gel::detail
