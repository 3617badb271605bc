#pragma once

#include "gel/detail/Operators.h"

#include <cstddef>
#include <forward_list>
#include <string>
#include <string_view>

namespace gel::detail {

/// One token.
struct Token {
    Sign sign = Sign::End;
    std::size_t offset = 0;
    std::string_view spelling;   // as written in the text
    std::string_view text;       // of a String or a Name, unquoted and unescaped
    double number = 0;           // of a Number
    bool isCallable = false;     // of a Name: a single plain part
};

/// A regular expression without its slashes, and its flags.
struct RegexToken {
    std::size_t offset = 0;   // of the pattern
    std::string_view pattern;
    std::string_view flags;
};

/// Reads a text token by token. An invalid token throws `ParseError` when it is reached, not before.
/// *Lifetime*: token texts last as long as the lexer and the text it reads.
class Lexer {
public:
    /// Positioned on the first token. *Lifetime*: borrows `text`.
    explicit Lexer(std::string_view text);

    Token const& token() const noexcept { return m_token; }
    void advance();

    /// True if the token after this one is an opening parenthesis.
    bool callFollows() const noexcept;

    /// Reads the regular expression that follows this token and advances to the token behind it. False if there is
    /// none; the lexer is then on the next token.
    bool regex(RegexToken& regex);

    [[noreturn]] void fail(std::size_t offset, std::string const& reason) const;

    /// `LINE:COLUMN` of an offset in the text.
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
    std::size_t m_next = 0;   // offset at which reading the next token begins
    Token m_token;
    std::forward_list<std::string> m_texts;   // token texts that differ from their spelling
};

}   // namespace gel::detail
