#include "studio/data/detail/ExpressionBindings.h"

#include <algorithm>

namespace studio::data::detail {

namespace {

constexpr std::size_t FEW = 4;   // up to this many bindings are searched linearly

}   // namespace

ExpressionBindings::~ExpressionBindings()
{
    for (auto const& entry : contexts) {
        entry.second->bindings.clear_and_dispose([](Binding* binding) { delete binding; });
        delete entry.second;
    }
}

ExpressionBindings::Binding* ExpressionBindings::find(Id const& context, std::string_view name) const noexcept
{
    Context const* const known = findContext(context);
    return known ? findIn(*known, name) : nullptr;
}

ExpressionBindings::Context* ExpressionBindings::findContext(Id const& id) const noexcept
{
    auto const entry = contexts.find(id);
    return entry == contexts.end() ? nullptr : entry->second;
}

ExpressionBindings::Binding& ExpressionBindings::at(Id const& context, std::string_view name)
{
    if (Context* const known = findContext(context)) {
        Binding* const binding = findIn(*known, name);
        return binding ? *binding : makeIn(*known, name);
    }
    std::unique_ptr<Context> made = spareContexts.take();
    made->id = context;
    auto const entry = contexts.emplace(context, made.get()).first;
    try {
        Binding& binding = makeIn(*made, name);
        made.release();
        return binding;
    } catch (...) {
        contexts.erase(entry);
        throw;
    }
}

std::size_t ExpressionBindings::add(ExpressionSymbol& symbol, unsigned long offset, Binding& binding)
{
    auto& own = symbol.leaves;
    auto const isSame = [&](ExpressionSymbol::Leaf const& leaf) {
        return leaf.binding == &binding && leaf.offset == offset;
    };
    auto present = std::lower_bound(own.begin(), own.end(), offset,
                                    [](auto const& leaf, unsigned long sought) { return leaf.offset < sought; });
    if (symbol.isTentative)
        present = std::find_if(own.begin(), own.end(), isSame);
    else if (present != own.end() && !isSame(*present))
        present = own.end();
    if (present != own.end())
        return static_cast<std::size_t>(present - own.begin());

    bool const isInOrder = own.empty() || own.back().offset < offset;
    try {
        own.push_back({&binding, offset, binding.leaves.size()});
        try {
            binding.leaves.push_back({&symbol, static_cast<std::uint32_t>(own.size() - 1),
                                      static_cast<std::uint32_t>(offset) & ~(1u << 31u),
                                      offset + binding.name.size() == symbol.text.size()});
        } catch (...) {
            own.pop_back();
            throw;
        }
    } catch (...) {
        dropIfEmpty(binding);
        throw;
    }
    symbol.isTentative |= !isInOrder;
    return own.size() - 1;
}

ExpressionBindings::Binding* ExpressionBindings::findIn(Context const& context, std::string_view name) const noexcept
{
    if (context.isIndexed) {
        auto const found = index.find(Key{&context, name});
        return found == index.end() ? nullptr : *found;
    }
    for (Binding const& binding : context.bindings)
        if (binding.name == name)
            return const_cast<Binding*>(&binding);
    return nullptr;
}

ExpressionBindings::Binding& ExpressionBindings::makeIn(Context& context, std::string_view name)
{
    std::unique_ptr<Binding> binding = spareBindings.take(owner);
    binding->context = &context;
    binding->name = name;
    if (context.isIndexed || context.count == FEW)
        addToIndex(context, *binding);
    context.bindings.push_back(*binding);
    ++context.count;
    return *binding.release();
}

/// Adds a binding to the index, and all others of its context if it is the first.
void ExpressionBindings::addToIndex(Context& context, Binding& added)
{
    index.insert(&added);
    if (context.isIndexed)
        return;
    try {
        for (Binding& binding : context.bindings)
            index.insert(&binding);
    } catch (...) {
        for (Binding& binding : context.bindings)
            index.erase(&binding);
        index.erase(&added);
        throw;
    }
    context.isIndexed = true;
}

void ExpressionBindings::remove(ExpressionSymbol::Leaf const& leaf) noexcept
{
    Binding& binding = *leaf.binding;
    if (leaf.backIndex + 1 != binding.leaves.size()) {
        ExpressionLeaf const moved = binding.leaves[leaf.backIndex] = binding.leaves.back();
        moved.symbol->leaves[moved.backIndex].backIndex = leaf.backIndex;
    }
    binding.leaves.pop_back();
    if (binding.leaves.empty())
        return dropIfEmpty(binding);
    // The name may refer to the text of the symbol that is removed: make it refer to one that stays.
    ExpressionLeaf const& other = binding.leaves.front();
    binding.name = other.symbol->componentAt(other.offset);
}

void ExpressionBindings::dropIfEmpty(Binding& binding) noexcept
{
    if (!binding.leaves.empty())
        return;
    Context& context = *binding.context;
    if (context.isIndexed)
        index.erase(&binding);
    --context.count;
    static_cast<PropertyBackref&>(binding).unlink();
    static_cast<BindingHook<OfContext>&>(binding).unlink();
    static_cast<BindingHook<OfLinks>&>(binding).unlink();
    spareBindings.keep(std::unique_ptr<Binding>{&binding});
    if (!context.bindings.empty())
        return;
    contexts.erase(context.id);
    context.isIndexed = false;
    spareContexts.keep(std::unique_ptr<Context>{&context});
}

}   // namespace studio::data::detail
