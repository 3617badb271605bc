#pragma once

// MSVC reports the language in _MSVC_LANG, whatever __cplusplus says.
#if defined(_MSVC_LANG) ? _MSVC_LANG < 202002L : __cplusplus < 202002L
#error "studio_data needs C++20: compile with -std=c++20 (or CMAKE_CXX_STANDARD 20) or later."
#endif

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
