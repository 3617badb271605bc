#pragma once

#include "foundation/Export.h"
#include "gel/Value.h"

#include <cstddef>
#include <string>

namespace gel {

/// Source of symbol values, implemented by the host.
class STUDIO_DATA_EXPORT DataSource {
public:
    virtual ~DataSource() = default;

    /// Returns the value of a symbol; undefined if it has none. Called at most once per symbol and evaluation, when the
    /// value is first needed. A NaN is read as undefined. May evaluate other texts, or the same one. May throw
    /// anything: the exception ends the evaluation and reaches its caller unchanged. *Lifetime*: `symbol` belongs to
    /// the program being evaluated and lasts until the evaluation ends.
    virtual Value lookup(std::string const& symbol) const = 0;

    /// Called by the evaluation; the base calls `lookup`. A host that has bound the symbols of the program beforehand
    /// overrides it and uses `index`, the symbol's position in `Program::symbolAt`. Same contract as `lookup`.
    virtual Value fetch(std::size_t index, std::string const& symbol) const;
};

}   // namespace gel
