#pragma once

#include "machine/ReferenceState.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace machine {

/// An engine, from its documentation. A path is always walked from the root over the present contents.
///
/// A symbol is bound to the leaves that a walk finds: when it is acquired, and whenever a report touches one of its
/// leaves. Its readers are evaluated then, each once, in order of acquisition.
///
/// What may lag. Bindings are followed by reports alone, so a symbol is bound to something else than a walk would find
/// - after a rename or a move: the report has the property under its present name and owner only;
/// - after a roll back, which makes no report, of what an engine or an acquisition saw while the transaction was open;
/// - where a provider ended in a transaction that was rolled back: its contents are there, and nothing refers to them;
/// - after leaves were bound or released directly.
/// Such a symbol may be touched at a leaf that a walk no longer reaches in the same way. What it is bound to then is
/// the system's choice, and *uncertain* here until the end of the step; its readers are evaluated if the system
/// evaluates them. The machine then takes over the system's bindings (`resolve`) and checks that no other symbol lags.
class ReferenceEngine final : public ReferenceListener {
public:
    using Call = std::function<void(int handle, std::string const& text, Value const& value)>;
    using TextOf = std::function<std::string(Ref)>;
    /// Called before each evaluation but an expression's first. Returns whether it takes place: always if it must.
    using MayEvaluate = std::function<bool(std::string const& text, bool must)>;

    ReferenceEngine(ReferenceState& lookedAt, Providers::Owner provider, bool keepsSharedSymbols, Call called,
                    TextOf uuidText, MayEvaluate may)
        : state{lookedAt},
          root{std::move(provider)},
          keepsShared{keepsSharedSymbols},
          call{std::move(called)},
          textOf{std::move(uuidText)},
          mayEvaluate{std::move(may)}
    {}

    void end()
    {
        gone = true;
        for (auto const& entry : std::exchange(expressions, {}))
            entry.second->handles.clear();
        symbols.clear();
        root.reset();
    }
    void acquire(Text const& parsed, int handle)
    {
        std::string const text = parsed.text;
        std::shared_ptr<Expression>& entry = expressions[text];
        if (!entry) {
            if (parsed.isBroken()) {
                expressions.erase(text);
                throw std::invalid_argument{text};
            }
            entry = std::make_shared<Expression>(
                Expression{text, parsed, ++lastNumber, parsed.symbols(), false, {}, false});
            for (std::string const& symbol : entry->symbols)
                acquireSymbol(symbol, text);
            entry->value = evaluate(*entry);
        }
        std::shared_ptr<Expression> const expression = entry;
        expression->handles.push_back(handle);
        try {
            call(handle, text, Value{expression->value});
        } catch (...) {
            release(handle);
            throw;
        }
    }
    void release(int handle)
    {
        std::shared_ptr<Expression> const expression = of(handle);
        if (!expression)
            return;
        std::replace(expression->handles.begin(), expression->handles.end(), handle, 0);
        auto const none = [](int held) { return held == 0; };
        if (!std::all_of(expression->handles.begin(), expression->handles.end(), none))
            return;
        expression->retired = true;
        expressions.erase(std::string{expression->text});
        for (std::string const& symbol : expression->symbols)
            releaseSymbol(symbol, expression->text);
    }

    // Symbols and leaves. `leaves` are those that a walk from a component finds.

    void acquireSymbol(std::string const& name, std::string const& text)
    {
        Symbol& symbol = symbols[name];
        symbol.texts.insert(text);
        symbol.acquiredInTransaction |= state.store.isOpen();
        symbol.leaves.merge(walk(name, 0, root));
    }
    void releaseSymbol(std::string const& name, std::string const& text)
    {
        bool const isRead = std::any_of(expressions.begin(), expressions.end(),
                                        [&](auto const& entry) { return entry.second->symbols.count(name) != 0; });
        Symbol* const symbol = find(name);
        if (symbol)
            symbol->texts.erase(text);
        if (symbol && (!keepsShared || symbol->texts.empty()))
            releaseLeaf(name, 0);   // for all of its readers
        if (symbol && symbol->texts.empty() && !isRead)
            symbols.erase(name);
    }
    void acquireLeaf(std::string const& name, std::size_t offset, Providers::Owner const& provider)
    {
        if (Symbol* const symbol = find(name))
            symbol->leaves.merge(walk(name, offset, provider));
    }
    void releaseLeaf(std::string const& name, std::size_t offset)
    {
        removeLeaves(name, [&](Leaf const& leaf) { return leaf.offset >= offset; });
    }
    /// Releases the leaves that a walk finds from the context on. One without a provider has no component beyond it.
    void releaseLeaf(std::string const& name, std::size_t offset, int context)
    {
        Providers::Owner const provider = state.providers.find(Ref{context});
        bool const isLast = name.find('.', offset) == std::string::npos;
        Leaves const found = provider ? walk(name, offset, provider) : isLast ? Leaves{{offset, context}} : Leaves{};
        removeLeaves(name, [&](Leaf const& leaf) { return found.count(leaf) != 0; });
    }
    void removeLeaf(std::string const& name, std::size_t offset, int context)
    {
        removeLeaves(name, [&](Leaf const& leaf) { return leaf == Leaf{offset, context}; });
    }
    /// Releases what the symbol is bound to at and beyond that context, behind `offset`.
    void cutOff(std::string const& name, std::size_t offset, int context)
    {
        Symbol const* const symbol = find(name);
        for (Leaf const& leaf : symbol ? Leaves{symbol->leaves} : Leaves{})
            if (leaf.context == context && leaf.offset > offset)
                releaseLeaf(name, leaf.offset, context);
    }
    void update(std::string const& text)
    {
        auto const found = expressions.find(text);
        if (std::shared_ptr<Expression> const expression = found == expressions.end() ? nullptr : found->second)
            update(*expression, true);
    }
    bool has(int handle) const { return of(handle) != nullptr; }
    Value valueOf(int handle) const { return of(handle)->value; }

    void process(Store::Report const& report) override
    {
        std::set<std::string> affected;   // texts
        std::set<std::string> doubtful;
        for (auto& [name, symbol] : symbols)
            if (std::optional<std::size_t> const offset = touchedAt(report, name, symbol.leaves)) {
                affected.insert(symbol.texts.begin(), symbol.texts.end());
                touch(name, symbol, *offset);
            } else if (symbol.isUncertain) {
                doubtful.insert(symbol.texts.begin(), symbol.texts.end());
            }
        std::map<int, std::shared_ptr<Expression>> readers;
        for (auto const& [text, expression] : expressions)
            if (affected.count(text) != 0 || doubtful.count(text) != 0)
                readers[expression->number] = expression;
        for (auto const& [number, expression] : readers)
            if (!gone && !expression->retired)
                update(*expression, affected.count(expression->text) != 0);
    }

    Bindings bindings() const
    {
        Bindings all;
        for (auto const& [name, symbol] : symbols)
            all[name] = {symbol.texts.size(), symbol.leaves};
        return all;
    }
    /// Takes over the system's bindings of the symbols that are uncertain.
    void resolve(Bindings const& system)
    {
        for (auto& [name, symbol] : symbols)
            if (auto const bound = system.find(name); symbol.isUncertain && bound != system.end()) {
                symbol.leaves = bound->second.second;
                symbol.isUncertain = false;
            }
    }
    /// Returns the texts whose value differs from an evaluation now, and the symbols that are bound to something else
    /// than a walk finds now, each with the documented reasons for it.
    Stale stale() const
    {
        Stale found;
        // By symbol: a reader that does not count keeps nothing bound when the last one that counts is released.
        std::map<std::string, std::set<std::string>> releasedByHand;
        for (auto const& [text, expression] : expressions) {
            Value const fresh = evaluate(*expression);
            bool const isStale = !(fresh == expression->value) && fresh == fresh;
            for (std::string const& name : expression->symbols) {
                std::string const released = name + " was released by hand for " + text;
                auto const known = symbols.find(name);
                if (known == symbols.end() || known->second.texts.count(text) == 0) {
                    found[released];
                    releasedByHand[name].insert(released);
                }
                if (isStale)
                    found[text].insert({"the leaves of " + name, released});
            }
        }
        for (auto const& [name, symbol] : symbols)
            if (walk(name, 0, root) != symbol.leaves)
                found["the leaves of " + name] = releasedByHand[name];
        return found;
    }

private:
    struct Symbol {
        std::set<std::string> texts{};
        Leaves leaves{};
        bool acquiredInTransaction = false;   // the next report that touches it binds it as a walk does
        bool isUncertain = false;             // there may be further leaves
    };
    struct Expression {
        std::string text;
        Text parsed;
        int number;
        std::set<std::string> symbols;
        Value value;
        std::vector<int> handles;   // in order of acquisition, 0 where released
        bool retired;
    };

    /// Returns the leaves of a path from `offset` on: the contexts and components that the present references reach,
    /// and the one behind a reference to a context that does not live.
    Leaves walk(std::string const& symbol, std::size_t offset, Providers::Owner provider) const
    {
        Leaves found;
        while (provider) {
            found.insert({offset, provider->id});
            std::size_t const dot = symbol.find('.', offset);
            Value const* const value = state.value(provider->id, component(symbol, offset));
            auto const* const ref = value ? std::get_if<Ref>(value) : nullptr;
            if (dot == std::string::npos || !ref)
                break;
            provider = state.providers.find(*ref);
            offset = dot + 1;
            if (!provider)
                found.insert({offset, ref->number});
        }
        return found;
    }
    /// Returns the least offset of a leaf that the report touches.
    std::optional<std::size_t> touchedAt(Store::Report const& report, std::string const& name,
                                         Leaves const& leaves) const
    {
        for (Leaf const& leaf : leaves)
            for (Store::Entry const& entry : report.entries)
                if (touches(entry, leaf, component(name, leaf.offset)))
                    return leaf.offset;
        return std::nullopt;
    }
    bool touches(Store::Entry const& entry, Leaf const& leaf, std::string const& name) const
    {
        bool const isGone = entry.change == Store::Change::Destroyed;
        if (entry.element.isProperty) {
            Store::Property const& now = state.store.property(entry.element.id);
            return (isGone || now.alive) && now.owner == leaf.context && now.name == name;
        }
        return entry.change != Store::Change::Modified && entry.element.id == leaf.context &&
               (isGone || state.store.isAlive(entry.element));
    }
    /// Binds a symbol to what a walk finds, unless the walk reaches the touched leaf in another way.
    void touch(std::string const& name, Symbol& symbol, std::size_t offset) const
    {
        Leaves const walked = walk(name, 0, root);
        auto const isAsWalked = [&](std::size_t last) {
            auto const upTo = [&](Leaves const& leaves) {
                return Leaves{leaves.begin(), leaves.upper_bound({last, std::numeric_limits<int>::max()})};
            };
            return upTo(walked) == upTo(symbol.leaves);
        };
        symbol.isUncertain = !symbol.acquiredInTransaction && !isAsWalked(offset);
        if (!symbol.isUncertain)
            symbol.leaves = walked;
        else if (isAsWalked(0))   // the leaf at the root stays, whatever else changes
            symbol.leaves = {{0, root->id}};
        else
            symbol.leaves.clear();
        symbol.acquiredInTransaction &= symbol.isUncertain;
    }
    template <class Condition>
    void removeLeaves(std::string const& name, Condition const& condition)
    {
        Symbol* const symbol = find(name);
        if (!symbol)
            return;
        std::erase_if(symbol->leaves, condition);
        if (symbol->leaves.empty())
            symbol->acquiredInTransaction = symbol->isUncertain = false;
    }
    Symbol* find(std::string const& name)
    {
        auto const known = symbols.find(name);
        return known == symbols.end() ? nullptr : &known->second;
    }
    static std::string component(std::string const& symbol, std::size_t offset)
    {
        return symbol.substr(offset, symbol.find('.', offset) - offset);
    }
    std::shared_ptr<Expression> of(int handle) const
    {
        for (auto const& entry : expressions)
            if (std::count(entry.second->handles.begin(), entry.second->handles.end(), handle) != 0)
                return entry.second;
        return nullptr;
    }
    void update(Expression& expression, bool must)
    {
        if (!mayEvaluate(expression.text, must))
            return;
        Value const value = evaluate(expression);
        if (value == expression.value)
            return;
        expression.value = value;
        std::size_t const count = expression.handles.size();
        for (std::size_t i = 0; i != count && i < expression.handles.size(); ++i)
            if (expression.handles[i] != 0)
                call(expression.handles[i], expression.text, Value{expression.value});
    }
    Value evaluate(Expression const& expression) const
    {
        return expression.parsed.eval([&](std::string const& symbol) -> Value {
            Value const value = root ? state.read(root->id, symbol) : Value{};
            auto const* const ref = std::get_if<Ref>(&value);
            return ref ? Value{textOf(*ref)} : value;
        });
    }

    ReferenceState& state;
    Providers::Owner root;
    bool keepsShared;
    Call call;
    TextOf textOf;
    MayEvaluate mayEvaluate;
    std::map<std::string, Symbol> symbols;
    std::map<std::string, std::shared_ptr<Expression>> expressions;
    int lastNumber = 0;
};

}   // namespace machine
