#pragma once

#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <ostream>

// Prints identities in failed expectations, which would otherwise show sixteen numbers. Found by argument-dependent
// lookup. Values print themselves.

namespace boost::uuids {

inline void PrintTo(uuid const& id, std::ostream* out)
{
    *out << to_string(id);
}

}   // namespace boost::uuids
