#pragma once

#include "foundation/Export.h"
#include "gel/Value.h"

#include <string>

namespace gel {

/// The one question that an evaluation asks its host.
class STUDIO_DATA_EXPORT DataSource {
public:
    virtual ~DataSource() = default;

    /// The value of a symbol, undefined when there is none. An evaluation asks at most once for each symbol, at the
    /// moment its value is first needed; a NaN is read as undefined. May evaluate other texts, or the same one.
    /// Throws whatever it likes: the exception ends the evaluation and reaches its caller unchanged.
    /// Lifetime: `symbol` belongs to the program that is being evaluated and lasts until the evaluation ends.
    virtual Value lookup(std::string const& symbol) const = 0;
};

}   // namespace gel
