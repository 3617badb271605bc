#include "benchmarks/BaselineProgram.h"

#include <algorithm>
#include <cstdlib>

namespace benchmarks::baseline {

Program::Program(std::string_view text, std::function<std::uint32_t(std::string_view name)> const& numbered)
{
    constexpr std::string_view plus = " + ";
    for (bool isFirst = true; !text.empty(); isFirst = false) {
        std::string_view const term = text.substr(0, text.find(plus));
        text.remove_prefix(std::min(text.size(), term.size() + plus.size()));
        if (term[0] >= '0' && term[0] <= '9')
            instructions.push_back({Code::number, 0, std::strtod(term.data(), nullptr)});
        else
            instructions.push_back({Code::load, numbered(term)});
        if (!isFirst)
            instructions.push_back({Code::add});
    }
}

}   // namespace benchmarks::baseline
