#pragma once

#include "foundation/Export.h"

/// STUDIO_COMMANDS_EXPORT marks what users of `studio_data::commands` may link to.
#define STUDIO_COMMANDS_EXPORT STUDIO_DATA_EXPORT
