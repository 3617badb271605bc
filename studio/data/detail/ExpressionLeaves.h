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

struct OfContext;   // names the list of a context's places
struct Unpinned;    // and that of places whose property may not lead to them
template <class Tag>
using PlaceHook = boost::intrusive::list_base_hook<boost::intrusive::tag<Tag>,
                                                   boost::intrusive::link_mode<boost::intrusive::auto_unlink>>;
template <class Place, class Tag>
using PlaceList = boost::intrusive::list<Place, boost::intrusive::base_hook<PlaceHook<Tag>>,
                                         boost::intrusive::constant_time_size<false>>;

/// A context that leaves are bound in.
struct ExpressionContext {
    boost::uuids::uuid id{};
    PlaceList<ExpressionPlace, OfContext> places{};
    std::size_t count = 0;    // of these
    bool isIndexed = false;   // they stand in a table, too: a few are found as fast without
};

/// A symbol whose path goes through a place.
struct ExpressionLeaf {
    ExpressionSymbol* symbol;
    std::uint32_t at;            // among the leaves of the symbol
    std::uint32_t offset : 31;   // as there
    std::uint32_t isLast : 1;    // the path ends here
};

/// What a report of a property touches of its place, in front of the rest.
struct ExpressionPlaceLeaves : PropertyWatch {
    using PropertyWatch::PropertyWatch;
    boost::container::small_vector<ExpressionLeaf, 1> leaves;
};

/// A property that paths go through, there or not: the leaves of one name of one context. While its property is there
/// and nothing is in doubt it is pinned to it.
struct ExpressionPlace : ExpressionPlaceLeaves, PlaceHook<OfContext>, PlaceHook<Unpinned> {
    using Leaf = ExpressionLeaf;
    using ExpressionPlaceLeaves::ExpressionPlaceLeaves;

    void doubt(PlaceList<ExpressionPlace, Unpinned>& unpinned) noexcept
    {
        if (!PlaceHook<Unpinned>::is_linked())
            unpinned.push_back(*this);
    }

    ExpressionContext* context = nullptr;
    std::string_view name;   // a view of a symbol that has a leaf here
};

/// The table of an engine's leaves, by context and by name, and the short way to them that leads from a property.
///
/// The short way holds while the engine has heard of every change of structure. A property that has a place, but may
/// not lead to it, because it was bound inside a transaction or in the middle of a report that others have overtaken,
/// has it in the list of the unpinned.
class ExpressionLeaves {
public:
    using Id = boost::uuids::uuid;
    using Place = ExpressionPlace;
    using Context = ExpressionContext;

    explicit ExpressionLeaves(void const* engine) noexcept : watcher{engine} {}
    ExpressionLeaves(ExpressionLeaves const&) = delete;
    ExpressionLeaves& operator=(ExpressionLeaves const&) = delete;
    ~ExpressionLeaves();

    /// The place of that property; null if no leaf is bound there.
    Place* find(Id const& context, std::string_view name) const noexcept;
    /// The places of a context; null if there are none.
    Context* findContext(Id const& id) const noexcept;

    /// Binds a leaf, unless the symbol has it; returns its position among those of the symbol. `property`, what stands
    /// there now, may be null. *Throws* `std::bad_alloc`; nothing is bound then.
    std::size_t bind(ExpressionSymbol& symbol, unsigned long offset, Id const& context, Property::Impl* property);
    /// What stands at a place of an idle model was looked up: `property`, which may be null.
    void settle(Place& place, Property::Impl* property) noexcept;
    /// Unbinds the leaves of a symbol that `isLeaving` chooses.
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

    // The short way. It is to be trusted only when `settle` was called for an idle model all of whose changes of
    // structure were reported, and none has come since.

    /// The place that a property leads to. `isCertain` is false if only `find` knows.
    struct Way {
        Place* place;
        bool isCertain;
    };
    Way from(Property::Impl const& property) const noexcept;
    /// A report of this property was looked up: `place`, which may be null, is what it should lead to from now on.
    void repin(Property::Impl& property, Place* place, bool isSettled) noexcept;
    /// True if `settle` has something to do.
    bool isInDoubt() const noexcept { return !unpinned.empty(); }
    /// Pins what can be pinned now.
    void settle() noexcept
    {
        if (!unpinned.empty())
            settleAll();
    }
    /// A report was not worked off to its end.
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
    boost::unordered_flat_set<Place*, PlaceHash, PlaceEqual> indexed;   // the places of indexed contexts
    PlaceList<Place, Unpinned> unpinned;
    std::vector<std::unique_ptr<Context>> spareContexts;   // a few, so that a path that swings to and fro
    std::vector<std::unique_ptr<Place>> sparePlaces;       // asks for no memory
};

}   // namespace studio::data::detail
