#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/host/Export.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace studio::host {

/// What `put` did.
enum class Written {
    Changed,   ///< the property has the value now
    Same,      ///< the property had an equal value before; nothing was written
    Added,     ///< the context at the end of the path has a new property
    Nowhere    ///< a context on the path does not exist; nothing was written
};

/// Writes the property that reading the dotted path from `context` yields. Adds it if it is missing and the context
/// that would hold it exists. What is read there afterwards is `value`.
///
/// *Notifies*: as the one transaction that it is, before it returns. *Throws*:
/// - `std::invalid_argument` for a null context and for a path that is empty or has an empty name, as `.a`, `a.` and
///   `a..b` have; nothing is written then;
/// - what a listener throws: the value is written;
/// - as `ContextProvider::setPropertyValue` and `addProperty`.
///
/// *Cost*: that of the write. Allocates nothing to find the property.
STUDIO_HOST_EXPORT Written put(std::shared_ptr<data::ContextProvider> const& context, std::string_view path,
                               data::PropertyValue const& value);

/// Writes every existing property that matches the path, as `ContextProvider::setPropertyValue` does, and returns how
/// many matched: 0 for a path with a typo, more than 1 if properties whose own names have dots hide others. Never adds
/// a property. *Throws* as `put`; properties written before a failure keep the value.
STUDIO_HOST_EXPORT std::size_t set(std::shared_ptr<data::ContextProvider> const& context, std::string_view path,
                                   data::PropertyValue const& value);

}   // namespace studio::host
