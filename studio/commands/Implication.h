#pragma once

#include "studio/commands/Export.h"

#include <string>

namespace studio::commands {

/// True if the form of two conditions shows that `weaker` holds whenever `stronger` does: `a && b` implies `a`. An
/// empty text always holds. Symbols, comparisons and calls count as parts that may hold or not; of their meaning it is
/// only known what `!`, `&&`, `||`, `? :` and `in` say, that nothing is equal to two constants, and that what is equal
/// to a constant is as true as this. False does not mean that it does not: of large texts that combine many
/// alternatives not all combinations are tried. *Throws* `gel::ParseError` for a text that does not parse. *Cost*:
/// linear in the length of the texts; nothing is kept.
STUDIO_COMMANDS_EXPORT bool implies(std::string const& stronger, std::string const& weaker);

}   // namespace studio::commands
