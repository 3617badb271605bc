#pragma once

#include "foundation/Export.h"

/// STUDIO_INSPECT_EXPORT marks what users of `studio_data::inspect` may link to.
#define STUDIO_INSPECT_EXPORT STUDIO_DATA_EXPORT
