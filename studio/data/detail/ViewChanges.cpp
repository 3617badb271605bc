#include "studio/data/ContextProvider.h"
#include "studio/data/detail/ViewState.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <tuple>
#include <vector>

namespace studio::data::detail {

/// The differences between the properties of a context and of its clone.
struct ViewState::Comparison {
    struct Pair {
        Property::Impl* source;
        Property::Impl* copy;
    };

    /// Compares two properties of one name; either may be null. One with another UUID was replaced.
    void compare(Property::Impl* source, Property::Impl* copy);
    void compareAll(ContextData::Impl::Properties const& sources, ContextData::Impl::Properties const& copies);

    std::vector<Pair> changed;
    std::vector<Property> gone;
    std::vector<Property> missing;   // to be added to the clone
};

/// The work of one report. Its transaction opens with the first change.
struct ViewState::Update {
    struct Addition {
        Property source;
        ContextData clone;
    };

    struct Reference {
        Id from;
        Id to;
    };

    /// A context and name at which the report adds or removes a property.
    struct Slot {
        ContextData::Impl const* owner;
        std::string_view name;
        friend bool operator<(Slot const& left, Slot const& right) noexcept
        {
            return std::tie(left.owner, left.name) < std::tie(right.owner, right.name);
        }
        friend bool operator==(Slot const& left, Slot const& right) noexcept
        {
            return left.owner == right.owner && left.name == right.name;
        }
    };

    Update(ViewState& owner, tarn::zero::ReportData const& followed) : view{owner}, report{followed} {}
    Update(Update const&) = delete;
    Update& operator=(Update const&) = delete;
    ~Update()
    {
        if (!isDone)
            view.exact.clear();
    }
    void begin()
    {
        if (!change)
            change.emplace(view);
    }
    bool compareChanged(ContextData::Impl const& source, ContextData::Impl const& clone, Comparison& found);

    ViewState& view;   // kept by the caller
    tarn::zero::ReportData const& report;
    std::optional<Change> change;
    std::vector<Addition> additions;
    std::vector<Reference> gained;   // to contexts with a living provider, or restored ones
    std::optional<std::vector<Slot>> slots;
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

}   // namespace

bool ViewState::concerns(tarn::zero::ModelElement::Impl const& element) const noexcept
{
    bool const isProperty = tarn::zero::isInstance<Property>(element);
    if (isProperty && mirrors.contains(static_cast<Property::Impl const&>(element)))
        return true;
    tarn::zero::ModelElement::Impl const* const owner = isProperty ? element.containerImpl() : &element;
    return owner && data.count(owner->identifier()) != 0;
}

void ViewState::followProperties(tarn::zero::ShallowChangeReport<Property> const& report)
{
    refreshGraph();
    Update update{*this, report.report()};
    exact.follow(report.report(), isQuiet(), report.report().containsElementChanges(ContextData::Impl::classImpl()));
    for (tarn::zero::ReportEntry const entry : report.modified()) {
        auto& source = static_cast<Property::Impl&>(*entry.element().get());
        Property::Impl* const copy = copyFor(source);
        if (copy && !(copy->getValue() == source.getValue()))
            followValue(source.getValue(), *copy, update);
    }
    finish(update);
}

void ViewState::followContexts(tarn::zero::ShallowChangeReport<ContextData> const& report)
{
    refreshGraph();
    Update update{*this, report.report()};
    update.isLasting = isQuiet();
    exact.follow(report.report(), update.isLasting, false);
    for (tarn::zero::ReportEntry const entry : report.created())
        followRestored(static_cast<ContextData::Impl const&>(*entry.element().get()), update);
    for (tarn::zero::ReportEntry const entry : report.modified())
        followContext(static_cast<ContextData::Impl const&>(*entry.element().get()), update);
    finish(update);
}

/// Mirrors a created context that the view knows by its id: one that was restored.
void ViewState::followRestored(ContextData::Impl const& source, Update& update)
{
    Id const id = source.identifier();
    if (!source.isAlive())
        return;
    if (liveData(id))
        return followContext(source, update);   // the clone of the destroyed context is there still
    if (!graph.isReferredTo(id))
        return;
    update.begin();
    update.gained.push_back({id, id});
}

void ViewState::followContext(ContextData::Impl const& source, Update& update)
{
    ContextData const* const clone = source.isAlive() ? cloneOf(source) : nullptr;
    if (!clone)
        return;
    followActiveContexts(source, *clone->operator->(), update);
    followNames(source, *clone, update);
}

/// Returns the clone of a context of the shared model; null for a clone that some view keeps in that model.
ContextData const* ViewState::cloneOf(ContextData::Impl const& source)
{
    ContextData const* const clone = liveData(source.identifier());
    if (!clone || !(ContextProvider::sharedModel()->findElement(source.identifier(), 1).get() == &source))
        return nullptr;
    return clone;
}

/// Returns the property that mirrors `source`; null if there is none.
Property::Impl* ViewState::copyFor(Property::Impl& source)
{
    // A later transaction may have destroyed or removed what this one modified.
    ContextData::Impl const* const owner = source.isAlive() ? source.ownerImpl() : nullptr;
    if (!owner)
        return nullptr;
    if (Property::Impl* const copy = mirrors.find(source))
        return copy;
    ContextData const* const clone = cloneOf(*owner);
    Property::Impl* const copy = clone ? copyOf(source, *clone->operator->()) : nullptr;
    if (copy)
        mirrors.keep(source, *copy);
    return copy;
}

void ViewState::followValue(PropertyValue const& value, Property::Impl& copy, Update& update)
{
    update.begin();
    std::optional<Id> const old = uuidIn(copy.getValue());
    copy.setValue(value);
    if (old)
        lost(*old, copy.ownerImpl()->identifier(), update);
    if (value.isUUID())
        gained(value, copy.getOwner(), update);
}

void ViewState::followActiveContexts(ContextData::Impl const& source, ContextData::Impl& clone, Update& update)
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
void ViewState::followNames(ContextData::Impl const& source, ContextData const& clone, Update& update)
{
    Comparison found;
    if (!update.compareChanged(source, *clone.operator->(), found))
        found.compareAll(source.getProperties(), clone->getProperties());
    for (Comparison::Pair const& pair : found.changed)
        followValue(pair.source->getValue(), *pair.copy, update);
    for (Property const& property : found.missing)
        update.additions.push_back({property, clone});
    for (Property const& property : found.gone)
        removeCopy(property, update);
    if (update.isLasting)
        exact.insert(source.identifier());
}

void ViewState::Comparison::compare(Property::Impl* source, Property::Impl* copy)
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
void ViewState::Comparison::compareAll(ContextData::Impl::Properties const& sources,
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
bool ViewState::Update::compareChanged(ContextData::Impl const& source, ContextData::Impl const& clone,
                                       Comparison& found)
{
    if (!view.exact.contains(source.identifier()) ||
        report.lastTransaction() != ContextProvider::sharedModel()->lastTransaction())
        return false;   // or the source is already newer than the report
    if (!slots) {
        slots.emplace();
        for (tarn::zero::ReportData::Storage const* const storage : report.storages())
            if (tarn::zero::isInstance<Property>(*storage->element().get()))
                eachSlot(*storage, [&](auto const* owner, std::string_view name) { slots->push_back({owner, name}); });
        std::sort(slots->begin(), slots->end());
        slots->erase(std::unique(slots->begin(), slots->end()), slots->end());
    }
    auto const& sources = source.getProperties();
    auto const& copies = clone.getProperties();
    auto slot = std::lower_bound(slots->begin(), slots->end(), Slot{&source, {}});
    for (; slot != slots->end() && slot->owner == &source; ++slot)
        found.compare(sources.findImpl(slot->name), copies.findImpl(slot->name));
    if (copies.size() + found.missing.size() == sources.size() + found.gone.size())
        return true;
    found = Comparison{};   // a holder has changed the clone
    return false;
}

/// Returns false while an open transaction can still roll back the shared model or the view's model.
bool ViewState::isQuiet() const noexcept
{
    return !ContextProvider::sharedModel()->isInTransaction() && !model->isInTransaction();
}

void ViewState::addCopy(Property const& source, ContextData const& clone, Update& update)
{
    update.begin();
    mirrors.invalidate();
    Property const copy = source->cloneTo(model, true);
    clone->getPropertiesMutable().add(copy);
    if (copy->getValue().isUUID())
        gained(copy->getValue(), clone, update);
}

void ViewState::removeCopy(Property const& copy, Update& update)
{
    update.begin();
    mirrors.invalidate();
    std::optional<Id> const old = uuidIn(copy->getValue());
    Id const owner = copy->ownerImpl()->identifier();
    copy->destroy();
    if (old)
        lost(*old, owner, update);
}

void ViewState::gained(PropertyValue const& value, ContextData const& clone, Update& update)
{
    Id const target = value.getUUID();
    graph.addReference(clone.Uuid(), target);
    if (namesProvider(target))
        update.gained.push_back({clone.Uuid(), target});
}

void ViewState::lost(Id const& target, Id const& from, Update& update)
{
    graph.removeReference(from, target);
    update.orphansPossible |= namesProvider(target);
}

void ViewState::finish(Update& update)
{
    for (Update::Addition const& addition : update.additions)
        addCopy(addition.source, addition.clone, update);
    for (Update::Reference const& reference : update.gained)
        mirror(reference.to);
    // Then follow the other references of these contexts that were skipped because they had no living provider.
    for (Update::Reference const& reference : update.gained)
        if (graph.isOpen(reference.from))
            createClosure(getData(reference.from));
    if (update.orphansPossible)
        discardOrphans();
    if (update.change)
        update.change->commit();
    update.isDone = true;   // the view may be destroyed
}

}   // namespace studio::data::detail
