#pragma once

#include "studio/data/model/PropertyImpl.h"

#include <cstddef>

namespace studio::data {

/// A note that an engine or a view pins to a property, so that a report of it needs no look-up. The property forgets
/// its notes when it goes for good, and a note takes itself off.
class PropertyWatch {
public:
    explicit PropertyWatch(void const* owner) noexcept : watcher{owner} {}
    PropertyWatch(PropertyWatch const&) = delete;
    PropertyWatch& operator=(PropertyWatch const&) = delete;
    virtual ~PropertyWatch() { unpin(); }

    /// What it is pinned to; null if to nothing.
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

    /// The property went for good, and the note was taken off it.
    virtual void propertyGone() noexcept {}

    /// What a search for a note found.
    struct Found {
        PropertyWatch* watch;   // null if there is none
        bool isCertain;         // false: there are so many notes that a look-up is cheaper
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
