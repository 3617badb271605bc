#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/detail/ViewChange.h"
#include "studio/data/detail/ViewGraph.h"
#include "studio/data/detail/ViewMirrors.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace studio::data {

/// What one report has the view do. Its transaction opens with the first change.
struct ContextView::Update {
    struct Addition {
        Property source;
        ContextData clone;
    };

    struct Reference {
        Id from;
        Id to;
    };

    explicit Update(ContextView& owner) : view{owner} {}
    void begin()
    {
        if (!change)
            change.emplace(view);
    }

    ContextView& view;
    std::optional<Change> change;
    std::vector<Addition> additions;
    std::vector<Reference> gained;   // to contexts with a living provider
    bool orphansPossible = false;
};

namespace {

std::optional<boost::uuids::uuid> uuidIn(PropertyValue const& value)
{
    return value.isUUID() ? std::optional{value.getUUID()} : std::nullopt;
}

/// A provider in the middle of its destruction is none.
bool namesProvider(boost::uuids::uuid const& id)
{
    try {
        return PropertyValue{id}.isContextProvider();
    } catch (std::bad_weak_ptr const&) {
        return false;
    }
}

/// Not quite equality: NaN differs from itself only when it was written.
bool differ(PropertyValue const& left, PropertyValue const& right)
{
    return !(left == right) && (left == left || right == right);
}

/// The property of `clone` that mirrors `source`: the one of its UUID, else the one of its name, else null.
Property::Impl* copyOf(Property::Impl const& source, ContextData::Impl const& clone)
{
    auto const& copies = clone.getProperties();
    Property::Impl* const named = copies.findImpl(source.getName());
    if (named && named->identifier() == source.identifier())
        return named;
    auto const renamed = std::find_if(copies.begin(), copies.end(),
                                      [&](Property const& copy) { return copy->identifier() == source.identifier(); });
    return renamed != copies.end() ? renamed->operator->() : named;
}

}   // namespace

bool ContextView::concerns(tarn::zero::ElementImpl const& changedElement, std::uint64_t) const noexcept
{
    auto const& element = static_cast<tarn::zero::ModelElement::Impl const&>(changedElement);
    bool const isProperty = tarn::zero::isInstance<Property>(element);
    if (isProperty && mirrors->knows(static_cast<Property::Impl const&>(element)))
        return true;
    tarn::zero::ModelElement::Impl const* const owner = isProperty ? element.containerImpl() : &element;
    return owner && data.count(owner->identifier()) != 0;
}

void ContextView::transactionCommitted(tarn::zero::ShallowChangeReport<Property> const& report)
{
    refresh();
    Update update{*this};
    for (tarn::zero::ReportEntry const entry : report.modified()) {
        auto& source = static_cast<Property::Impl&>(*entry.element().get());
        Property::Impl* const copy = copyFor(source);
        if (copy && !(copy->getValue() == source.getValue()))
            followValue(source.getValue(), *copy, update);
    }
    finish(update);
}

void ContextView::transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
{
    refresh();
    Update update{*this};
    for (tarn::zero::ReportEntry const entry : report.modified()) {
        auto const& source = static_cast<ContextData::Impl const&>(*entry.element().get());
        ContextData const* const clone = source.isAlive() ? cloneOf(source) : nullptr;
        if (!clone)
            continue;
        followActiveContexts(source, *clone->operator->(), update);
        followProperties(source, *clone, update);
    }
    finish(update);
}

/// The clone of a context of the shared model. Clones that some view keeps there have none.
ContextData const* ContextView::cloneOf(ContextData::Impl const& source)
{
    ContextData const* const clone = liveData(source.identifier());
    if (!clone || !(ContextProvider::sharedModel()->findElement(source.identifier(), 1).get() == &source))
        return nullptr;
    return clone;
}

/// The property that mirrors `source`; null if there is none.
Property::Impl* ContextView::copyFor(Property::Impl& source)
{
    // A later transaction may have destroyed or taken out what this one modified.
    ContextData::Impl const* const owner = source.isAlive() ? source.ownerImpl() : nullptr;
    if (!owner)
        return nullptr;
    tarn::zero::Model::Impl const& shared = *ContextProvider::sharedModel().get();
    bool const isIdle = !shared.isInTransaction();   // else its structure says nothing
    detail::ViewMirrors::Age const now{shared.structure(), cloneChanges};
    if (Property::Impl* const copy = isIdle ? mirrors->find(source, now) : nullptr)
        return copy;
    ContextData const* const clone = cloneOf(*owner);
    Property::Impl* const copy = clone ? copyOf(source, *clone->operator->()) : nullptr;
    if (copy && isIdle)
        mirrors->note(source, *copy, {shared.structure(), cloneChanges});
    return copy;
}

void ContextView::followValue(PropertyValue const& value, Property::Impl& copy, Update& update)
{
    update.begin();
    std::optional<Id> const old = uuidIn(copy.getValue());
    copy.setValue(value);
    if (old)
        lost(*old, copy.ownerImpl()->identifier(), update);
    if (value.isUUID())
        gained(value, copy.getOwner(), update);
}

void ContextView::followActiveContexts(ContextData::Impl const& source, ContextData::Impl& clone, Update& update)
{
    if (clone.getActiveContexts() == source.getActiveContexts())
        return;
    update.begin();
    auto& sequence = clone.getActiveContextsMutable();
    sequence.clear();
    for (std::string const& context : source.getActiveContexts())
        sequence.push_back(context);
}

/// Compares both maps in order of names. What stands under its name with another UUID was replaced. Additions wait
/// until every removal of the report is done, so that a property that moved or was renamed takes its UUID along.
void ContextView::followProperties(ContextData::Impl const& source, ContextData const& clone, Update& update)
{
    auto const& wanted = source.getProperties();
    auto const& copies = clone->getProperties();
    std::vector<Property> gone;
    auto copy = copies.begin();
    for (Property const& property : wanted) {
        for (; copy != copies.end() && (*copy)->getName() < property->getName(); ++copy)
            gone.push_back(*copy);
        if (copy == copies.end() || property->getName() < (*copy)->getName()) {
            update.additions.push_back({property, clone});
            continue;
        }
        Property const& same = *copy++;
        if (same->identifier() != property->identifier()) {
            gone.push_back(same);
            update.additions.push_back({property, clone});
        } else if (differ(same->getValue(), property->getValue())) {
            followValue(property->getValue(), *same.operator->(), update);
        }
    }
    gone.insert(gone.end(), copy, copies.end());
    for (Property const& property : gone)
        remove(property, update);
}

void ContextView::add(Property const& source, ContextData const& clone, Update& update)
{
    update.begin();
    ++cloneChanges;
    Property const copy = source->cloneTo(model, true);
    clone->getPropertiesMutable().add(copy);
    if (copy->getValue().isUUID())
        gained(copy->getValue(), clone, update);
}

void ContextView::remove(Property const& copy, Update& update)
{
    update.begin();
    ++cloneChanges;
    std::optional<Id> const old = uuidIn(copy->getValue());
    Id const owner = copy->ownerImpl()->identifier();
    copy->destroy();
    if (old)
        lost(*old, owner, update);
}

void ContextView::gained(PropertyValue const& value, ContextData const& clone, Update& update)
{
    Id const target = value.getUUID();
    graph->addReference(clone.Uuid(), target);
    if (namesProvider(target))
        update.gained.push_back({clone.Uuid(), target});
}

void ContextView::lost(Id const& target, Id const& from, Update& update)
{
    graph->removeReference(from, target);
    update.orphansPossible |= namesProvider(target);
}

void ContextView::finish(Update& update)
{
    for (Update::Addition const& addition : update.additions)
        add(addition.source, addition.clone, update);
    for (Update::Reference const& reference : update.gained)
        mirror(reference.to);
    // What else their owners refer to and was not followed, because it had no living provider, is followed with it.
    for (Update::Reference const& reference : update.gained)
        if (graph->isOpen(reference.from))
            createClosure(getData(reference.from));
    if (update.orphansPossible)
        discardOrphans();
    if (update.change)
        update.change->commit();
}

}   // namespace studio::data
