#include "studio/data/detail/ExpressionLeaves.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/model/ContextDataImpl.h"
#include "tarn/zero/ModelImpl.h"

#include <algorithm>
#include <utility>

namespace studio::data::detail {

namespace {

constexpr std::size_t MOST_SPARE = 16;
constexpr std::size_t FEW = 4;   // up to this many places are searched linearly

template <class T>
std::unique_ptr<T> takeSpare(std::vector<std::unique_ptr<T>>& spare)
{
    if (spare.empty())
        return nullptr;
    std::unique_ptr<T> taken = std::move(spare.back());
    spare.pop_back();
    return taken;
}

template <class T>
void keepSpare(std::vector<std::unique_ptr<T>>& spare, std::unique_ptr<T> object) noexcept
{
    if (spare.size() < spare.capacity())
        spare.push_back(std::move(object));
}

}   // namespace

ExpressionLeaves::~ExpressionLeaves()
{
    for (auto const& entry : contexts) {
        entry.second->places.clear_and_dispose([](Place* place) { delete place; });
        delete entry.second;
    }
}

ExpressionLeaves::Place* ExpressionLeaves::find(Id const& context, std::string_view name) const noexcept
{
    Context const* const known = findContext(context);
    return known ? findIn(*known, name) : nullptr;
}

ExpressionLeaves::Context* ExpressionLeaves::findContext(Id const& id) const noexcept
{
    auto const entry = contexts.find(id);
    return entry == contexts.end() ? nullptr : entry->second;
}

std::size_t ExpressionLeaves::bind(ExpressionSymbol& symbol, unsigned long offset, Id const& context,
                                   Property::Impl* property)
{
    std::string_view const name = symbol.componentAt(offset);
    Place* place = property ? from(*property).place : nullptr;
    if (!place || place->context->id != context || place->name != name)
        place = &enter(context, name);

    auto& own = symbol.leaves;
    auto const isSame = [&](ExpressionSymbol::Leaf const& leaf) {
        return leaf.place == place && leaf.offset == offset;
    };
    auto present = std::lower_bound(own.begin(), own.end(), offset,
                                    [](auto const& leaf, unsigned long sought) { return leaf.offset < sought; });
    if (symbol.provisional)
        present = std::find_if(own.begin(), own.end(), isSame);
    else if (present != own.end() && !isSame(*present))
        present = own.end();
    auto const position = static_cast<std::size_t>(present - own.begin());
    if (present == own.end())
        add(symbol, offset, *place);
    if (ContextProvider::sharedModel()->isInTransaction())
        place->doubt(unpinned);   // a roll back may undo the present property, or its absence
    else
        settle(*place, property);
    return position;
}

void ExpressionLeaves::settle(Place& place, Property::Impl* property) noexcept
{
    if (!property)
        place.unpin();
    else if (place.property() != property)
        pin(*property, place);
    static_cast<PlaceHook<Unpinned>&>(place).unlink();
}

ExpressionLeaves::Way ExpressionLeaves::from(Property::Impl const& property) const noexcept
{
    PropertyWatch::Found const found = PropertyWatch::find(property, watcher, PropertyWatch::FEW);
    return {static_cast<Place*>(found.watch), found.watch || found.isCertain};
}

void ExpressionLeaves::repin(Property::Impl& property, Place* place, bool isSettled) noexcept
{
    Place* const present = pinnedTo(property);
    if (present && present == place && property.isAlive())
        return;
    if (present) {
        present->unpin();
        if (!isSettled)
            present->doubt(unpinned);
    }
    if (!place)
        return;
    if (!isSettled)
        return place->doubt(unpinned);
    // A copy of a context may be in the model under the same UUID: link only what providers find.
    tarn::zero::ModelElement const context = ContextProvider::sharedModel()->findElement(place->context->id, 1);
    if (property.isAlive() && context.get() == property.ownerImpl())
        settle(*place, &property);
}

void ExpressionLeaves::distrust() noexcept
{
    for (auto const& entry : contexts)
        for (Place& place : entry.second->places)
            place.doubt(unpinned);
}

void ExpressionLeaves::settleAll() noexcept
{
    while (!unpinned.empty()) {
        Place& place = unpinned.front();
        tarn::zero::ModelElement const element = ContextProvider::sharedModel()->findElement(place.context->id, 1);
        auto* const context = tarn::zero::elementCast<ContextData>(element);
        settle(place, context ? context->getProperties().findImpl(place.name) : nullptr);
    }
}

ExpressionLeaves::Place* ExpressionLeaves::pinnedTo(Property::Impl const& property) const noexcept
{
    return static_cast<Place*>(PropertyWatch::find(property, watcher, std::size_t(-1)).watch);
}

void ExpressionLeaves::pin(Property::Impl& property, Place& place) noexcept
{
    if (Place* const present = pinnedTo(property); present && present != &place)
        present->unpin();
    place.pin(property);
}

void ExpressionLeaves::add(ExpressionSymbol& symbol, unsigned long offset, Place& place)
{
    auto& own = symbol.leaves;
    bool const isInOrder = own.empty() || own.back().offset < offset;
    try {
        own.push_back({&place, offset, place.leaves.size()});
        try {
            place.leaves.push_back({&symbol, static_cast<std::uint32_t>(own.size() - 1),
                                    static_cast<std::uint32_t>(offset) & ~(1u << 31u),
                                    offset + place.name.size() == symbol.text.size()});
        } catch (...) {
            own.pop_back();
            throw;
        }
    } catch (...) {
        dropIfEmpty(place);
        throw;
    }
    symbol.provisional |= !isInOrder;
}

ExpressionLeaves::Place* ExpressionLeaves::findIn(Context const& context, std::string_view name) const noexcept
{
    if (context.isIndexed) {
        auto const found = indexed.find(Key{&context, name});
        return found == indexed.end() ? nullptr : *found;
    }
    for (Place const& place : context.places)
        if (place.name == name)
            return const_cast<Place*>(&place);
    return nullptr;
}

ExpressionLeaves::Place& ExpressionLeaves::enter(Id const& context, std::string_view name)
{
    spareContexts.reserve(MOST_SPARE);
    sparePlaces.reserve(MOST_SPARE);
    if (Context* const known = findContext(context)) {
        Place* const place = findIn(*known, name);
        return place ? *place : enterIn(*known, name);
    }
    std::unique_ptr<Context> made = takeSpare(spareContexts);
    if (!made)
        made = std::make_unique<Context>();
    made->id = context;
    auto const entry = contexts.emplace(context, made.get()).first;
    try {
        Place& place = enterIn(*made, name);
        made.release();
        return place;
    } catch (...) {
        contexts.erase(entry);
        throw;
    }
}

ExpressionLeaves::Place& ExpressionLeaves::enterIn(Context& context, std::string_view name)
{
    std::unique_ptr<Place> place = takeSpare(sparePlaces);
    if (!place)
        place = std::make_unique<Place>(watcher);
    place->context = &context;
    place->name = name;
    if (context.isIndexed || context.count == FEW)
        index(context, *place);
    context.places.push_back(*place);
    ++context.count;
    return *place.release();
}

/// Adds a place to the table, and all others of its context if it is the first.
void ExpressionLeaves::index(Context& context, Place& entering)
{
    indexed.insert(&entering);
    if (context.isIndexed)
        return;
    try {
        for (Place& place : context.places)
            indexed.insert(&place);
    } catch (...) {
        for (Place& place : context.places)
            indexed.erase(&place);
        indexed.erase(&entering);
        throw;
    }
    context.isIndexed = true;
}

void ExpressionLeaves::remove(ExpressionSymbol::Leaf const& leaf) noexcept
{
    Place& place = *leaf.place;
    if (leaf.at + 1 != place.leaves.size()) {
        Place::Leaf const moved = place.leaves[leaf.at] = place.leaves.back();
        moved.symbol->leaves[moved.at].at = leaf.at;
    }
    place.leaves.pop_back();
    if (place.leaves.empty())
        return dropIfEmpty(place);
    // The name may refer to the text of the symbol that is removed: make it refer to one that stays.
    Place::Leaf const& other = place.leaves.front();
    place.name = other.symbol->componentAt(other.offset);
}

void ExpressionLeaves::dropIfEmpty(Place& place) noexcept
{
    if (!place.leaves.empty())
        return;
    Context& context = *place.context;
    if (context.isIndexed)
        indexed.erase(&place);
    --context.count;
    place.unpin();
    static_cast<PlaceHook<OfContext>&>(place).unlink();
    static_cast<PlaceHook<Unpinned>&>(place).unlink();
    keepSpare(sparePlaces, std::unique_ptr<Place>{&place});
    if (!context.places.empty())
        return;
    contexts.erase(context.id);
    context.isIndexed = false;
    keepSpare(spareContexts, std::unique_ptr<Context>{&context});
}

}   // namespace studio::data::detail
