#pragma once

#include "studio/data/ExpressionHandle.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ChangeReport.h"
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

class ContextProvider;
class Expression;
class Invariants;   // of the tests: may look at everything
namespace detail {
class ExpressionLeaves;
struct ExpressionLeaf;
struct ExpressionSymbol;
}   // namespace detail

/// Evaluates expressions over the properties of one root context and tells its subscribers when a value changes.
///
/// An expression is shared by all who acquire its text. Each of its symbols is bound along its dotted path to *leaves*,
/// the properties that the path goes through; a committed transaction that touches one of them, creates it or takes it
/// away has the expression evaluated once, and its handles are called if the value differs.
///
/// Callbacks run inside the commit, on its thread, after the state is final. They may do anything: write, acquire,
/// release their own or any other handle, drop providers, destroy the engine.
class STUDIO_DATA_EXPORT ExpressionEngine : public tarn::zero::Listener {
public:
    /// What a subscriber is called with: the text and the value.
    using Callback = ExpressionHandle::Callback;

    /// One step of a symbol's path: the component of `symbol` that begins at `offset`.
    struct Leaf {
        /// The whole path, as the expression names it.
        std::string_view symbol;   // good for as long as an expression names it
        /// Where in it the component begins, in bytes.
        unsigned long offset;

        friend bool operator==(Leaf const& left, Leaf const& right) noexcept
        {
            return left.offset == right.offset && left.symbol == right.symbol;
        }
    };
    /// For tables by leaf.
    struct STUDIO_DATA_EXPORT LeafHash {
        /// The hash of a leaf.
        std::size_t operator()(Leaf const& leaf) const noexcept;
    };

    /// Symbols are read from `provider`. With null every symbol is undefined and nothing is ever bound.
    explicit ExpressionEngine(std::shared_ptr<ContextProvider> provider);
    /// The same with the provider of that id, null if there is none.
    explicit ExpressionEngine(boost::uuids::uuid id);
    /// Detaches every handle that is left.
    ~ExpressionEngine() override;

    /// Subscribes to a text; null if copying `callback` ended the engine. *Notifies*: `callback` gets the present value
    /// before this returns, and again after each commit that changes it. Texts that differ in spacing are different
    /// expressions.
    /// *Throws* `gel::ParseError` for a text that does not parse, and what the first call throws: nobody is subscribed
    /// then. *Cost*: for a new text a parse, a walk along each symbol and an evaluation; else only the handle.
    std::unique_ptr<ExpressionHandle> acquireExpression(std::string const& text, Callback const& callback);
    /// What a handle's destructor calls: takes it out, and with the last one the expression. Ignores foreign handles.
    void releaseExpression(ExpressionHandle* handle) noexcept;

    /// The expression of that text; null if nobody holds it.
    Expression* findExpression(std::string const& text) const;
    /// The texts of the expressions that name `symbol`; null if there are none.
    std::unordered_set<std::string> const* findExpressions(std::string const& symbol) const;
    /// The leaves that pass through property `name` of the context of that id, in no particular order.
    std::vector<Leaf> findLeaves(boost::uuids::uuid const& id, std::string_view name) const;
    /// Evaluates an acquired text now; ignores one that nobody holds.
    void updateExpression(std::string const& text) const;

    // Binding. Expressions and reports call these.

    /// Notes `symbol` for `text`, and binds its path anew: a change of it evaluates the expression of that text from
    /// now on. Does nothing without a root. *Throws* `std::bad_alloc`, and what a look-up throws; the symbol may be
    /// bound in part then.
    void acquireSymbol(std::string const& symbol, std::string const& text);
    /// Takes back what `acquireSymbol` noted, and unbinds the path. A change of the symbol no longer evaluates the
    /// expression of that text. Ignores an unknown symbol.
    // By design: unbinds the symbol for every expression that names it, not only for `text`; a later acquisition binds
    // it again. Hosts rely on a release costing no look at the others.
    void releaseSymbol(std::string const& symbol, std::string const& text) noexcept;
    /// Binds the path of a known symbol from `offset` on, beginning at `provider`; a null one binds nothing, and an
    /// unknown symbol is ignored. *Throws* `std::out_of_range` for an offset past the symbol's end, before anything is
    /// bound.
    void acquireLeaf(std::string_view symbol, unsigned long offset, std::shared_ptr<ContextProvider> provider);
    /// Unbinds whatever a symbol holds from `offset` on, whatever its references are by now. *Throws*
    /// `std::out_of_range` for an offset past the symbol's end.
    void releaseLeaf(std::string_view symbol, unsigned long offset);
    /// Unbinds what a walk from `offset` on finds now, beginning at `provider`: the leaf of each component that the
    /// present references reach. Leaves along former references stay. A null provider unbinds nothing. *Throws*
    /// `std::out_of_range` for an offset past the symbol's end, and what a look-up throws.
    void releaseLeaf(std::string_view symbol, unsigned long offset, std::shared_ptr<ContextProvider> provider);
    /// Unbinds along the walk that begins at the provider of that id. Without such a provider only the leaf at `offset`
    /// goes, and that only if it is of the last component. *Throws* `std::out_of_range` for an offset past the symbol's
    /// end, and what a look-up throws.
    void releaseLeaf(std::string_view symbol, unsigned long offset, boost::uuids::uuid const& providerId);
    /// Unbinds one leaf, which stands under `name` of the context of that id. Ignores one that is not bound there.
    void removeLeaf(std::string_view name, Leaf const& leaf, boost::uuids::uuid const& providerId) noexcept;

    // Changes. The model calls these.

    /// False for a value that no symbol goes through.
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
    friend class Expression;
    friend class ExpressionHandle;
    friend class Invariants;

    using Symbol = detail::ExpressionSymbol;
    struct Batch;
    struct Frame;
    struct Presence;
    struct Tables;

    std::uint64_t nextNumber() noexcept { return ++lastNumber; }
    STUDIO_DATA_LOCAL void attach(Expression& expression);
    STUDIO_DATA_LOCAL void detach(Expression& expression) noexcept;
    STUDIO_DATA_LOCAL void forget(Expression& expression) noexcept;
    STUDIO_DATA_LOCAL static void addReader(Symbol& symbol, Expression& expression);
    STUDIO_DATA_LOCAL static void removeReader(Symbol& symbol, Expression const& expression) noexcept;

    STUDIO_DATA_LOCAL Symbol& bindSymbol(std::string_view name, std::string const& text);
    STUDIO_DATA_LOCAL void releaseSymbol(Symbol& symbol, std::string const& text) noexcept;
    STUDIO_DATA_LOCAL void dropIfUnused(Symbol& symbol) noexcept;
    template <class Step>
    bool walk(Symbol const& symbol, unsigned long offset, std::shared_ptr<ContextProvider> provider,
              Step const& step) const;
    STUDIO_DATA_LOCAL void bindPath(Symbol& symbol, unsigned long offset,
                                    std::shared_ptr<ContextProvider> const& provider, bool isPrefixWhole);
    STUDIO_DATA_LOCAL bool verify(Symbol& symbol);
    STUDIO_DATA_LOCAL void unbindFrom(Symbol& symbol, unsigned long offset) noexcept;
    STUDIO_DATA_LOCAL Symbol* symbolAt(std::string_view name, unsigned long offset) const;
    STUDIO_DATA_LOCAL Property::Impl const* endOf(Symbol& symbol);

    STUDIO_DATA_LOCAL void process(tarn::zero::ReportData const& report);
    STUDIO_DATA_LOCAL void touchAll(tarn::zero::ReportData const& report, Batch& batch);
    STUDIO_DATA_LOCAL void touchProperty(Property::Impl& property, tarn::zero::ReportData::Storage const& change,
                                         bool isSettled, Batch& batch);
    STUDIO_DATA_LOCAL void touchContext(boost::uuids::uuid const& id, Batch& batch);
    STUDIO_DATA_LOCAL void touch(detail::ExpressionLeaf const& leaf, bool keepsLeaf, Batch& batch);
    STUDIO_DATA_LOCAL void rebind(Symbol& symbol);
    STUDIO_DATA_LOCAL void collect(Symbol const& symbol, Batch& batch) const;

    std::shared_ptr<ContextProvider> rootProvider;
    std::unique_ptr<Tables> tables;   // the expressions by text, the symbols by name, the leaves by context and name
    std::uint64_t lastNumber = 0;
    std::uint64_t lastStamp = 0;
    Presence* running = nullptr;                        // the innermost that was begun and has not ended
    std::vector<std::unique_ptr<Batch>> spareBatches;   // as many as reports were under way at once
    std::size_t batchCount = 0;
};

}   // namespace studio::data
