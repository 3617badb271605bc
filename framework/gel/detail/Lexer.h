#pragma once

#include "gel/detail/Operators.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace gel::detail {

/// One token of a text.
struct Token {
    Sign sign = Sign::End;
    std::size_t offset = 0;
    std::string_view spelling;   // as it stands in the text
    std::string text;            // of a String or a Name, without quotes and escapes
    double number = 0;           // of a Number
    bool isCallable = false;     // of a Name: one plain part
};

/// A regular expression between its slashes, and its flags.
struct RegexToken {
    std::size_t offset = 0;   // of the pattern
    std::string_view pattern;
    std::string_view flags;
};

/// Reads a text token by token. What is no token throws `ParseError` when it is reached, not before.
class Lexer {
public:
    /// Stands on the first token. Lifetime: only looks at `text`.
    explicit Lexer(std::string_view text);

    Token const& token() const noexcept { return m_token; }
    void advance();

    /// Whether the token after this one is an opening parenthesis.
    bool callFollows() const noexcept;

    /// Reads the regular expression that follows this token, and stands on the token behind it.
    /// False, and on the token that is there instead, when there is none.
    bool regex(RegexToken& regex);

    [[noreturn]] void fail(std::size_t offset, std::string const& reason) const;

    /// `LINE:COLUMN` of a place in the text.
    std::string place(std::size_t offset) const;

private:
    char at(std::size_t offset) const noexcept { return offset < m_text.size() ? m_text[offset] : '\0'; }
    std::size_t skipSpace(std::size_t offset) const noexcept;
    std::size_t skipName(std::size_t offset) const noexcept;
    void refuseControl(std::size_t offset, char const* where) const;

    void number();
    void string();
    void escape();
    void name();
    void quotedPart();
    void sign();
    std::string_view flags();

    std::string_view m_text;
    std::size_t m_next = 0;   // where the token after this one is looked for
    Token m_token;
};

}   // namespace gel::detail
