#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/host/ContextReader.h"
#include "studio/host/Export.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace studio::host {

/// The place where a dotted path ends at present, and why there.
struct PathEnd {
    /// The reason why the walk along the path stops.
    enum class Reason {
        Found,        ///< at the property that the path names
        Missing,      ///< the context has no property of that name
        PlainValue,   ///< the property holds no reference, and the path goes on
        Dangling,     ///< the property refers to a context that does not exist, and the path goes on
        Hidden,       ///< a property whose own name is the rest of the path, with its dots, hides what the path reaches
        NoContext     ///< there is no context to begin at
    };

    /// Why the walk stops.
    Reason reason;
    /// The position in the path of the name at which the walk stops; for `Hidden`, of the rest.
    std::size_t offset;
    /// The number of bytes of that name.
    std::size_t size;
    /// The context that the walk reached: the one that has, lacks or hides the property. Null for `NoContext`.
    std::shared_ptr<data::ContextProvider> context;
    /// The value that reading the path yields: of the property that was found or hides the path, else undefined.
    data::PropertyValue value;
};

/// Walks along a dotted path from `context`, as reading the path does, and says where it ends. *Throws* as
/// `ContextProvider::getPropertyValue` does.
STUDIO_HOST_EXPORT PathEnd endOf(std::shared_ptr<data::ContextProvider> context, std::string_view path);

/// A walk along a dotted path, over contexts that a `ContextReader` reads.
struct Walk {
    /// One name on the way, and the context in which it was looked up.
    struct Step {
        /// The context.
        boost::uuids::uuid context;
        /// The position of the name in the path.
        std::size_t offset;
        /// The number of its bytes: up to the next dot, or for `Hidden` up to the end.
        std::size_t size;
    };

    /// Why the walk stops; never `NoContext`.
    PathEnd::Reason reason;
    /// The names on the way; the walk stops at the last one.
    std::vector<Step> steps;
    /// The value that reading the path yields.
    data::PropertyValue value;
};

/// Walks along a dotted path from the context `begin`, as reading the path does. *Throws* what `reader` throws.
STUDIO_HOST_EXPORT Walk walkAlong(ContextReader const& reader, boost::uuids::uuid const& begin, std::string_view path);

/// A sentence for a programmer on where a path ends: `"editor.documnet" is missing: "editor" has no property
/// "documnet"`. The context in which the path begins is called the root.
STUDIO_HOST_EXPORT std::string describe(PathEnd const& end, std::string_view path);

}   // namespace studio::host
