#include "shell/Text.h"

#include "studio/host/Subscriptions.h"
#include "studio/inspect/Explanation.h"
#include "workbench/Text.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <stdexcept>
#include <system_error>

namespace shell {

namespace {

constexpr std::string_view SPACE = " \t\r\n\v\f";

/// Appends a control character as an escape that the expression language reads.
void escape(std::string& result, char control)
{
    static constexpr std::string_view digits = "0123456789abcdef";
    auto const code = static_cast<unsigned char>(control);
    (((result += "\\u{") += digits[code >> 4U]) += digits[code & 15U]) += '}';
}

bool isControl(char each)
{
    return static_cast<unsigned char>(each) < 0x20 || each == 0x7f;
}

}   // namespace

std::string literal(studio::data::PropertyValue const& value)
{
    if (value.isUndefined())
        return "undefined";
    if (!value.isString())
        return studio::host::shown(value);
    std::string result = "'";
    for (char const each : value.getString()) {
        if (each == '\n') {
            result += "\\n";
        } else if (isControl(each)) {
            escape(result, each);
        } else {
            if (each == '\'' || each == '\\')
                result += '\\';
            result += each;
        }
    }
    return result + '\'';
}

std::string printable(std::string_view text)
{
    std::string result;
    for (std::size_t begin = 0; begin <= text.size();) {
        std::size_t const end = std::min(text.find('\n', begin), text.size());
        result += workbench::oneLine(studio::inspect::printable(text.substr(begin, end - begin)));
        if (end != text.size())
            result += '\n';
        begin = end + 1;
    }
    return result;
}

std::string_view trimmed(std::string_view text)
{
    std::size_t const first = std::min(text.find_first_not_of(SPACE), text.size());
    return text.substr(first, text.find_last_not_of(SPACE) + 1 - first);
}

std::pair<std::string_view, std::string_view> firstWord(std::string_view text)
{
    text = trimmed(text);
    std::size_t const end = std::min(text.find_first_of(SPACE), text.size());
    return {text.substr(0, end), trimmed(text.substr(end))};
}

std::vector<std::string> wordsOf(std::string_view text)
{
    std::vector<std::string> words;
    bool isQuoted = false;
    bool isInWord = false;
    for (char const each : text) {
        if (each == '"') {
            isQuoted = !isQuoted;
        } else if (!isQuoted && SPACE.find(each) != std::string_view::npos) {
            isInWord = false;
            continue;
        }
        if (!isInWord)
            words.emplace_back();
        isInWord = true;
        if (each != '"')
            words.back() += each;
    }
    if (isQuoted)
        throw std::invalid_argument{"a quote is not closed"};
    return words;
}

std::optional<std::size_t> numberIn(std::string_view word)
{
    std::size_t number = 0;
    auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (word.empty() || error != std::errc{} || end != word.data() + word.size())
        return std::nullopt;
    return number;
}

std::string withoutLineEnd(std::string text)
{
    while (text.ends_with('\n'))
        text.pop_back();
    return text;
}

std::string commonStart(std::vector<std::string> const& words)
{
    std::string const& first = words.front();
    std::string const& last = words.back();
    auto end = std::mismatch(first.begin(), first.end(), last.begin(), last.end()).first;
    auto const isInside = [&] { return end != first.end() && (static_cast<unsigned char>(*end) & 0xc0U) == 0x80; };
    while (end != first.begin() && isInside())
        --end;
    return {first.begin(), end};
}

char lower(char each)
{
    return each >= 'A' && each <= 'Z' ? static_cast<char>(each - 'A' + 'a') : each;
}

bool containsWord(std::string_view text, std::string_view word)
{
    return std::search(text.begin(), text.end(), word.begin(), word.end(),
                       [](char left, char right) { return lower(left) == lower(right); }) != text.end();
}

std::size_t distance(std::string_view left, std::string_view right)
{
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (char const each : left) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 1; i < row.size(); ++i) {
            std::size_t const replaced = diagonal + (each == right[i - 1] ? 0 : 1);
            diagonal = row[i];
            row[i] = std::min({row[i] + 1, row[i - 1] + 1, replaced});
        }
    }
    return row.back();
}

}   // namespace shell
