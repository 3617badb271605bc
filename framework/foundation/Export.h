#pragma once

/// STUDIO_DATA_EXPORT marks what users of the shared library may link to; everything unmarked is hidden.
/// STUDIO_DATA_LOCAL hides a member of an exported class: a private one that no inline function uses.
/// A static build defines STUDIO_DATA_STATIC for itself and for everyone who links it: the macros are then empty.
#if defined(STUDIO_DATA_STATIC)
#define STUDIO_DATA_EXPORT
#define STUDIO_DATA_LOCAL
#else
#define STUDIO_DATA_EXPORT __attribute__((visibility("default")))
#define STUDIO_DATA_LOCAL __attribute__((visibility("hidden")))
#endif
