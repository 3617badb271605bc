#pragma once

/// STUDIO_DATA_EXPORT marks what users of the shared library may link to; everything unmarked stays inside it.
/// A static build defines STUDIO_DATA_STATIC for itself and for everyone who links it: the mark then says nothing.
#if defined(STUDIO_DATA_STATIC)
#define STUDIO_DATA_EXPORT
#else
#define STUDIO_DATA_EXPORT __attribute__((visibility("default")))
#endif
