#pragma once

#include "gel/Program.h"
#include "gel/detail/Emitter.h"
#include "gel/detail/Lexer.h"
#include "gel/detail/TreeBuilder.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace gel::detail {

/// Precedence-climbing parser that emits instructions in one pass.
class Parser {
public:
    static constexpr std::size_t MAX_BYTES = 65'536;
    static constexpr std::size_t MAX_NESTING = 200;

    /// Parses `text`. *Throws* `ParseError` at the first error from the left.
    static Program parse(std::string const& text);
    /// Parses `text` into unfolded code and collects its nodes. *Throws* `ParseError` at the first error from the left.
    static Program parse(std::string const& text, TreeBuilder& nodes);

private:
    Parser(std::string_view text, TreeBuilder* nodes);

    // One operation per grammar rule, loosest first.
    void whole();
    void conditional();
    void operation(Binding loosest);
    void comparison(Operator const& relation);
    void membership();
    void match();
    void combination(Operator const& row);
    void operand();
    bool prefixed();
    void primary();
    void call();
    void parenthesis();

    void constant(Operand const& value);
    void join(Tree::Kind kind, std::size_t parts, Extent more = {});

    Token const& token() const noexcept { return m_lexer.token(); }
    Extent extent() const noexcept { return {token().offset, token().offset + token().spelling.size()}; }
    Operator const& row() const noexcept { return rowOf(token().sign); }
    bool accept(Sign sign);
    void expect(Sign sign, std::string const& purpose);
    /// Accepts a closing sign. Returns the extent from the opening one on.
    Extent close(Sign closing, Sign opening, std::size_t openedAt);
    void enter(std::size_t offset);
    void leave() noexcept { --m_nesting; }

    std::string found() const;
    [[noreturn]] void fail(std::string const& reason) const { m_lexer.fail(token().offset, reason); }
    [[noreturn]] void failOperand() const;
    [[noreturn]] void failEnd() const;

    Lexer m_lexer;
    Emitter m_code;
    TreeBuilder* m_nodes;   // null unless a tree is wanted
    std::size_t m_nesting = 0;
};

}   // namespace gel::detail
