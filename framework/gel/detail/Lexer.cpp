#include "gel/detail/Lexer.h"

#include "gel/ParseError.h"
#include "gel/detail/Numbers.h"
#include "gel/detail/Utf8.h"

#include <array>
#include <charconv>
#include <cmath>

namespace gel::detail {

namespace {

constexpr bool isSpace(char byte) noexcept
{
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

constexpr bool isControl(char byte) noexcept
{
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

/// The ASCII characters of plain names.
constexpr std::array<bool, 256> PLAIN = [] {
    std::array<bool, 256> plain{};
    for (char const byte : std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_$"))
        plain[static_cast<unsigned char>(byte)] = true;
    return plain;
}();

constexpr bool isPlain(char byte) noexcept
{
    return PLAIN[static_cast<unsigned char>(byte)];
}

/// True if a character outside ASCII may be part of a name. Not spaces, invisible marks, dashes and curly quotes, which
/// come from pasted text.
constexpr bool isWide(char32_t value) noexcept
{
    return value >= 0xA1 && value != 0xAD && value != 0x1680 && !(value >= 0x2000 && value <= 0x206F) &&
           value != 0x3000 && value != 0xFEFF;
}

}   // namespace

Lexer::Lexer(std::string_view text) : m_text(text)
{
    advance();
}

void Lexer::advance()
{
    std::size_t const offset = m_next = skipSpace(m_next);
    m_token.offset = offset;
    m_token.isCallable = false;
    if (offset == m_text.size()) {
        m_token.sign = Sign::End;
    } else if (isDigit(m_text[offset])) {
        number();
    } else if (m_text[offset] == '\'' || m_text[offset] == '"') {
        string();
    } else if (isPlain(m_text[offset]) || m_text[offset] == '`' || skipName(offset) > offset) {
        name();
    } else {
        sign();
    }
    m_token.spelling = m_text.substr(offset, m_next - offset);
}

bool Lexer::callFollows() const noexcept
{
    return at(skipSpace(m_next)) == '(';
}

bool Lexer::regex(RegexToken& regex)
{
    std::size_t const begin = skipSpace(m_next);
    if (at(begin) != '/') {
        advance();
        return false;
    }
    bool inClass = false;
    std::size_t end = begin + 1;
    for (; at(end) != '/' || inClass; ++end) {
        if (at(end) == '\\')
            ++end;
        else if (at(end) == '[')
            inClass = true;
        else if (at(end) == ']')
            inClass = false;
        if (end >= m_text.size() || m_text[end] == '\n' || m_text[end] == '\r')
            fail(begin, "unterminated regular expression");
        refuseControl(end, "regular expression");
    }
    if (end == begin + 1)
        fail(begin, "empty regular expression");
    m_next = end + 1;
    regex = {begin + 1, m_text.substr(begin + 1, end - begin - 1), flags()};
    advance();
    return true;
}

void Lexer::fail(std::size_t offset, std::string const& reason) const
{
    throw ParseError(m_text, offset, reason);
}

std::string Lexer::place(std::size_t offset) const
{
    return toText(placeOf(m_text, offset));
}

std::size_t Lexer::skipSpace(std::size_t offset) const noexcept
{
    while (offset < m_text.size() && isSpace(m_text[offset]))
        ++offset;
    return offset;
}

/// The end of the name characters that begin at `offset`.
std::size_t Lexer::skipName(std::size_t offset) const noexcept
{
    while (offset < m_text.size()) {
        if (isPlain(m_text[offset])) {
            ++offset;
            continue;
        }
        if (static_cast<unsigned char>(m_text[offset]) < 0x80)
            break;
        CodePoint const wide = decode(m_text.substr(offset));
        if (wide.size == 0 || !isWide(wide.value))
            break;
        offset += wide.size;
    }
    return offset;
}

void Lexer::refuseControl(std::size_t offset, char const* where) const
{
    if (isControl(m_text[offset])) {
        auto const value = static_cast<unsigned char>(m_text[offset]);
        fail(offset, "control character " + codePointName(value) + " in a " + where);
    }
}

void Lexer::number()
{
    std::string_view const digits = m_text.substr(m_next, numberLength(m_text.substr(m_next)));
    std::size_t const end = m_next + digits.size();
    bool const leadingZero = digits.size() > 1 && digits[0] == '0' && isDigit(digits[1]);
    if (leadingZero || at(end) == '.' || skipName(end) > end)
        fail(m_next, "malformed number");
    m_token.number = numberValue(digits);
    if (std::isinf(m_token.number))
        fail(m_next, "number too large");
    m_token.sign = Sign::Number;
    m_next = end;
}

void Lexer::string()
{
    char const quote = m_text[m_next++];
    std::size_t const begin = m_next;
    std::string* unescaped = nullptr;   // from the first escape on
    while (at(m_next) != quote) {
        if (m_next == m_text.size() || m_text[m_next] == '\n' || m_text[m_next] == '\r')
            fail(m_token.offset, "unterminated string");
        refuseControl(m_next, "string; write it as an escape");
        if (m_text[m_next] == '\\') {
            if (!unescaped)
                unescaped = &m_texts.emplace_front(m_text.substr(begin, m_next - begin));
            escape(*unescaped);
            continue;
        }
        if (unescaped)
            *unescaped += m_text[m_next];
        ++m_next;
    }
    m_token.text = unescaped ? *unescaped : m_text.substr(begin, m_next - begin);
    m_token.sign = Sign::String;
    ++m_next;
}

void Lexer::escape(std::string& text)
{
    std::size_t const begin = m_next;
    if (begin + 1 == m_text.size())
        fail(m_token.offset, "unterminated string");
    char const letter = m_text[begin + 1];
    m_next += 2;
    switch (letter) {
    case '\\':
    case '\'':
    case '"': text += letter; return;
    case 'n': text += '\n'; return;
    case 'r': text += '\r'; return;
    case 't': text += '\t'; return;
    case 'u':
        if (at(m_next) == '{')
            break;
        [[fallthrough]];
    default: fail(begin, "unknown escape; a backslash is written \\\\");
    }

    char const* const digits = m_text.data() + m_next + 1;
    unsigned value = 0;
    char const* const end = std::from_chars(digits, m_text.data() + m_text.size(), value, 16).ptr;
    m_next = static_cast<std::size_t>(end - m_text.data());
    if (end == digits || end - digits > 6 || at(m_next) != '}')
        fail(begin, "malformed escape; a character is written \\u{H} with one to six hexadecimal digits");
    if (!isScalar(value))
        fail(begin, codePointName(value) + " is not a Unicode character");
    append(text, value);
    ++m_next;
}

void Lexer::name()
{
    std::size_t const begin = m_next;
    std::string* unquoted = nullptr;   // from the first part in backticks on
    m_token.sign = Sign::Name;
    for (bool isFirst = true;; isFirst = false) {
        if (at(m_next) == '`') {
            if (!unquoted)
                unquoted = &m_texts.emplace_front(m_text.substr(begin, m_next - begin));
            quotedPart(*unquoted);
        } else {
            std::size_t const end = skipName(m_next);
            if (end == m_next)
                fail(m_next, "expected a name after '.'");
            if (unquoted)
                *unquoted += m_text.substr(m_next, end - m_next);
            m_next = end;
        }
        m_token.text = unquoted ? *unquoted : m_text.substr(begin, m_next - begin);
        bool const isOnePart = isFirst && !unquoted;
        Operator const* const word = isOnePart ? reservedWord(m_token.text) : nullptr;
        if (at(m_next) != '.') {
            m_token.isCallable = isOnePart;
            if (word)
                m_token.sign = word->sign;
            return;
        }
        if (word) {
            fail(m_token.offset,
                 "'" + std::string(word->spelling) + "' is reserved; write it in backticks to use it as a name");
        }
        if (unquoted)
            *unquoted += '.';
        ++m_next;
    }
}

void Lexer::quotedPart(std::string& text)
{
    std::size_t const begin = m_next++;
    for (;; ++m_next) {
        if (m_next == m_text.size() || m_text[m_next] == '\n' || m_text[m_next] == '\r')
            fail(begin, "unterminated name");
        refuseControl(m_next, "name");
        if (m_text[m_next] == '`' && at(++m_next) != '`')
            break;
        text += m_text[m_next];
    }
    if (m_next == begin + 2)
        fail(begin, "empty name");
}

void Lexer::sign()
{
    if (Operator const* const row = signAt(m_text.substr(m_next))) {
        m_token.sign = row->sign;
        m_next += row->spelling.size();
        return;
    }
    char const byte = m_text[m_next];
    if (byte == '=' || byte == '&' || byte == '|') {
        std::string const single(1, byte);
        fail(m_next, "unexpected '" + single + "'; did you mean '" + single + single + "'?");
    }
    CodePoint const character = decode(m_text.substr(m_next));
    if (character.size == 0)
        fail(m_next, "invalid UTF-8");
    if (character.size == 1 && !isControl(byte))
        fail(m_next, std::string("unexpected character '") + byte + "'");
    fail(m_next, "unexpected character " + codePointName(character.value));
}

std::string_view Lexer::flags()
{
    std::size_t const begin = m_next;
    for (std::size_t const end = skipName(begin); m_next < end; ++m_next) {
        std::string_view const before = m_text.substr(begin, m_next - begin);
        if (std::string_view("ims").find(m_text[m_next]) == std::string_view::npos)
            fail(m_next, "unknown flag of a regular expression; only i, m and s are known");
        if (before.find(m_text[m_next]) != std::string_view::npos)
            fail(m_next, std::string("flag '") + m_text[m_next] + "' of a regular expression is given twice");
    }
    return m_text.substr(begin, m_next - begin);
}

}   // namespace gel::detail
