#pragma once

#include "foundation/Export.h"

/// STUDIO_COMMANDS_EXPORT marks what users of `studio_data::commands` may link to.
#if defined(studio_data_commands_EXPORTS)
#define STUDIO_COMMANDS_EXPORT STUDIO_DATA_EXPORTED
#else
#define STUDIO_COMMANDS_EXPORT STUDIO_DATA_IMPORTED
#endif
