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

/// The differences between the properties of a context and of its clone.
struct ContextView::Comparison {
    struct Pair {
        Property::Impl* source;
        Property::Impl* copy;
    };

    /// Compares two properties of one name; either may be null. One with another UUID was replaced.
    STUDIO_DATA_LOCAL void compare(Property::Impl* source, Property::Impl* copy);
    STUDIO_DATA_LOCAL void compareAll(ContextData::Impl::Properties const& sources,
                                      ContextData::Impl::Properties const& copies);

    std::vector<Pair> changed;
    std::vector<Property> gone;
    std::vector<Property> missing;   // to be added to the clone
};

/// The work of one report. Its transaction opens with the first change.
struct ContextView::Update {
    struct Addition {
        Property source;
        ContextData clone;
    };

    struct Reference {
        Id from;
        Id to;
    };

    /// A context and name at which the report adds or removes a property.
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
    bool isLasting = false;   // no open transaction can still roll back the sources or the clones
    bool isDone = false;
};

namespace {

std::optional<boost::uuids::uuid> uuidIn(PropertyValue const& value)
{
    return value.isUUID() ? std::optional{value.getUUID()} : std::nullopt;
}

/// True if the id has a living provider; false also for one under destruction.
bool namesProvider(boost::uuids::uuid const& id)
{
    try {
        return PropertyValue{id}.isContextProvider();
    } catch (std::bad_weak_ptr const&) {
        return false;
    }
}

/// Like !=, except that two NaNs are the same value.
bool differ(PropertyValue const& left, PropertyValue const& right)
{
    return !(left == right) && (left == left || right == right);
}

/// Returns the property of `clone` that mirrors `source`: the one of its UUID, otherwise the one of its name, otherwise
/// null.
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

/// Calls `visit(owner, name)` for a property's place before and after a transaction that created, destroyed, moved or
/// renamed it. The owner may be null.
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

/// Returns the clone of a context of the shared model; null for a clone that some view keeps in that model.
ContextData const* ContextView::cloneOf(ContextData::Impl const& source)
{
    ContextData const* const clone = liveData(source.identifier());
    if (!clone || !(ContextProvider::sharedModel()->findElement(source.identifier(), 1).get() == &source))
        return nullptr;
    return clone;
}

/// Returns the property that mirrors `source`; null if there is none.
Property::Impl* ContextView::copyFor(Property::Impl& source)
{
    // A later transaction may have destroyed or removed what this one modified.
    ContextData::Impl const* const owner = source.isAlive() ? source.ownerImpl() : nullptr;
    if (!owner)
        return nullptr;
    tarn::zero::Model::Impl const& shared = *ContextProvider::sharedModel().get();
    bool const isIdle = !shared.isInTransaction();   // inside a transaction the structure version is meaningless
    detail::ViewMirrors::Age const now{shared.structureVersion(), cloneChanges};
    if (Property::Impl* const copy = isIdle ? mirrors->find(source, now) : nullptr)
        return copy;
    ContextData const* const clone = cloneOf(*owner);
    Property::Impl* const copy = clone ? copyOf(source, *clone->operator->()) : nullptr;
    if (copy && isIdle)
        mirrors->note(source, *copy, {shared.structureVersion(), cloneChanges});
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

/// Records additions for later, when every removal of the report is done, so that a property that was moved or renamed
/// keeps its UUID.
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

/// Compares all properties, ordered by name.
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

/// Compares only the properties whose names the report lists, in order. Returns false, with nothing found, if others
/// may differ.
bool ContextView::Update::compareChanged(ContextData::Impl const& source, ContextData::Impl const& clone,
                                         Comparison& found)
{
    if (view.exact.count(source.identifier()) == 0 ||
        report.lastTransaction() != ContextProvider::sharedModel()->lastTransaction())
        return false;   // or the source is already newer than the report
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

/// Returns false while an open transaction can still roll back the shared model or the view's model.
bool ContextView::isQuiet() const noexcept
{
    return !ContextProvider::sharedModel()->isInTransaction() && !model->isInTransaction();
}

/// Removes contexts from `exact` that the report changes without listing them as modified: owners of properties that
/// came or went, and contexts that were created or destroyed under a UUID.
void ContextView::doubt(tarn::zero::ReportData const& report)
{
    if (!isQuiet() || (halfFollowed != 0 && halfFollowed != report.lastTransaction()))
        return exact.clear();
    if (report.structureVersion() == report.structureVersionBefore())
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
    // Then follow the other references of these contexts that were skipped because they had no living provider.
    for (Update::Reference const& reference : update.gained)
        if (graph->isOpen(reference.from))
            createClosure(getData(reference.from));
    if (update.orphansPossible)
        discardOrphans();
    if (update.change)
        update.change->commit();
    update.isDone = true;   // the view may be destroyed
}

}   // namespace studio::data
