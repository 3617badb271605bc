#pragma once

#include "studio/data/ExpressionHandle.h"
#include "tarn/zero/Listener.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace studio::data {

class ContextData;
class ContextProvider;
class EngineObserver;
class Expression;
class Property;
namespace detail {
class EngineState;
}

/// What the release of an expression does to symbols that other expressions name, too.
enum class ReleasePolicy : std::uint8_t {
    /// Unbinds them for all: the others are not evaluated for their changes, until a new text names the symbols.
    UnbindsShared,
    /// Keeps them bound. Nothing changes for the others.
    KeepsShared
};

/// Evaluates expressions over the properties of one root context and notifies its subscribers when a value changes.
///
/// All subscribers of one text share one expression. Each of its symbols is bound along its dotted path to *leaves*,
/// the properties that the path goes through. When a committed transaction changes, creates or removes one of them, the
/// expression is evaluated once, and its handles are called if the value differs.
///
/// Callbacks run inside the commit, on its thread, after the state is final. They may do anything: write, acquire,
/// release their own or any other handle, drop providers, destroy the engine.
class STUDIO_DATA_EXPORT ExpressionEngine : public tarn::zero::Listener {
public:
    /// A subscriber's callback; gets the text and the value.
    using Callback = ExpressionHandle::Callback;

    /// One step of a symbol's path: the component of `symbol` that begins at `offset`.
    struct Leaf {
        /// The whole path, as the expression names it.
        std::string_view symbol;   // valid while an expression names it
        /// Byte offset of the component in the path.
        unsigned long offset;

        friend bool operator==(Leaf const& left, Leaf const& right) noexcept
        {
            return left.offset == right.offset && left.symbol == right.symbol;
        }
    };
    /// Hash function for tables keyed by leaf.
    struct STUDIO_DATA_EXPORT LeafHash {
        /// Returns the hash of a leaf.
        std::size_t operator()(Leaf const& leaf) const noexcept;
    };

    /// An acquired expression.
    struct Entry {
        /// The text.
        std::string text;
        /// The value of the last evaluation.
        PropertyValue value;
        /// The number of handles.
        std::size_t handles;
    };

    /// Reads symbols from `provider`. With null every symbol is undefined and nothing is ever bound.
    explicit ExpressionEngine(std::shared_ptr<ContextProvider> provider,
                              ReleasePolicy policy = ReleasePolicy::UnbindsShared);
    /// Reads symbols from the provider of that id; if there is none, every symbol is undefined.
    explicit ExpressionEngine(boost::uuids::uuid id, ReleasePolicy policy = ReleasePolicy::UnbindsShared);
    /// Detaches every remaining handle.
    ~ExpressionEngine() override;

    /// Subscribes to a text; returns null if copying `callback` destroyed the engine. Texts that differ in spacing are
    /// different expressions. *Notifies*: `callback` gets the present value before this returns, and again after each
    /// commit that changes it. *Throws* `gel::ParseError` for a text that does not parse, and what the first call
    /// throws; nothing is subscribed then. *Cost*: for a new text a parse, a walk along each symbol and an evaluation;
    /// otherwise only the handle.
    [[nodiscard]] std::unique_ptr<ExpressionHandle> acquireExpression(std::string const& text,
                                                                      Callback const& callback);
    /// Removes a handle, and with the last one its expression. Called by the handle's destructor. Ignores foreign
    /// handles.
    void releaseExpression(ExpressionHandle* handle) noexcept;

    /// Returns the provider that symbols are read from; null if there is none.
    std::shared_ptr<ContextProvider> const& getRoot() const noexcept;
    /// Returns what a release does to symbols that other expressions name.
    ReleasePolicy getReleasePolicy() const noexcept;
    /// Returns the acquired expressions in order of their acquisition. *Cost*: a copy of every text and value.
    std::vector<Entry> listExpressions() const;

    /// Registers an observer behind the present ones. *Lifetime*: it must be removed before it is destroyed, unless the
    /// engine is destroyed first. *Cost*: an engine without observers only tests for them.
    void addObserver(EngineObserver& observer);
    /// Removes an observer; ignores one that is not registered. Possible during any of its calls.
    void removeObserver(EngineObserver& observer) noexcept;

    /// Returns the expression of that text; null if it has no handle.
    Expression* findExpression(std::string const& text) const;
    /// Returns the texts of the expressions that name `symbol`; null if there are none.
    std::unordered_set<std::string> const* findExpressions(std::string const& symbol) const;
    /// Returns the leaves bound to property `name` of the context of that id, in no particular order; none for a
    /// context without a living provider.
    std::vector<Leaf> findLeaves(boost::uuids::uuid const& id, std::string_view name) const;
    /// Evaluates an acquired text now; ignores one that has no handle.
    void updateExpression(std::string const& text) const;

    // Binding. Expressions and reports call these.

    /// Registers `symbol` for `text` and rebinds its path: from now on a change of the symbol evaluates the expression
    /// of that text. Does nothing without a root. *Throws* `std::bad_alloc`, and what a look-up throws; the symbol may
    /// be partly bound then.
    void acquireSymbol(std::string const& symbol, std::string const& text);
    /// Undoes `acquireSymbol`: unbinds the path, and a change of the symbol no longer evaluates the expression of that
    /// text. Ignores an unknown symbol.
    // By design: unless the engine keeps shared symbols, unbinds the symbol for every expression that names it, not
    // only for `text`; a later acquisition binds it again. Hosts rely on that.
    void releaseSymbol(std::string const& symbol, std::string const& text) noexcept;
    /// Binds the path of a known symbol from `offset` on, beginning at `provider`. Ignores a null provider and an
    /// unknown symbol. *Throws* `std::out_of_range` for an offset past the symbol's end; nothing is bound then.
    void acquireLeaf(std::string_view symbol, unsigned long offset, std::shared_ptr<ContextProvider> provider);
    /// Unbinds all leaves of a symbol from `offset` on, wherever the path now goes. *Throws* `std::out_of_range` for an
    /// offset past the symbol's end.
    void releaseLeaf(std::string_view symbol, unsigned long offset);
    /// Unbinds the leaves that a walk from `offset`, beginning at `provider`, finds along the present references.
    /// Leaves along former references stay. A null provider unbinds nothing. *Throws* `std::out_of_range` for an offset
    /// past the symbol's end, and what a look-up throws.
    void releaseLeaf(std::string_view symbol, unsigned long offset, std::shared_ptr<ContextProvider> provider);
    /// Unbinds the leaves along the walk that begins at the provider of that id. If there is no such provider, only the
    /// leaf at `offset` is unbound, and only if it is of the last component. *Throws* `std::out_of_range` for an offset
    /// past the symbol's end, and what a look-up throws.
    void releaseLeaf(std::string_view symbol, unsigned long offset, boost::uuids::uuid const& providerId);
    /// Unbinds one leaf, bound to property `name` of the context of that id. Ignores one that is not bound there.
    void removeLeaf(std::string_view name, Leaf const& leaf, boost::uuids::uuid const& providerId) noexcept;

    // Changes. The model calls these.

    /// Returns false for a change of values that no symbol depends on.
    bool concerns(tarn::zero::ElementImpl const& element, std::uint64_t changed) const noexcept override;
    /// Finds the paths that a committed transaction touched, evaluates each of their expressions once, and calls
    /// handles.
    void transactionCommitted(tarn::zero::DeepChangeReport<Property> const& report);
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report);
    /// Unbinds the leaves in the context of that id that lie beyond the changed components: those of the `affected`
    /// symbols whose offset is greater than the symbol's in `cutOffsets`, each with the walk that begins there.
    /// *Throws* `std::bad_alloc`, and what a look-up throws.
    void processDestroyedImpl(boost::uuids::uuid const& providerId,
                              std::unordered_map<std::string_view, unsigned long> const& cutOffsets,
                              std::unordered_set<std::string_view> const& affected);

private:
    friend class detail::EngineState;

    struct Release {
        STUDIO_DATA_LOCAL void operator()(detail::EngineState* state) const noexcept;
    };

    std::unique_ptr<detail::EngineState, Release> state;   // counted: whoever calls out keeps it
};

}   // namespace studio::data
