#pragma once

#include "studio/data/model/PropertyImpl.h"

#include <cstddef>

namespace studio::data {

/// Back reference from a property to a record of an engine or a view, so that a report of the property needs no
/// look-up. The property unlinks its back references when it is destroyed; a back reference unlinks itself.
// A list of its own: that of boost::intrusive would put its node into the installed header of properties.
class PropertyBackref {
public:
    explicit PropertyBackref(void const* holder) noexcept : owner{holder} {}
    PropertyBackref(PropertyBackref const&) = delete;
    PropertyBackref& operator=(PropertyBackref const&) = delete;
    virtual ~PropertyBackref() { unlink(); }

    /// The property that refers to it; null if none.
    Property::Impl* property() const noexcept { return linked; }
    void link(Property::Impl& property) noexcept
    {
        unlink();
        linked = &property;
        next = property.backrefs.first;
        property.backrefs.first = this;
    }
    void unlink() noexcept
    {
        if (!linked)
            return;
        PropertyBackref** to = &linked->backrefs.first;
        while (*to != this)
            to = &(*to)->next;
        *to = next;
        linked = nullptr;
    }

    /// Called when the property was destroyed, after the back reference was unlinked.
    virtual void propertyGone() noexcept {}

    /// The result of a search for a back reference.
    struct Found {
        PropertyBackref* backref;   // null if there is none
        bool isCertain;             // false: too many to search; look it up elsewhere
    };
    static constexpr std::size_t FEW = 8;
    static Found find(Property::Impl const& property, void const* owner, std::size_t mostLookedAt) noexcept
    {
        std::size_t left = mostLookedAt;
        for (PropertyBackref* backref = property.backrefs.first; backref; backref = backref->next) {
            if (backref->owner == owner)
                return {backref, true};
            if (--left == 0)
                return {nullptr, false};
        }
        return {nullptr, true};
    }

private:
    void const* owner;
    Property::Impl* linked = nullptr;
    PropertyBackref* next = nullptr;   // of the same property
};

}   // namespace studio::data
