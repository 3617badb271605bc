#pragma once

#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <ostream>

// What a failed expectation shows of identities, which would else be shown as sixteen numbers. Found by argument
// lookup. Values print themselves.

namespace boost::uuids {

inline void PrintTo(uuid const& id, std::ostream* out)
{
    *out << to_string(id);
}

}   // namespace boost::uuids
