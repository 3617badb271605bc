#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace studio::commands::detail {

/// Names that stand for conditions, and the texts in which they are replaced.
class Definitions {
public:
    /// Adds a name, or one more user of it. *Throws* `gel::ParseError` for a condition that does not parse, and
    /// `std::invalid_argument` for a name that is no plain name, that is defined with another text, or whose text leads
    /// back to it; nothing is added then.
    void add(std::string const& name, std::string const& condition);
    /// Ends one use of a name. With the last one it is no longer defined.
    void remove(std::string const& name) noexcept;
    /// Returns `text` with the definition of each name in its place, in parentheses. *Throws* `gel::ParseError` for a
    /// text that does not parse, and `std::length_error` for a result that the language does not allow.
    std::string expanded(std::string const& text) const;

private:
    class Expansion;
    struct Definition {
        std::string text;
        std::set<std::string> symbols;   // of the text
        std::size_t users;
    };

    bool isUsedIn(std::string const& text) const;
    void refuseCycle(std::string const& name, std::set<std::string> const& symbols) const;
    void forgetUnused(std::set<std::string> const& symbols) noexcept;

    std::unordered_map<std::string, Definition> all;
    std::unordered_map<std::string, std::size_t> mentions;   // of each symbol, the definitions whose texts have it
};

}   // namespace studio::commands::detail
