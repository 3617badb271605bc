#include "studio/data/detail/ViewMirrors.h"

#include <new>

namespace studio::data::detail {

namespace {

/// The two back references of an entry.
struct OnSource : PropertyWatch {
    using PropertyWatch::PropertyWatch;
};
struct OnCopy : PropertyWatch {
    using PropertyWatch::PropertyWatch;
};

}   // namespace

struct ViewMirrors::Note final : OnSource, OnCopy, Link {
    explicit Note(ViewMirrors const& owner) noexcept : OnSource{&owner}, OnCopy{this} {}
    void propertyGone() noexcept override { delete this; }

    ContextData::Impl const* clone = nullptr;   // of the copy; only compared
    Age age{};
};

ViewMirrors::~ViewMirrors()
{
    while (!notes.empty())
        delete static_cast<Note*>(&notes.front());
}

Property::Impl* ViewMirrors::find(Property::Impl const& source, Age const& now) const noexcept
{
    Note const* const note = noteOf(source);
    if (!note || !(note->age == now))
        return nullptr;
    Property::Impl* const copy = note->OnCopy::property();
    return copy->isAlive() && copy->ownerImpl() == note->clone ? copy : nullptr;
}

void ViewMirrors::note(Property::Impl& source, Property::Impl& copy, Age const& now) noexcept
{
    Note* note = noteOf(source);
    if (!note) {
        if (!PropertyWatch::find(source, this, PropertyWatch::FEW).isCertain)
            return;   // the entry would not be found
        note = new (std::nothrow) Note{*this};
        if (!note)
            return;
        notes.push_back(*note);
        note->OnSource::pin(source);
    }
    note->OnCopy::pin(copy);
    note->clone = copy.ownerImpl();
    note->age = now;
}

ViewMirrors::Note* ViewMirrors::noteOf(Property::Impl const& source) const noexcept
{
    PropertyWatch* const end = PropertyWatch::find(source, this, PropertyWatch::FEW).watch;
    return end ? static_cast<Note*>(static_cast<OnSource*>(end)) : nullptr;
}

}   // namespace studio::data::detail
