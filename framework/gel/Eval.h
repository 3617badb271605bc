#pragma once

#include "foundation/Export.h"
#include "gel/DataSource.h"
#include "gel/Value.h"

#include <set>
#include <string>

namespace gel {

/// The symbols that `text` names, sorted by bytes, each once, including those in parts that an evaluation would skip.
/// *Throws* `ParseError` if the text does not parse.
/// *Cost*: a text is parsed once per thread, and again after 4,096 others were used.
STUDIO_DATA_EXPORT std::set<std::string> symbols(std::string const& text);

/// Evaluates `text`, calling `source` once for each symbol needed, in the order of need. May be called on any thread
/// and from inside a `lookup`.
/// *Throws* `ParseError` if the text does not parse, and whatever `source` throws; evaluation itself never fails.
/// *Cost*: parsing as for `symbols`; then one lookup in the thread's cache beside the cost of `Program::eval`.
STUDIO_DATA_EXPORT Value eval(std::string const& text, DataSource const& source);

}   // namespace gel
