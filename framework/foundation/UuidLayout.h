#pragma once

#include <boost/uuid/uuid.hpp>

/// The alignment of a UUID in bytes where the library was built. A library built with Boost 1.86 or later makes its
/// users compile with another value.
#ifndef STUDIO_DATA_UUID_ALIGNMENT
#define STUDIO_DATA_UUID_ALIGNMENT 1
#endif

static_assert(sizeof(boost::uuids::uuid) == 16 && alignof(boost::uuids::uuid) == STUDIO_DATA_UUID_ALIGNMENT,
              "studio_data was built with a Boost that lays boost::uuids::uuid out differently (it changed in Boost "
              "1.86): use that Boost, or build studio_data with this one. To use a studio_data that was built with "
              "Boost 1.85 or earlier, defining BOOST_UUID_DISABLE_ALIGNMENT in the whole program does too.");
