#pragma once

#include "studio/data/detail/PropertyWatch.h"

#include <boost/intrusive/list.hpp>

#include <cstdint>

namespace studio::data::detail {

/// A view's cache from source properties to their copies. An entry is removed with either property, and is valid only
/// for the structure version and the clone version for which it was made.
class ViewMirrors {
public:
    /// The versions for which an entry was made.
    struct Age {
        std::uint64_t structure;
        std::uint64_t clones;
        friend bool operator==(Age const& left, Age const& right) noexcept
        {
            return left.structure == right.structure && left.clones == right.clones;
        }
    };

    ViewMirrors() = default;
    ViewMirrors(ViewMirrors const&) = delete;
    ViewMirrors& operator=(ViewMirrors const&) = delete;
    ~ViewMirrors();

    /// Returns the cached copy of a property; null if it must be looked up.
    Property::Impl* find(Property::Impl const& source, Age const& now) const noexcept;
    /// True if there is an entry, even an outdated one. False does not mean that no copy exists.
    bool knows(Property::Impl const& source) const noexcept { return noteOf(source) != nullptr; }
    /// Caches a looked-up copy. Does nothing if memory is short.
    void note(Property::Impl& source, Property::Impl& copy, Age const& now) noexcept;

private:
    struct Note;

    Note* noteOf(Property::Impl const& source) const noexcept;

    using Hook = boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::auto_unlink>>;
    struct Link : Hook {};
    boost::intrusive::list<Link, boost::intrusive::constant_time_size<false>> notes;   // owned
};

}   // namespace studio::data::detail
