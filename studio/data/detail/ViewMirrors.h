#pragma once

#include "studio/data/detail/PropertyWatch.h"

#include <boost/intrusive/list.hpp>

#include <cstdint>

namespace studio::data::detail {

/// The short way of a view from a property that changed to its copy: a note on both, made when the copy was looked up,
/// which goes with either. It holds for as long as neither the structure of the shared model nor the clones are others
/// than those it was made for.
class ViewMirrors {
public:
    /// What a note was made for.
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

    /// The copy of a property; null if it must be looked up.
    Property::Impl* find(Property::Impl const& source, Age const& now) const noexcept;
    /// True if a copy of the property was looked up before: false says nothing.
    bool knows(Property::Impl const& source) const noexcept { return noteOf(source) != nullptr; }
    /// The copy was looked up. Without memory the next time looks it up again.
    void note(Property::Impl& source, Property::Impl& copy, Age const& now) noexcept;

private:
    struct Note;

    Note* noteOf(Property::Impl const& source) const noexcept;

    using Hook = boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::auto_unlink>>;
    struct Link : Hook {};
    boost::intrusive::list<Link, boost::intrusive::constant_time_size<false>> notes;   // owned
};

}   // namespace studio::data::detail
