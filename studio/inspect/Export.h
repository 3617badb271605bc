#pragma once

#include "foundation/Export.h"

/// STUDIO_INSPECT_EXPORT marks what users of `studio_data::inspect` may link to.
#if defined(studio_data_inspect_EXPORTS)
#define STUDIO_INSPECT_EXPORT STUDIO_DATA_EXPORTED
#else
#define STUDIO_INSPECT_EXPORT STUDIO_DATA_IMPORTED
#endif
