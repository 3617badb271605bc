#include "gel/DataSource.h"

namespace gel {

Value DataSource::fetch(std::size_t, std::string const& symbol) const
{
    return lookup(symbol);
}

}   // namespace gel
