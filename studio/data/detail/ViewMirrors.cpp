#include "studio/data/detail/ViewMirrors.h"

#include <new>

namespace studio::data::detail {

struct ViewMirrors::Note final : Link {
    struct End final : PropertyWatch {
        End(void const* watcher, Note& note) noexcept : PropertyWatch{watcher}, whole{note} {}
        void propertyGone() noexcept override { delete &whole; }
        Note& whole;
    };

    explicit Note(ViewMirrors const& owner) noexcept : source{&owner, *this}, copy{this, *this} {}

    End source;
    End copy;
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
    Property::Impl* const copy = note->copy.property();
    return copy->isAlive() && copy->ownerImpl() == note->clone ? copy : nullptr;
}

void ViewMirrors::note(Property::Impl& source, Property::Impl& copy, Age const& now) noexcept
{
    Note* note = noteOf(source);
    if (!note) {
        if (!PropertyWatch::find(source, this, PropertyWatch::FEW).isCertain)
            return;   // it would not be found
        note = new (std::nothrow) Note{*this};
        if (!note)
            return;
        notes.push_back(*note);
        note->source.pin(source);
    }
    note->copy.pin(copy);
    note->clone = copy.ownerImpl();
    note->age = now;
}

ViewMirrors::Note* ViewMirrors::noteOf(Property::Impl const& source) const noexcept
{
    PropertyWatch* const end = PropertyWatch::find(source, this, PropertyWatch::FEW).watch;
    return end ? &static_cast<Note::End*>(end)->whole : nullptr;
}

}   // namespace studio::data::detail
