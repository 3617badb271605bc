#pragma once

#include "studio/data/detail/Epoch.h"
#include "studio/data/detail/PropertyBackref.h"

#include <boost/intrusive/list.hpp>

namespace studio::data::detail {

/// A view's cache from source properties to their copies, valid as `Epoch` says. An entry is removed with either
/// property.
class ViewMirrors {
public:
    explicit ViewMirrors(tarn::zero::Model::Impl const& sharedModel) noexcept : model{sharedModel} {}
    ViewMirrors(ViewMirrors const&) = delete;
    ViewMirrors& operator=(ViewMirrors const&) = delete;
    ~ViewMirrors() { clear(); }

    /// Returns the cached copy of a property; null if it must be looked up.
    Property::Impl* find(Property::Impl const& source) noexcept;
    /// True if there is an entry, even an outdated one. False does not mean that no copy exists.
    bool contains(Property::Impl const& source) const noexcept { return entryOf(source) != nullptr; }
    /// Caches a looked-up copy. Does nothing if memory is short.
    void keep(Property::Impl& source, Property::Impl& copy) noexcept;
    /// Makes every entry invalid, when a clone, or a property of one, comes or goes.
    void invalidate() noexcept { epoch.restart(); }
    void clear() noexcept;

private:
    struct Entry;

    Entry* entryOf(Property::Impl const& source) const noexcept;

    using Hook = boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::auto_unlink>>;
    struct Link : Hook {};
    boost::intrusive::list<Link, boost::intrusive::constant_time_size<false>> entries;   // owned
    tarn::zero::Model::Impl const& model;
    Epoch epoch{model};
};

}   // namespace studio::data::detail
