#pragma once

// MSVC reports the language in _MSVC_LANG, whatever __cplusplus says.
#if defined(_MSVC_LANG) ? _MSVC_LANG < 202002L : __cplusplus < 202002L
#error "studio_data needs C++20: compile with -std=c++20 (or CMAKE_CXX_STANDARD 20) or later."
#endif

/// STUDIO_DATA_EXPORT marks what users of the shared library may link to; everything unmarked is hidden.
/// STUDIO_DATA_LOCAL hides a member of an exported class: a private one that no inline function uses.
/// A static build defines STUDIO_DATA_STATIC for itself and for everyone who links it: the macros are then empty.
/// While the shared library itself is compiled, studio_data_EXPORTS is defined. It matters on Windows only, where a
/// name has one mark in the library that defines it and another in everything that uses it.
#if defined(STUDIO_DATA_STATIC)
#define STUDIO_DATA_EXPORTED
#define STUDIO_DATA_IMPORTED
#define STUDIO_DATA_LOCAL
#elif defined(_WIN32)
#if defined(_MSC_VER)
#define STUDIO_DATA_EXPORTED __declspec(dllexport)
#else
// No mark: dllexport on a class exports each member, and nothing takes a member out again. What is exported is listed
// for the linker.
#define STUDIO_DATA_EXPORTED
#endif
#define STUDIO_DATA_IMPORTED __declspec(dllimport)
#define STUDIO_DATA_LOCAL
#else
#define STUDIO_DATA_EXPORTED __attribute__((visibility("default")))
#define STUDIO_DATA_IMPORTED __attribute__((visibility("default")))
#define STUDIO_DATA_LOCAL __attribute__((visibility("hidden")))
#endif

#if defined(studio_data_EXPORTS)
#define STUDIO_DATA_EXPORT STUDIO_DATA_EXPORTED
#else
#define STUDIO_DATA_EXPORT STUDIO_DATA_IMPORTED
#endif
