#pragma once

#include "studio/data/PropertyValue.h"

#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <limits>
#include <ostream>

// What a failed expectation shows of values. Found by argument lookup, so each stands in its type's namespace.

namespace studio::data {

inline void PrintTo(PropertyValue const& value, std::ostream* out)
{
    if (value.isString()) {
        *out << "text \"" << value.getString() << '"';
    } else if (value.isUUID()) {
        *out << "uuid " << value.getUUID();
    } else if (value.isDouble()) {
        std::streamsize const precision = out->precision(std::numeric_limits<double>::max_digits10);
        *out << "number " << value.getDouble();
        out->precision(precision);
    } else {
        *out << value.asString();
    }
}

}   // namespace studio::data

namespace boost::uuids {

inline void PrintTo(uuid const& id, std::ostream* out)
{
    *out << to_string(id);
}

}   // namespace boost::uuids
