#pragma once

#include "studio/commands/Export.h"
#include "studio/data/ContextProvider.h"
#include "studio/host/Put.h"

#include <memory>

namespace studio::commands {

/// Makes `part` what `focus` refers to in expressions over `root`: `focus.readOnly` is then the property of the part of
/// the window that has the keyboard focus. Writes the property `focus` of `root`, or adds it; null clears it, and
/// `focus` and all that is read through it are undefined then. What a part needs in conditions over `focus` are
/// properties of its own context.
///
/// *Notifies*: as one write, before it returns; conditions over the old and the new part change in one batch. If the
/// part has the focus already, nothing is written and `Same` is returned. *Throws* `std::invalid_argument` for a
/// null `root`, otherwise as `host::put`. *Lifetime*: keeps no context alive. Clear the focus before its part is
/// destroyed: a reference to a context that is gone still counts as true.
STUDIO_COMMANDS_EXPORT host::Written focus(std::shared_ptr<data::ContextProvider> const& root,
                                           std::shared_ptr<data::ContextProvider> const& part);

}   // namespace studio::commands
