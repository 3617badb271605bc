#pragma once

#include "studio/data/detail/ExpressionBindings.h"

namespace studio::data::detail {

/// The links from properties to an engine's bindings: the report of a property then needs no look-up by name.
///
/// A property without a link counts as one that no expression reads, so a link must not be missing: it is set when the
/// binding is made, and checked when a report lists its property. If that happens while the model is not idle, or while
/// a newer report is pending, the link may be wrong later: the binding is *stale* until `revalidate` looks its property
/// up. The links are valid if no binding is stale and every report is processed.
class ExpressionLinks {
public:
    using Binding = ExpressionBinding;

    explicit ExpressionLinks(void const* engine) noexcept : owner{engine} {}
    ExpressionLinks(ExpressionLinks const&) = delete;
    ExpressionLinks& operator=(ExpressionLinks const&) = delete;

    /// The binding that a property is linked to. If `isCertain` is false, look it up by name.
    struct Found {
        Binding* binding;   // null if there is none
        bool isCertain;
    };
    Found find(Property::Impl const& property) const noexcept
    {
        PropertyBackref::Found const found = PropertyBackref::find(property, owner, PropertyBackref::FEW);
        return {static_cast<Binding*>(found.backref), found.isCertain};
    }

    /// Links a binding to the property that was found for it in an idle model; null for none.
    void set(Binding& binding, Property::Impl* property) noexcept;
    /// Updates the link of a property whose binding was looked up for a report; null for none. `isLatest`: the model is
    /// idle, and no newer report is pending.
    void update(Property::Impl& property, Binding* binding, bool isLatest) noexcept;

    /// True if `revalidate` has work to do.
    bool hasStale() const noexcept { return !stale.empty(); }
    void markStale(Binding& binding) noexcept
    {
        if (!static_cast<BindingHook<OfLinks> const&>(binding).is_linked())
            stale.push_back(binding);
    }
    /// Looks up the properties of the stale bindings. The model must be idle, and every report processed.
    void revalidate() noexcept;

private:
    Binding* linkedTo(Property::Impl const& property) const noexcept;

    void const* owner;
    BindingList<Binding, OfLinks> stale;
};

}   // namespace studio::data::detail
