#include "studio/data/detail/ViewMirrors.h"

#include <new>

namespace studio::data::detail {

namespace {

/// The two back references of an entry.
struct OnSource : PropertyBackref {
    using PropertyBackref::PropertyBackref;
};
struct OnCopy : PropertyBackref {
    using PropertyBackref::PropertyBackref;
};

}   // namespace

struct ViewMirrors::Entry final : OnSource, OnCopy, Link {
    explicit Entry(ViewMirrors const& owner) noexcept : OnSource{&owner}, OnCopy{this} {}
    void propertyGone() noexcept override { delete this; }

    ContextData::Impl const* clone = nullptr;   // of the copy; only compared
    Cached<Property::Impl*> copy;
};

void ViewMirrors::clear() noexcept
{
    while (!entries.empty())
        delete static_cast<Entry*>(&entries.front());
}

Property::Impl* ViewMirrors::find(Property::Impl const& source) noexcept
{
    if (model.isInTransaction())
        return nullptr;   // the structure version is meaningless
    epoch.catchUp();
    Entry const* const entry = entryOf(source);
    Property::Impl* const* const copy = entry ? entry->copy.in(epoch) : nullptr;
    return copy && (*copy)->isAlive() && (*copy)->ownerImpl() == entry->clone ? *copy : nullptr;
}

void ViewMirrors::keep(Property::Impl& source, Property::Impl& copy) noexcept
{
    if (model.isInTransaction())
        return;
    Entry* entry = entryOf(source);
    if (!entry) {
        if (!PropertyBackref::find(source, this, PropertyBackref::FEW).isCertain)
            return;   // the entry would not be found
        entry = new (std::nothrow) Entry{*this};
        if (!entry)
            return;
        entries.push_back(*entry);
        entry->OnSource::link(source);
    }
    entry->OnCopy::link(copy);
    entry->clone = copy.ownerImpl();
    entry->copy.set(&copy, epoch);
}

ViewMirrors::Entry* ViewMirrors::entryOf(Property::Impl const& source) const noexcept
{
    PropertyBackref* const found = PropertyBackref::find(source, this, PropertyBackref::FEW).backref;
    return found ? static_cast<Entry*>(static_cast<OnSource*>(found)) : nullptr;
}

}   // namespace studio::data::detail
