#pragma once

#include "foundation/Export.h"

/// STUDIO_HOST_EXPORT marks what users of `studio_data::host` may link to.
#if defined(studio_data_host_EXPORTS)
#define STUDIO_HOST_EXPORT STUDIO_DATA_EXPORTED
#else
#define STUDIO_HOST_EXPORT STUDIO_DATA_IMPORTED
#endif
