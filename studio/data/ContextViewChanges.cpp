#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/detail/ViewChange.h"
#include "studio/data/detail/ViewGraph.h"
#include "studio/data/detail/ViewMirrors.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <tuple>
#include <vector>

namespace studio::data {

/// What has to become of the properties of a clone.
struct ContextView::Comparison {
    struct Pair {
        Property::Impl* source;
        Property::Impl* copy;
    };

    /// Both stand under one name; either may be null. What stands under its name with another UUID was replaced.
    STUDIO_DATA_LOCAL void compare(Property::Impl* source, Property::Impl* copy);
    STUDIO_DATA_LOCAL void compareAll(ContextData::Impl::Properties const& sources,
                                      ContextData::Impl::Properties const& copies);

    std::vector<Pair> changed;
    std::vector<Property> gone;
    std::vector<Property> missing;   // in the source
};

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

    /// Where the report has put a property or taken it away.
    struct Place {
        ContextData::Impl const* owner;
        std::string_view name;
        friend bool operator<(Place const& left, Place const& right) noexcept
        {
            return std::tie(left.owner, left.name) < std::tie(right.owner, right.name);
        }
        friend bool operator==(Place const& left, Place const& right) noexcept
        {
            return left.owner == right.owner && left.name == right.name;
        }
    };

    Update(ContextView& owner, tarn::zero::ReportData const& followed) : view{owner}, report{followed} {}
    Update(Update const&) = delete;
    Update& operator=(Update const&) = delete;
    ~Update()
    {
        if (isDone || (change && !change->viewLives()))
            return;
        view.exact.clear();
        view.halfFollowed = 0;
    }
    void begin()
    {
        if (!change)
            change.emplace(view);
    }
    STUDIO_DATA_LOCAL bool compareChanged(ContextData::Impl const& source, ContextData::Impl const& clone,
                                          Comparison& found);

    ContextView& view;
    tarn::zero::ReportData const& report;
    std::optional<Change> change;
    std::vector<Addition> additions;
    std::vector<Reference> gained;   // to contexts with a living provider
    std::optional<std::vector<Place>> places;
    bool orphansPossible = false;
    bool isLasting = false;   // nothing that the clones follow may still be taken back, and neither may they
    bool isDone = false;
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

/// Calls `visit(owner, name)` for where a transaction found a property and where it left it, if it was made, destroyed,
/// moved or renamed. The owner may be null.
template <class Visit>
void eachPlace(tarn::zero::ReportData::Storage const& storage, Visit const& visit)
{
    bool const isRenamed = storage.isChanged(Property::Impl::NAME);
    bool const isMoved = storage.isChanged(Property::Impl::OWNER);
    if (!isRenamed && !isMoved && !storage.wasCreated() && !storage.wasDestroyed())
        return;
    auto const& property = static_cast<Property::Impl const&>(*storage.element().get());
    auto const* const owner = static_cast<ContextData::Impl const*>(property.containerImpl());
    std::string_view const name = property.getName();
    visit(owner, name);
    if (isRenamed || isMoved)
        visit(isMoved ? static_cast<ContextData::Impl const*>(storage.oldContainer().get()) : owner,
              isRenamed ? *static_cast<std::string const*>(storage.oldSlot(Property::Impl::NAME)) : name);
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
    Update update{*this, report.report()};
    if (!exact.empty())
        doubt(report.report());
    bool const isHalf = !exact.empty() && report.report().containsElementChanges(ContextData::Impl::classImpl());
    halfFollowed = isHalf ? report.report().lastTransaction() : 0;
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
    Update update{*this, report.report()};
    if (!exact.empty())
        doubt(report.report());
    halfFollowed = 0;
    update.isLasting = isQuiet();
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

/// Additions wait until every removal of the report is done, so that a property that moved or was renamed takes its
/// UUID along.
void ContextView::followProperties(ContextData::Impl const& source, ContextData const& clone, Update& update)
{
    Comparison found;
    if (!update.compareChanged(source, *clone.operator->(), found))
        found.compareAll(source.getProperties(), clone->getProperties());
    for (Comparison::Pair const& pair : found.changed)
        followValue(pair.source->getValue(), *pair.copy, update);
    for (Property const& property : found.missing)
        update.additions.push_back({property, clone});
    for (Property const& property : found.gone)
        remove(property, update);
    if (update.isLasting)
        exact.insert(source.identifier());
}

void ContextView::Comparison::compare(Property::Impl* source, Property::Impl* copy)
{
    if (source && copy && source->identifier() == copy->identifier()) {
        if (differ(copy->getValue(), source->getValue()))
            changed.push_back({source, copy});
        return;
    }
    if (copy)
        gone.emplace_back(copy);
    if (source)
        missing.emplace_back(source);
}

/// In order of names.
void ContextView::Comparison::compareAll(ContextData::Impl::Properties const& sources,
                                         ContextData::Impl::Properties const& copies)
{
    auto copy = copies.begin();
    for (Property const& source : sources) {
        for (; copy != copies.end() && (*copy)->getName() < source->getName(); ++copy)
            compare(nullptr, copy->operator->());
        bool const isThere = copy != copies.end() && (*copy)->getName() == source->getName();
        compare(source.operator->(), isThere ? (*copy++).operator->() : nullptr);
    }
    for (; copy != copies.end(); ++copy)
        compare(nullptr, copy->operator->());
}

/// Compares what stands under the names that the report tells of, in their order. False, with nothing found, if that is
/// not all that may differ.
bool ContextView::Update::compareChanged(ContextData::Impl const& source, ContextData::Impl const& clone,
                                         Comparison& found)
{
    if (view.exact.count(source.identifier()) == 0 ||
        report.lastTransaction() != ContextProvider::sharedModel()->lastTransaction())
        return false;   // or the source is already ahead of the report
    if (!places) {
        places.emplace();
        for (tarn::zero::ReportData::Storage const* const storage : report.storages())
            if (tarn::zero::isInstance<Property>(*storage->element().get()))
                eachPlace(*storage, [&](auto const* owner, std::string_view name) {
                    places->push_back({owner, name});
                });
        std::sort(places->begin(), places->end());
        places->erase(std::unique(places->begin(), places->end()), places->end());
    }
    auto const& sources = source.getProperties();
    auto const& copies = clone.getProperties();
    auto place = std::lower_bound(places->begin(), places->end(), Place{&source, {}});
    for (; place != places->end() && place->owner == &source; ++place)
        found.compare(sources.findImpl(place->name), copies.findImpl(place->name));
    if (copies.size() + found.missing.size() == sources.size() + found.gone.size())
        return true;
    found = Comparison{};   // a holder has changed the clone
    return false;
}

/// False where a transaction that is not the view's may still be rolled back.
bool ContextView::isQuiet() const noexcept
{
    return !ContextProvider::sharedModel()->isInTransaction() && !model->isInTransaction();
}

/// Takes out of `exact` whatever the report changes without telling so by a change of the context: properties of a
/// context that counts as unmodified, and contexts that came or went under a UUID.
void ContextView::doubt(tarn::zero::ReportData const& report)
{
    if (!isQuiet() || (halfFollowed != 0 && halfFollowed != report.lastTransaction()))
        return exact.clear();
    if (report.structure() == report.structureBefore())
        return;
    for (tarn::zero::ReportData::Storage const* const storage : report.storages()) {
        tarn::zero::ModelElement::Impl const& element = *storage->element().get();
        if (tarn::zero::isInstance<ContextData>(element)) {
            if (storage->wasCreated() || storage->wasDestroyed())
                exact.erase(element.identifier());
        } else if (tarn::zero::isInstance<Property>(element)) {
            eachPlace(*storage, [&](auto const* owner, std::string_view) {
                auto const known = owner ? exact.find(owner->identifier()) : exact.end();
                if (known == exact.end())
                    return;
                tarn::zero::ReportData::Storage const* const context = report.storageOf(*owner);
                if (!context || !context->isChanged(ContextData::Impl::PROPERTIES))
                    exact.erase(known);
            });
        }
    }
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
    update.isDone = true;   // the view may be gone
}

}   // namespace studio::data
