#include "workbench/Terminal.h"

#include "workbench/System.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string_view>

namespace workbench {

using system::isTerminal;
using system::Stream;

std::optional<std::size_t> terminalWidth()
{
    if (!isTerminal(Stream::Output))
        return std::nullopt;
    if (char const* const variable = std::getenv("COLUMNS")) {
        std::string_view const digits = variable;
        std::size_t width = 0;
        auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), width);
        if (error == std::errc() && end == digits.data() + digits.size() && width > 0)
            return width;
    }
    return system::terminalColumns();
}

bool canConfirm()
{
    return isTerminal(Stream::Input) && isTerminal(Stream::Errors);
}

bool confirm(std::string const& question)
{
    std::cerr << question << " [y/N] " << std::flush;
    std::string answer;
    if (!std::getline(std::cin, answer))
        std::cerr << '\n';
    return answer == "y" || answer == "yes";
}

void expectWritten(std::ostream& out)
{
    if (!out.flush())
        throw std::runtime_error(std::string("the output cannot be written: ") + std::strerror(errno));
}

}   // namespace workbench
