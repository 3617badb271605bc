#pragma once

#include "foundation/Export.h"

/// STUDIO_HOST_EXPORT marks what users of `studio_data::host` may link to.
#define STUDIO_HOST_EXPORT STUDIO_DATA_EXPORT
