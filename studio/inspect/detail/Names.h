#pragma once

#include "gel/Tree.h"
#include "studio/host/PathEnd.h"

namespace studio::inspect::detail {

/// Returns the name of a kind of node in JSON.
inline char const* nameOf(gel::Tree::Kind kind) noexcept
{
    switch (kind) {
    case gel::Tree::Kind::Constant: return "constant";
    case gel::Tree::Kind::Symbol: return "symbol";
    case gel::Tree::Kind::Pattern: return "pattern";
    case gel::Tree::Kind::Call: return "call";
    default: return "operator";
    }
}

/// Returns the name of the end of a path in JSON.
inline char const* nameOf(host::PathEnd::Reason reason) noexcept
{
    switch (reason) {
    case host::PathEnd::Reason::Found: return "found";
    case host::PathEnd::Reason::Missing: return "missing";
    case host::PathEnd::Reason::PlainValue: return "plain value";
    case host::PathEnd::Reason::Dangling: return "dangling";
    case host::PathEnd::Reason::Hidden: return "hidden";
    case host::PathEnd::Reason::NoContext: break;
    }
    return "no context";
}

}   // namespace studio::inspect::detail
