#pragma once

#include "studio/data/PropertyValue.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace shell {

/// Returns a value as the expression language writes it: texts in single quotes, the shortest number, a UUID as
/// its characters.
std::string literal(studio::data::PropertyValue const& value);

/// Returns a text whose control characters other than line feeds are escaped, so that it cannot control a terminal.
/// Bytes that are not UTF-8 are replaced.
std::string printable(std::string_view text);

/// Returns a text without white space at its ends.
std::string_view trimmed(std::string_view text);
/// Returns the first word of a text, and the rest without white space at its ends.
std::pair<std::string_view, std::string_view> firstWord(std::string_view text);
/// Returns the words of a text; double quotes keep one with spaces together. *Throws* `std::invalid_argument` for a
/// quote that is not closed.
std::vector<std::string> wordsOf(std::string_view text);

/// Returns the whole number that a word is; empty if it is none.
std::optional<std::size_t> numberIn(std::string_view word);
/// Returns a text without line feeds at its end.
std::string withoutLineEnd(std::string text);

/// Lines of text, without a line feed after the last one.
struct Lines {
    std::string text;

    void add(std::string const& line) { text += (text.empty() ? "" : "\n") + line; }
};

/// Returns the longest text that all words begin with, of whole UTF-8 characters. *Requires* that there is a word and
/// that they ascend.
std::string commonStart(std::vector<std::string> const& words);
/// True if `text` contains `word`, whatever the case of letters in ASCII.
bool containsWord(std::string_view text, std::string_view word);
/// Returns a Latin letter in lower case, and any other byte unchanged.
char lower(char each);
/// Returns the number of characters to insert, delete or replace to make `right` of `left`.
std::size_t distance(std::string_view left, std::string_view right);

}   // namespace shell
