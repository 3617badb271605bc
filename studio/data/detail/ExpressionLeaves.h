#pragma once

#include "studio/data/detail/ExpressionSymbol.h"
#include "studio/data/detail/PropertyWatch.h"
#include "tarn/zero/services/Hashers.h"

#include <boost/container/small_vector.hpp>
#include <boost/intrusive/list.hpp>
#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>
#include <boost/uuid/uuid.hpp>

#include <memory>
#include <string_view>
#include <vector>

namespace studio::data {
class Invariants;   // of the tests: may look at everything
}

namespace studio::data::detail {

struct OfContext;   // tag: the list of a context's places
struct Unpinned;    // tag: the list of places whose link from the property may be stale
template <class Tag>
using PlaceHook = boost::intrusive::list_base_hook<boost::intrusive::tag<Tag>,
                                                   boost::intrusive::link_mode<boost::intrusive::auto_unlink>>;
template <class Place, class Tag>
using PlaceList = boost::intrusive::list<Place, boost::intrusive::base_hook<PlaceHook<Tag>>,
                                         boost::intrusive::constant_time_size<false>>;

/// A context with bound leaves.
struct ExpressionContext {
    boost::uuids::uuid id{};
    PlaceList<ExpressionPlace, OfContext> places{};
    std::size_t count = 0;    // of `places`
    bool isIndexed = false;   // its places are also in `indexed`; up to four are searched linearly
};

/// A leaf as its place lists it.
struct ExpressionLeaf {
    ExpressionSymbol* symbol;
    std::uint32_t at;            // index in the symbol's `leaves`
    std::uint32_t offset : 31;   // byte offset of the component in the symbol
    std::uint32_t isLast : 1;    // it is of the last component
};

/// The part of a place that the report of a property uses, laid out first.
struct ExpressionPlaceLeaves : PropertyWatch {
    using PropertyWatch::PropertyWatch;
    boost::container::small_vector<ExpressionLeaf, 1> leaves;
};

/// All leaves bound to one property name of one context, whether or not the property exists. Pinned to the property
/// while it exists and the pin is known to be right.
struct ExpressionPlace : ExpressionPlaceLeaves, PlaceHook<OfContext>, PlaceHook<Unpinned> {
    using Leaf = ExpressionLeaf;
    using ExpressionPlaceLeaves::ExpressionPlaceLeaves;

    void doubt(PlaceList<ExpressionPlace, Unpinned>& unpinned) noexcept
    {
        if (!PlaceHook<Unpinned>::is_linked())
            unpinned.push_back(*this);
    }

    ExpressionContext* context = nullptr;
    std::string_view name;   // refers to the text of a symbol that has a leaf here
};

/// An engine's leaves by context and property name, with a cached link from each property to its place.
///
/// The links are valid while the engine has processed every change of structure. A place whose link may be stale,
/// because it was bound inside a transaction or while a newer report was pending, is in `unpinned` until `settle`
/// revalidates it.
class ExpressionLeaves {
public:
    using Id = boost::uuids::uuid;
    using Place = ExpressionPlace;
    using Context = ExpressionContext;

    explicit ExpressionLeaves(void const* engine) noexcept : watcher{engine} {}
    ExpressionLeaves(ExpressionLeaves const&) = delete;
    ExpressionLeaves& operator=(ExpressionLeaves const&) = delete;
    ~ExpressionLeaves();

    /// Returns the place of that property; null if no leaf is bound to it.
    Place* find(Id const& context, std::string_view name) const noexcept;
    /// Returns the context of that id; null if no leaf is bound in it.
    Context* findContext(Id const& id) const noexcept;

    /// Binds a leaf, unless the symbol has it, and returns its index in the symbol's leaves. `property` is the property
    /// of that name now, or null. *Throws* `std::bad_alloc`; nothing is bound then.
    std::size_t bind(ExpressionSymbol& symbol, unsigned long offset, Id const& context, Property::Impl* property);
    /// Updates the link of a place after a look-up in an idle model. `property` is what was found, or null.
    void settle(Place& place, Property::Impl* property) noexcept;
    /// Unbinds the leaves of a symbol for which `isLeaving` returns true.
    template <class Test>
    void unbindIf(ExpressionSymbol& symbol, Test const& isLeaving) noexcept
    {
        std::size_t kept = 0;
        for (std::size_t i = 0; i != symbol.leaves.size(); ++i) {
            ExpressionSymbol::Leaf const leaf = symbol.leaves[i];
            if (isLeaving(leaf)) {
                remove(leaf);
                continue;
            }
            leaf.place->leaves[leaf.at].at = static_cast<std::uint32_t>(kept);
            symbol.leaves[kept++] = leaf;
        }
        symbol.leaves.resize(kept);
    }

    // Cached links. They are valid only if `settle` was called while the model was idle and all its changes of
    // structure were reported, and the structure has not changed since.

    /// The place that a property is linked to. If `isCertain` is false, call `find`.
    struct Way {
        Place* place;
        bool isCertain;
    };
    Way from(Property::Impl const& property) const noexcept;
    /// Updates the link of a property after the look-up for its report. `place` is what was found, or null.
    void repin(Property::Impl& property, Place* place, bool isSettled) noexcept;
    /// True if `settle` has work to do.
    bool isInDoubt() const noexcept { return !unpinned.empty(); }
    /// Revalidates the places in `unpinned`.
    void settle() noexcept
    {
        if (!unpinned.empty())
            settleAll();
    }
    /// Marks every link as stale, after a report that was not processed to its end.
    void distrust() noexcept;

private:
    friend class studio::data::Invariants;

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
    struct PlaceHash {
        using is_transparent = void;
        using is_avalanching = void;
        std::size_t operator()(Key const& key) const noexcept
        {
            return tarn::zero::services::hashers::TARN0Hasher<std::string_view>{}(key.name) ^
                   reinterpret_cast<std::uintptr_t>(key.context) * 0x9e3779b97f4a7c15u;
        }
        std::size_t operator()(Place const* place) const noexcept { return (*this)(Key{place->context, place->name}); }
    };
    struct PlaceEqual {
        using is_transparent = void;
        bool operator()(Place const* left, Place const* right) const noexcept { return left == right; }
        bool operator()(Key const& key, Place const* place) const noexcept
        {
            return key.context == place->context && key.name == place->name;
        }
    };

    Place* findIn(Context const& context, std::string_view name) const noexcept;
    Place& enter(Id const& context, std::string_view name);
    Place& enterIn(Context& context, std::string_view name);
    void index(Context& context, Place& entering);
    void add(ExpressionSymbol& symbol, unsigned long offset, Place& place);
    void remove(ExpressionSymbol::Leaf const& leaf) noexcept;
    void dropIfEmpty(Place& place) noexcept;
    void settleAll() noexcept;
    Place* pinnedTo(Property::Impl const& property) const noexcept;
    void pin(Property::Impl& property, Place& place) noexcept;

    void const* watcher;
    boost::unordered_flat_map<Id, Context*, ContextHash> contexts;      // owned, with their places
    boost::unordered_flat_set<Place*, PlaceHash, PlaceEqual> indexed;   // places of indexed contexts
    PlaceList<Place, Unpinned> unpinned;
    std::vector<std::unique_ptr<Context>> spareContexts;   // free list, short: a path that alternates
    std::vector<std::unique_ptr<Place>> sparePlaces;       // free list: between two targets does not allocate
};

}   // namespace studio::data::detail
