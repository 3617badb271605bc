#pragma once

#include "studio/data/ExpressionEngine.h"
#include "studio/inspect/Export.h"

#include <string>

namespace studio::inspect {

class Watcher;

/// Returns one HTML page on the present state of an engine: its expressions with their explanations, the contexts that
/// the root reaches with their properties and readers, and, with a watcher, the time line of commits. The page needs
/// nothing else: styles, program and data are in it, and it requests nothing. What comes from the host, as texts, names
/// and values, is data in the page and never markup; control characters and bytes that are not UTF-8 are shown as
/// escapes. `title` is its heading; `watcher` may be null. *Throws* as `host::ContextReader`. *Cost*: an explanation
/// for each expression.
STUDIO_INSPECT_EXPORT std::string htmlReport(data::ExpressionEngine const& engine, Watcher const* watcher,
                                             std::string const& title);

}   // namespace studio::inspect
