#pragma once

#include "studio/commands/Contribution.h"
#include "studio/commands/Export.h"

#include <string_view>

namespace studio::commands {

/// Reads the parts of a contribution from a JSON text, the manifest of a plugin; docs/commands.md describes its
/// members. Expressions and keys are parsed already, so that their errors name the place. `file` is for messages.
/// *Throws* `std::invalid_argument` with file, place and reason for a text that is no manifest. The place is a JSON
/// pointer, or line and column in a text that is no JSON.
STUDIO_COMMANDS_EXPORT Contribution::Parts readManifest(std::string_view text, std::string_view file);

}   // namespace studio::commands
