#pragma once

#include "tarn/zero/services/Hashers.h"

#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/uuid/uuid.hpp>

#include <memory>

namespace studio::data {

class ContextProvider;

namespace detail {

/// The providers of the process by id. Owns none of them: it shares ownership through `shared_from_this`. Used on the
/// thread of the shared model.
class ProviderTable {
public:
    /// The one table. Exists once the library is loaded, and is never destroyed.
    static ProviderTable& instance();

    /// Adds a provider under construction. If the id has an entry, that one stays.
    void add(boost::uuids::uuid const& id, ContextProvider* provider);
    /// Marks the construction of a provider as failed: its entry stays and holds null.
    void abandon(boost::uuids::uuid const& id) noexcept;
    /// Removes the entry of that id, if there is one.
    void remove(boost::uuids::uuid const& id) noexcept;

    /// Implements `model::getContextProvider`.
    std::shared_ptr<ContextProvider> find(boost::uuids::uuid const& id) const;

    /// Every provider by id; null for one whose construction failed.
    auto const& all() const noexcept { return providers; }

private:
    boost::unordered_flat_map<boost::uuids::uuid, ContextProvider*,
                              tarn::zero::services::hashers::TARN0Hasher<boost::uuids::uuid>>
        providers;
};

}   // namespace detail
}   // namespace studio::data
