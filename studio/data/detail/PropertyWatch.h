#pragma once

#include "studio/data/model/PropertyImpl.h"

#include <cstddef>

namespace studio::data {

/// Back reference from a property to a record of an engine or a view, so that a report of the property needs no
/// look-up. The property unlinks its back references when it is destroyed; a back reference unlinks itself.
class PropertyWatch {
public:
    explicit PropertyWatch(void const* owner) noexcept : watcher{owner} {}
    PropertyWatch(PropertyWatch const&) = delete;
    PropertyWatch& operator=(PropertyWatch const&) = delete;
    virtual ~PropertyWatch() { unpin(); }

    /// The property that refers to it; null if none.
    Property::Impl* property() const noexcept { return pinnedTo; }
    void pin(Property::Impl& property) noexcept
    {
        unpin();
        pinnedTo = &property;
        next = property.watches;
        property.watches = this;
    }
    void unpin() noexcept
    {
        if (!pinnedTo)
            return;
        PropertyWatch** link = &pinnedTo->watches;
        while (*link != this)
            link = &(*link)->next;
        *link = next;
        pinnedTo = nullptr;
    }

    /// Called when the property was destroyed, after the back reference was unlinked.
    virtual void propertyGone() noexcept {}

    /// The result of a search for a back reference.
    struct Found {
        PropertyWatch* watch;   // null if there is none
        bool isCertain;         // false: too many to search; look it up elsewhere
    };
    static constexpr std::size_t FEW = 8;
    static Found find(Property::Impl const& property, void const* watcher, std::size_t mostLookedAt) noexcept
    {
        std::size_t left = mostLookedAt;
        for (PropertyWatch* watch = property.watches; watch; watch = watch->next) {
            if (watch->watcher == watcher)
                return {watch, true};
            if (--left == 0)
                return {nullptr, false};
        }
        return {nullptr, true};
    }

private:
    friend class Property::Impl;

    void const* watcher;
    Property::Impl* pinnedTo = nullptr;
    PropertyWatch* next = nullptr;   // of the same property
};

}   // namespace studio::data
