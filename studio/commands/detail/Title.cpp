#include "studio/commands/detail/Title.h"

#include "studio/commands/detail/Quoted.h"

#include <stdexcept>

namespace studio::commands::detail {

std::vector<std::pair<std::string, std::string>> Title::split(std::string const& text, std::string const& prefix)
{
    std::vector<std::pair<std::string, std::string>> pieces;
    std::string literal;
    for (std::size_t at = 0; at != text.size();) {
        if (text[at] != '{') {
            literal += text[at++];
        } else if (text.compare(at, 2, "{{") == 0) {
            literal += '{';
            at += 2;
        } else {
            std::size_t const end = text.find('}', at);
            if (end == std::string::npos)
                throw std::invalid_argument{prefix + "a brace is not closed: " + detail::shown(text)};
            if (text.find_first_not_of(" \t\r\n", at + 1) == end)
                throw std::invalid_argument{prefix +
                                            "there is no expression between the braces: " + detail::shown(text)};
            pieces.emplace_back(std::move(literal), text.substr(at + 1, end - at - 1));
            literal.clear();
            at = end + 1;
        }
    }
    if (!literal.empty())
        pieces.emplace_back(std::move(literal), std::string{});
    return pieces;
}

}   // namespace studio::commands::detail
