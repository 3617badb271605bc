#pragma once

#include "foundation/Export.h"
#include "foundation/UuidLayout.h"

#include <boost/uuid/uuid.hpp>

#include <memory>

namespace studio::data {

class ContextProvider;

namespace model {

/// Returns the living provider of that id, shared with its other owners; null for an id that no provider has. *Throws*
/// `std::bad_weak_ptr` for a provider that is under construction or destruction, or whose construction failed at its
/// commit. *Cost*: one hash look-up, no allocation.
STUDIO_DATA_EXPORT std::shared_ptr<ContextProvider> getContextProvider(boost::uuids::uuid const& id);

}   // namespace model
}   // namespace studio::data
