#pragma once

#include "gel/detail/Operators.h"

#include <cstddef>
#include <forward_list>
#include <string>
#include <string_view>

namespace gel::detail {

/// One token of a text.
struct Token {
    Sign sign = Sign::End;
    std::size_t offset = 0;
    std::string_view spelling;   // as it stands in the text
    std::string_view text;       // of a String or a Name, without quotes and escapes
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
/// Lifetime: the texts of tokens last as long as the lexer and the text that it reads.
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
    void escape(std::string& text);
    void name();
    void quotedPart(std::string& text);
    void sign();
    std::string_view flags();

    std::string_view m_text;
    std::size_t m_next = 0;   // where the token after this one is looked for
    Token m_token;
    std::forward_list<std::string> m_texts;   // those that do not stand in the text as they are
};

}   // namespace gel::detail
