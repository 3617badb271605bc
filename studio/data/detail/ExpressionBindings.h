#pragma once

#include "studio/data/detail/ExpressionSymbol.h"
#include "studio/data/detail/FreeList.h"
#include "studio/data/detail/PropertyBackref.h"
#include "tarn/zero/services/Hashers.h"

#include <boost/container/small_vector.hpp>
#include <boost/intrusive/list.hpp>
#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>
#include <boost/uuid/uuid.hpp>

#include <memory>
#include <string_view>

namespace studio::data::detail {

struct OfContext;   // tag: the list of a context's bindings
struct OfLinks;     // tag: a list of `ExpressionLinks`
template <class Tag>
using BindingHook = boost::intrusive::list_base_hook<boost::intrusive::tag<Tag>,
                                                     boost::intrusive::link_mode<boost::intrusive::auto_unlink>>;
template <class Binding, class Tag>
using BindingList = boost::intrusive::list<Binding, boost::intrusive::base_hook<BindingHook<Tag>>,
                                           boost::intrusive::constant_time_size<false>>;

/// A context in which leaves are bound.
struct ExpressionContext {
    boost::uuids::uuid id{};
    BindingList<ExpressionBinding, OfContext> bindings{};
    std::size_t count = 0;    // of `bindings`
    bool isIndexed = false;   // its bindings are also in the index; up to four are searched linearly
};

/// A leaf as its binding lists it.
struct ExpressionLeaf {
    ExpressionSymbol* symbol;
    std::uint32_t backIndex;     // in the symbol's `leaves`
    std::uint32_t offset : 31;   // byte offset of the component in the symbol
    std::uint32_t isLast : 1;    // it is of the last component
};

/// The part of a binding that the report of a property uses, laid out first.
struct ExpressionBindingLeaves : PropertyBackref {
    using PropertyBackref::PropertyBackref;
    boost::container::small_vector<ExpressionLeaf, 1> leaves;
};

/// All leaves bound to one property name of one context, whether or not the property exists. A back reference of the
/// property; see `ExpressionLinks`.
struct ExpressionBinding : ExpressionBindingLeaves, BindingHook<OfContext>, BindingHook<OfLinks> {
    using ExpressionBindingLeaves::ExpressionBindingLeaves;

    ExpressionContext* context = nullptr;
    std::string_view name;   // refers to the text of a symbol that has a leaf here
};

/// Table of an engine's bindings by context and property name. Owns them, and their contexts.
class ExpressionBindings {
public:
    using Id = boost::uuids::uuid;
    using Binding = ExpressionBinding;
    using Context = ExpressionContext;

    explicit ExpressionBindings(void const* engine) noexcept : owner{engine} {}
    ExpressionBindings(ExpressionBindings const&) = delete;
    ExpressionBindings& operator=(ExpressionBindings const&) = delete;
    ~ExpressionBindings();

    /// Returns the binding of that property; null if no leaf is bound to it.
    Binding* find(Id const& context, std::string_view name) const noexcept;
    /// Returns the context of that id; null if no leaf is bound in it.
    Context* findContext(Id const& id) const noexcept;
    /// Calls `visit` for each context with bindings.
    template <class Visit>
    void forEachContext(Visit const& visit) const
    {
        for (auto const& entry : contexts)
            visit(*entry.second);
    }
    /// Returns the number of bindings in the index.
    std::size_t indexSize() const noexcept { return index.size(); }

    /// Returns the binding of that property, made if there is none. `name` must be part of a symbol's text. *Throws*
    /// `std::bad_alloc`.
    Binding& at(Id const& context, std::string_view name);
    /// Adds a leaf, unless the symbol has it, and returns its index in the symbol's leaves. *Throws* `std::bad_alloc`;
    /// no leaf is added, and an empty binding is removed then.
    std::size_t add(ExpressionSymbol& symbol, unsigned long offset, Binding& binding);
    /// Removes the leaves of a symbol for which `isLeaving` returns true.
    template <class Test>
    void removeIf(ExpressionSymbol& symbol, Test const& isLeaving) noexcept
    {
        std::size_t kept = 0;
        for (std::size_t i = 0; i != symbol.leaves.size(); ++i) {
            ExpressionSymbol::Leaf const leaf = symbol.leaves[i];
            if (isLeaving(leaf)) {
                remove(leaf);
                continue;
            }
            leaf.binding->leaves[leaf.backIndex].backIndex = static_cast<std::uint32_t>(kept);
            symbol.leaves[kept++] = leaf;
        }
        symbol.leaves.resize(kept);
    }

private:
    struct ContextHash {
        using is_avalanching = void;
        std::size_t operator()(Id const& id) const noexcept
        {
            return tarn::zero::services::hashers::TARN0Hasher<Id>{}(id);
        }
    };
    struct Key {
        Context const* context;
        std::string_view name;
    };
    struct BindingHash {
        using is_transparent = void;
        using is_avalanching = void;
        std::size_t operator()(Key const& key) const noexcept
        {
            auto const context = reinterpret_cast<std::uintptr_t>(key.context) * 0x9e3779b97f4a7c15u;
            return tarn::zero::services::hashers::TARN0Hasher<std::string_view>{}(key.name) ^
                   static_cast<std::size_t>(context);
        }
        std::size_t operator()(Binding const* binding) const noexcept
        {
            return (*this)(Key{binding->context, binding->name});
        }
    };
    struct BindingEqual {
        using is_transparent = void;
        bool operator()(Binding const* left, Binding const* right) const noexcept { return left == right; }
        bool operator()(Key const& key, Binding const* binding) const noexcept
        {
            return key.context == binding->context && key.name == binding->name;
        }
    };

    Binding* findIn(Context const& context, std::string_view name) const noexcept;
    Binding& makeIn(Context& context, std::string_view name);
    void addToIndex(Context& context, Binding& added);
    void remove(ExpressionSymbol::Leaf const& leaf) noexcept;
    void dropIfEmpty(Binding& binding) noexcept;

    void const* owner;
    boost::unordered_flat_map<Id, Context*, ContextHash> contexts;          // owned, with their bindings
    boost::unordered_flat_set<Binding*, BindingHash, BindingEqual> index;   // bindings of indexed contexts
    FreeList<Context, 16> spareContexts;   // a path that alternates between two targets does not allocate
    FreeList<Binding, 16> spareBindings;
};

}   // namespace studio::data::detail
