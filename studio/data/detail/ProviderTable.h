#pragma once

#include "tarn/zero/services/Hashers.h"

#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/uuid/uuid.hpp>

#include <memory>

namespace studio::data {

class ContextProvider;
class Invariants;   // of the tests: may look at everything

namespace detail {

/// The providers of the process by id. Owns none of them: it reaches their owners through `shared_from_this`. Used on
/// the thread of the shared model.
class ProviderTable {
public:
    /// The one table: there once the library is loaded, and for as long as any code runs.
    static ProviderTable& instance();

    /// Enters a provider whose construction goes on. The first entry of an id stays.
    void add(boost::uuids::uuid const& id, ContextProvider* provider);
    /// The construction of the provider failed: its entry stays and holds null.
    void abandon(boost::uuids::uuid const& id) noexcept;
    /// Takes the entry out, if there is one.
    void remove(boost::uuids::uuid const& id) noexcept;

    /// What `model::getContextProvider` answers.
    std::shared_ptr<ContextProvider> find(boost::uuids::uuid const& id) const;

private:
    friend class studio::data::Invariants;

    boost::unordered_flat_map<boost::uuids::uuid, ContextProvider*,
                              tarn::zero::services::hashers::TARN0Hasher<boost::uuids::uuid>>
        providers;
};

}   // namespace detail
}   // namespace studio::data
