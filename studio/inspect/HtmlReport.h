#pragma once

#include "studio/data/ExpressionEngine.h"
#include "studio/inspect/Export.h"

#include <string>

namespace studio::inspect {

class Watcher;

/// Returns one HTML page with the heading `title` on the present state of an engine: its expressions with their
/// explanations, and the contexts that the root reaches, with their properties and the expressions that read them. With
/// a watcher, which may be null, it also has the time line of commits. The page contains its styles, scripts and data
/// and makes no requests. Texts, names and values of the host are data in the page and never markup; control characters
/// and bytes that are not UTF-8 are shown as escapes. *Throws* what `host::ContextReader` throws. *Cost*: an
/// explanation for each expression. A context whose path has more than 4,096 bytes is shown without it.
STUDIO_INSPECT_EXPORT std::string htmlReport(data::ExpressionEngine const& engine, Watcher const* watcher,
                                             std::string const& title);

}   // namespace studio::inspect
