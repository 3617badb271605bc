#include "studio/host/ContextTree.h"

#include "studio/data/model/PropertyImpl.h"
#include "studio/host/detail/Messages.h"
#include "studio/host/detail/Paths.h"
#include "studio/host/detail/Snapshot.h"
#include "studio/host/detail/TreeState.h"
#include "tarn/zero/ModelImpl.h"

#include <cmath>
#include <map>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace studio::host {

using data::ContextProvider;
using data::Property;
using data::PropertyValue;
using detail::inQuotes;
using detail::OpenBatches;
using detail::TreeBatch;
using detail::TreeState;
using Provider = std::shared_ptr<ContextProvider>;

namespace {

[[noreturn]] void refuse(std::string_view path, std::string const& reason)
{
    throw std::invalid_argument{"there cannot be a context at " + inQuotes(path) + ": " + reason};
}

template <class Create>
std::shared_ptr<TreeState> stateWith(Create const& create)
{
    auto state = std::make_shared<TreeState>();
    Batch batch;
    OpenBatches::refuseTransaction(batch);
    state->root = create();
    batch.commit();
    return state;
}

/// *Throws* `std::logic_error` if the context's element was destroyed: what is written there would be lost.
void requireElement(ContextProvider const& context, std::string_view path)
{
    if (!ContextProvider::sharedModel()->findElement(context.getId(), 1))
        throw std::logic_error{"the element of the context at " + inQuotes(path) + " was destroyed"};
}

bool refersTo(Property::Impl const* property, ContextProvider const& context)
{
    return property && property->getValue() == PropertyValue{context.getId()};
}

/// Adds the reference to the context at `path`.
void refer(ContextProvider& owner, std::string_view path, ContextProvider const& context)
{
    requireElement(owner, detail::ownerOf(path));
    owner.addProperty(std::string{detail::lastName(path)}, context.getId());
}

/// Removes the reference to the context at `path`, if that is what the property still holds.
void unrefer(ContextProvider& owner, std::string_view path, ContextProvider const& context)
{
    if (refersTo(owner.findProperty(detail::lastName(path)), context))
        owner.removeProperty(std::string{detail::lastName(path)});
}

/// Calls `step(owner, path)` for each context on the way to the last one of `path`, that one too, where `owner` is the
/// context that holds it, as the last call returned it. *Throws* `std::invalid_argument` if a property hides the way.
template <class Step>
Provider walk(Provider owner, std::string_view path, Step const& step)
{
    for (std::size_t begin = 0;;) {
        std::size_t const dot = path.find('.', begin);
        if (dot != std::string_view::npos && owner->findHiding(path.substr(begin)))
            refuse(path, "a property whose own name is " + inQuotes(path.substr(begin)) + " hides it");
        owner = step(owner, path.substr(0, dot));
        if (dot == std::string_view::npos)
            return owner;
        begin = dot + 1;
    }
}

/// True if writing `wanted` over `present` would change nothing.
bool isSame(PropertyValue const& present, PropertyValue const& wanted)
{
    auto const isNaN = [](PropertyValue const& value) { return value.isDouble() && std::isnan(value.getDouble()); };
    return present == wanted || (isNaN(present) && isNaN(wanted));
}

/// Writes what differs between a tree and a snapshot.
class Restoration {
public:
    Restoration(TreeState const& tree, bool keepsIdentities) : state{tree}, isKept{keepsIdentities}
    {
        if (isKept)
            for (auto const& [path, context] : state.nodes)
                present.emplace(context->getId(), context);
    }

    void prepare(detail::Snapshot const& snapshot, TreeBatch& batch)
    {
        batch->removeAll();
        std::vector<Provider> contexts;
        for (detail::SavedContext const& saved : snapshot) {
            contexts.push_back(contextFor(saved));
            requireElement(*contexts.back(), saved.path);
            identities.emplace(saved.id, contexts.back()->getId());
            if (!saved.path.empty())
                batch->add(saved.path, contexts.back());
        }
        for (std::size_t i = 0; i != snapshot.size(); ++i)
            write(*contexts[i], snapshot[i]);
    }

private:
    Provider contextFor(detail::SavedContext const& saved) const
    {
        if (saved.path.empty())
            return state.root;
        if (!isKept) {
            Provider context = state.find(saved.path);
            return context ? context : ContextProvider::create();
        }
        if (auto const found = present.find(saved.id); found != present.end())
            return found->second;
        Provider context = state.findGone(saved.id);
        return context ? context : ContextProvider::create(saved.id);
    }

    void write(ContextProvider& context, detail::SavedContext const& saved) const
    {
        for (std::string const& name : context.getPropertyNames())
            if (!saved.properties.contains(name))
                context.removeProperty(name);
        for (auto const& [name, value] : saved.properties)
            write(context, name, valueFor(value));
        if (context.getActiveContexts() != saved.activeContexts)
            context.setActiveContexts(saved.activeContexts);
    }

    static void write(ContextProvider& context, std::string const& name, PropertyValue const& value)
    {
        Property::Impl* const property = context.findProperty(name);
        if (!property)
            context.addProperty(name, value);
        else if (!isSame(property->getValue(), value))
            property->setValue(value);
    }

    PropertyValue valueFor(PropertyValue const& saved) const
    {
        auto const known = saved.isUUID() ? identities.find(saved.getUUID()) : identities.end();
        return known == identities.end() ? saved : PropertyValue{known->second};
    }

    TreeState const& state;
    bool isKept;
    std::map<boost::uuids::uuid, Provider> present;                // by identity
    std::map<boost::uuids::uuid, boost::uuids::uuid> identities;   // of those in the snapshot: what they are here
};

}   // namespace

ContextTree::ContextTree() : state{stateWith([] { return ContextProvider::create(); })} {}

ContextTree::ContextTree(boost::uuids::uuid const& rootId)
    : state{stateWith([&] { return ContextProvider::create(rootId); })}
{}

ContextTree::~ContextTree()
{
    // Contexts that are released in a batch would be missing if it rolls back.
    if (!OpenBatches::any())
        return;
    try {
        OpenBatches::remember(std::make_unique<detail::TreeChange>(state));
    } catch (std::bad_alloc const&) {
        // They are released now.
    }
}

std::shared_ptr<ContextProvider> const& ContextTree::root() const noexcept
{
    return state->root;
}

std::shared_ptr<ContextProvider> ContextTree::find(std::string_view path) const
{
    return path.empty() ? nullptr : state->find(path);
}

std::shared_ptr<ContextProvider> ContextTree::make(std::string_view path)
{
    detail::requireTreePath(path);
    TreeBatch batch{state};
    Provider made = walk(state->root, path, [&](Provider const& owner, std::string_view at) {
        Provider context = state->find(at);
        if (Property::Impl const* const property = owner->findProperty(detail::lastName(at))) {
            if (!context || !refersTo(property, *context))
                refuse(path, "the property " + inQuotes(at) + " holds something else");
            return context;
        }
        if (!context) {
            context = ContextProvider::create();
            batch->add(std::string{at}, context);
        }
        refer(*owner, at, *context);
        return context;
    });
    batch.commit();
    return made;
}

bool ContextTree::drop(std::string_view path)
{
    detail::requirePath(path);
    TreeBatch batch{state};
    if (Provider const context = state->find(path)) {
        unrefer(*state->find(detail::ownerOf(path)), path, *context);
        batch->remove(path);
    } else {
        return false;
    }
    batch.commit();
    return true;
}

void ContextTree::move(std::string_view from, std::string_view to)
{
    detail::requirePath(from);
    detail::requireTreePath(to);
    TreeBatch batch{state};
    Provider const context = state->find(from);
    if (!context)
        throw std::invalid_argument{"there is no context at " + inQuotes(from) + " to move"};
    if (to.starts_with(from) && to.substr(from.size()).starts_with('.'))
        refuse(to, "it would hold itself");
    Provider const owner = walk(state->root, to, [&](Provider const& holder, std::string_view at) {
        if (at == to)
            return holder;
        Provider next = state->find(at);
        if (!next)
            refuse(to, "there is none at " + inQuotes(at));
        Property::Impl const* const property = holder->findProperty(detail::lastName(at));
        if (property && !refersTo(property, *next))
            refuse(to, "the property " + inQuotes(at) + " holds something else");
        return next;
    });
    if (state->find(to))
        refuse(to, "there is one");
    unrefer(*state->find(detail::ownerOf(from)), from, *context);
    if (owner->findProperty(detail::lastName(to)))
        refuse(to, "there is a property");
    refer(*owner, to, *context);
    for (auto const& node : batch->remove(from)) {
        std::string path = std::string{to} + node->first.substr(from.size());
        detail::requireTreePath(path);
        batch->add(std::move(path), node->second);
    }
    batch.commit();
}

std::string ContextTree::save() const
{
    detail::Snapshot snapshot;
    auto const add = [&](std::string const& path, ContextProvider const& context) {
        snapshot.push_back({path, context.getId(), {}, context.getActiveContexts()});
        for (std::string const& name : context.getPropertyNames())
            snapshot.back().properties.emplace(name, context.findProperty(name)->getValue());
    };
    add({}, *state->root);
    for (auto const& [path, context] : state->nodes)
        add(path, *context);
    return detail::textOf(snapshot);
}

void ContextTree::restore(std::string_view text, Identities identities)
{
    detail::Snapshot const snapshot = detail::snapshotOf(text);
    TreeBatch batch{state};
    Restoration{*state, identities == Identities::Kept}.prepare(snapshot, batch);
    batch.commit();
}

}   // namespace studio::host
