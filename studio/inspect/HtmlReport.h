#pragma once

#include "studio/data/ExpressionEngine.h"
#include "studio/inspect/Export.h"

#include <string>

namespace studio::inspect {

class Watcher;

/// Returns one HTML page on the present state of an engine: its expressions with their explanations, the contexts with
/// their properties and readers, and, with a watcher, the time line of commits. The page needs nothing else: styles,
/// program and data are in it, and it requests nothing. Values are escaped. `title` is its heading; `watcher` may be
/// null. *Cost*: an explanation for each expression.
STUDIO_INSPECT_EXPORT std::string htmlReport(data::ExpressionEngine const& engine, Watcher const* watcher,
                                             std::string const& title);

}   // namespace studio::inspect
