#include "gel/Eval.h"

#include "gel/Program.h"
#include "gel/detail/ProgramCache.h"

namespace gel {

std::set<std::string> symbols(std::string const& text)
{
    return detail::programOf(text).symbols();
}

Value eval(std::string const& text, DataSource const& source)
{
    return detail::evaluateText(text, source);
}

}   // namespace gel
