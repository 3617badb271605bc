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
    return detail::programOf(text).eval(source);   // a copy: a nested evaluation may drop the cache's own
}

}   // namespace gel
