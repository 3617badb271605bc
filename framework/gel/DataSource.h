#pragma once

#include "foundation/Export.h"
#include "gel/Value.h"

#include <cstddef>
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

    /// What an evaluation really calls: `lookup`, unless overridden by a host that has bound the symbols of the program
    /// beforehand and answers by `index`, the place of the symbol in `Program::symbolAt`. The promises are the same.
    virtual Value fetch(std::size_t index, std::string const& symbol) const;
};

inline Value DataSource::fetch(std::size_t, std::string const& symbol) const
{
    return lookup(symbol);
}

}   // namespace gel
