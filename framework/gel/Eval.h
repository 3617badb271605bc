#pragma once

#include "foundation/Export.h"
#include "gel/DataSource.h"
#include "gel/Value.h"

#include <set>
#include <string>

namespace gel {

/// Every symbol that `text` names, sorted by bytes, each once, also those in parts that an evaluation would skip.
/// Throws `ParseError` if the text does not parse.
/// Cost: a text is parsed once for each thread that uses it, as long as no 4,096 others were used since.
STUDIO_DATA_EXPORT std::set<std::string> symbols(std::string const& text);

/// The value of `text`, with `source` asked for the symbols that are needed, each once, in the order of need.
/// May be called on any thread, and from inside a `lookup`.
/// Throws `ParseError` if the text does not parse, and whatever `source` throws; an evaluation itself never fails.
/// Cost: as for `symbols`; then one look at the thread's cache beside what `Program::eval` costs.
STUDIO_DATA_EXPORT Value eval(std::string const& text, DataSource const& source);

}   // namespace gel
