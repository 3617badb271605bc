#pragma once

#include "machine/PlainStore.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace machine {

/// The living providers by number, with shared owners.
class PlainProviders {
public:
    struct Provider {
        PlainProviders& all;
        int id;
        std::function<void(int)> ended;   // destroys the data

        Provider(PlainProviders& owner, int number, std::function<void(int)> atEnd)
            : all{owner}, id{number}, ended{std::move(atEnd)}
        {}
        Provider(Provider const&) = delete;
        Provider& operator=(Provider const&) = delete;
        ~Provider()
        {
            all.living.erase(id);
            ended(id);
        }
    };
    using Owner = std::shared_ptr<Provider>;

    Owner find(Value const& value) const
    {
        auto const* const ref = std::get_if<Ref>(&value);
        auto const found = ref ? living.find(ref->number) : living.end();
        return found == living.end() ? nullptr : found->second.lock();
    }
    bool names(Value const& value) const { return find(value) != nullptr; }

    std::map<int, std::weak_ptr<Provider>> living;
};

/// The state that all listeners read.
struct PlainSystem {
    PlainStore store;
    PlainProviders providers;
    std::size_t evaluations = 0;

    /// Returns the value of a name: follows dots through children; a property whose own name is the dotted path takes
    /// precedence.
    Value read(int id, std::string const& name) const
    {
        Value result;
        if (std::size_t const dot = name.find('.'); dot != std::string::npos)
            if (Value const* const head = store.value(id, name.substr(0, dot)); head && providers.names(*head))
                result = read(std::get<Ref>(*head).number, name.substr(dot + 1));
        if (Value const* const own = store.value(id, name))
            result = *own;
        return result;
    }
};

/// Out-of-date values, each with the possible reasons.
using Stale = std::map<std::string, std::set<std::string>>;

/// A recipient of reports; recipients are called in order of registration.
class PlainListener {
public:
    virtual ~PlainListener() = default;
    virtual void process(PlainStore::Report const& report) = 0;
    bool gone = false;
};

/// An engine: symbols with the leaves of their paths, expressions with the values of their last evaluation.
class PlainEngine final : public PlainListener {
public:
    using Call = std::function<void(int handle, std::string const& text, Value const& value)>;
    using TextOf = std::function<std::string(Ref)>;

    PlainEngine(PlainSystem& lookedAt, PlainProviders::Owner provider, Call called, TextOf uuidText)
        : system{lookedAt}, root{std::move(provider)}, call{std::move(called)}, textOf{std::move(uuidText)}
    {}

    void end()
    {
        gone = true;
        for (auto const& entry : std::exchange(expressions, {}))
            entry.second->handles.clear();
        symbols.clear();
        root.reset();
    }
    void acquire(Tree const& tree, int handle)
    {
        std::string const text = tree.text();
        std::shared_ptr<Expression>& entry = expressions[text];
        if (!entry) {
            if (tree.isBroken) {
                expressions.erase(text);
                throw std::invalid_argument{text};
            }
            entry = std::make_shared<Expression>(Expression{text, tree, ++lastNumber, {}, false, {}, false});
            tree.symbols(entry->symbols);
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
    void acquireSymbol(std::string const& name, std::string const& text)
    {
        Symbol& bound = symbols[name];
        bound.texts.insert(text);
        bound.provisional |= system.store.isOpen();
        bind(name, bound, 0, root);
    }
    void releaseSymbol(std::string const& name, std::string const& text)
    {
        releaseLeaf(name, 0);   // for all of its readers
        auto const known = symbols.find(name);
        bool const isRead = std::any_of(expressions.begin(), expressions.end(),
                                        [&](auto const& entry) { return entry.second->symbols.count(name) != 0; });
        if (known == symbols.end())
            return;
        known->second.texts.erase(text);
        if (known->second.texts.empty() && !isRead)
            symbols.erase(known);
    }
    void acquireLeaf(std::string const& name, std::size_t offset, PlainProviders::Owner const& provider)
    {
        if (auto const known = symbols.find(name); known != symbols.end())
            bind(name, known->second, offset, provider);
    }
    void releaseLeaf(std::string const& name, std::size_t offset)
    {
        auto const known = symbols.find(name);
        if (known == symbols.end())
            return;
        cut(known->second, offset);
        known->second.provisional &= !known->second.leaves.empty();
    }
    /// Unbinds the leaves that a walk along the present references finds.
    void releaseAlong(std::string const& name, std::size_t offset, PlainProviders::Owner provider)
    {
        while (provider) {
            removeLeaf(name, offset, provider->id);
            std::size_t const dot = name.find('.', offset);
            Value const* const value = system.store.value(provider->id, component(name, offset));
            if (dot == std::string::npos || !value)
                return;
            provider = system.providers.find(*value);
            offset = dot + 1;
        }
    }
    void releaseAlong(std::string const& name, std::size_t offset, int context)
    {
        if (PlainProviders::Owner const provider = system.providers.find(Ref{context}))
            return releaseAlong(name, offset, provider);
        if (name.find('.', offset) == std::string::npos)
            removeLeaf(name, offset, context);
    }
    void removeLeaf(std::string const& name, std::size_t offset, int context)
    {
        auto const known = symbols.find(name);
        if (known == symbols.end())
            return;
        auto& leaves = known->second.leaves;
        leaves.erase(std::remove(leaves.begin(), leaves.end(), Leaf{context, offset}), leaves.end());
        known->second.provisional &= !leaves.empty();
    }
    void cutOff(std::string const& name, std::size_t offset, int context)
    {
        auto const known = symbols.find(name);
        if (known == symbols.end())
            return;
        for (Leaf const& leaf : std::vector<Leaf>{known->second.leaves})
            if (leaf.context == context && leaf.offset > offset)
                releaseAlong(name, leaf.offset, context);
    }
    void update(std::string const& text)
    {
        auto const found = expressions.find(text);
        if (std::shared_ptr<Expression> const expression = found == expressions.end() ? nullptr : found->second)
            update(*expression);
    }
    bool has(int handle) const { return of(handle) != nullptr; }
    Value valueOf(int handle) const { return of(handle)->value; }

    void process(PlainStore::Report const& report) override
    {
        std::map<std::string, Cut> cuts;
        for (PlainStore::Entry const& entry : report.entries)
            for (auto const& [name, symbol] : symbols)
                for (Leaf const& leaf : symbol.leaves)
                    if (auto const cut = cutBy(entry, leaf, name); cut && (!cuts.count(name) || *cut < cuts[name]))
                        cuts[name] = *cut;
        for (auto const& [name, cut] : cuts)
            rebind(name, symbols[name], cut);
        std::map<int, std::shared_ptr<Expression>> reading;
        for (auto const& entry : cuts)
            if (auto const known = symbols.find(entry.first); known != symbols.end())
                for (std::string const& text : known->second.texts)
                    if (auto const reader = expressions.find(text); reader != expressions.end())
                        reading[reader->second->number] = reader->second;
        for (auto const& [number, expression] : reading)
            if (!gone && !expression->retired)
                update(*expression);
    }

    /// Returns every symbol with its number of texts and its leaves, as text.
    std::string leaves() const
    {
        std::string text;
        for (auto const& [name, symbol] : symbols) {
            std::set<std::pair<std::size_t, std::string>> sorted;
            for (Leaf const& leaf : symbol.leaves)
                sorted.emplace(leaf.offset, '#' + std::to_string(leaf.context));
            text += '`' + name + "`*" + std::to_string(symbol.texts.size());
            for (auto const& [offset, context] : sorted)
                text += ' ' + std::to_string(offset) + context;
            text += '\n';
        }
        return text;
    }
    /// Returns the texts whose value differs from an evaluation now, and the symbols that binding now would bind
    /// differently, each with the documented reasons for it.
    Stale stale() const
    {
        Stale found;
        for (auto const& [text, expression] : expressions) {
            Value const fresh = evaluate(*expression);
            bool const isStale = !(fresh == expression->value) && fresh == fresh;
            for (std::string const& name : expression->symbols) {
                std::string const released = name + " was released by hand for " + text;
                auto const known = symbols.find(name);
                if (known == symbols.end() || known->second.texts.count(text) == 0)
                    found[released];
                if (isStale)
                    found[text].insert({"the leaves of " + name, released});
            }
        }
        for (auto const& [name, symbol] : symbols) {
            Symbol anew;
            const_cast<PlainEngine*>(this)->bind(name, anew, 0, root);
            if (!(withData(anew.leaves) == withData(symbol.leaves)))
                found["the leaves of " + name];
        }
        return found;
    }

private:
    struct Leaf {
        int context;
        std::size_t offset;
        friend bool operator==(Leaf const& left, Leaf const& right)
        {
            return left.context == right.context && left.offset == right.offset;
        }
    };
    using Cut = std::pair<std::size_t, bool>;   // the first offset touched; whether its leaf stays
    struct Symbol {
        std::set<std::string> texts;
        std::vector<Leaf> leaves;
        bool provisional = false;   // bound inside a transaction, or beside other leaves: rebound when touched
    };
    struct Expression {
        std::string text;
        Tree tree;
        int number;
        std::set<std::string> symbols;
        Value value;
        std::vector<int> handles;   // in order of acquisition, 0 where released
        bool retired;
    };

    /// Omits leaves at contexts that have no data: the end of such a provider is not reported.
    std::vector<Leaf> withData(std::vector<Leaf> leaves) const
    {
        leaves.erase(std::remove_if(leaves.begin(), leaves.end(),
                                    [&](Leaf const& leaf) { return !system.store.context(leaf.context); }),
                     leaves.end());
        return leaves;
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
    void bind(std::string const& name, Symbol& symbol, std::size_t offset, PlainProviders::Owner provider)
    {
        while (provider) {
            Leaf const leaf{provider->id, offset};
            if (std::find(symbol.leaves.begin(), symbol.leaves.end(), leaf) == symbol.leaves.end()) {
                symbol.provisional |= !symbol.leaves.empty() && symbol.leaves.back().offset >= offset;
                symbol.leaves.push_back(leaf);
            }
            std::size_t const dot = name.find('.', offset);
            Value const* const value = system.store.value(provider->id, component(name, offset));
            if (dot == std::string::npos || !value)
                return;
            provider = system.providers.find(*value);
            offset = dot + 1;
        }
    }
    static void cut(Symbol& symbol, std::size_t offset)
    {
        auto& leaves = symbol.leaves;
        leaves.erase(
            std::remove_if(leaves.begin(), leaves.end(), [&](Leaf const& leaf) { return leaf.offset >= offset; }),
            leaves.end());
    }
    void rebind(std::string const& name, Symbol& symbol, Cut const& cut)
    {
        if (symbol.provisional) {
            symbol = Symbol{symbol.texts, {}, false};
            return bind(name, symbol, 0, root);
        }
        if (!cut.second)
            return PlainEngine::cut(symbol, cut.first);
        if (name.find('.', cut.first) == std::string::npos)
            return;   // the path ends here
        int const context = std::find_if(symbol.leaves.begin(), symbol.leaves.end(), [&](Leaf const& leaf) {
                                return leaf.offset == cut.first;
                            })->context;
        PlainEngine::cut(symbol, cut.first + 1);
        bind(name, symbol, cut.first, cut.first == 0 ? root : system.providers.find(Ref{context}));
    }
    std::optional<Cut> cutBy(PlainStore::Entry const& entry, Leaf const& leaf, std::string const& symbol) const
    {
        bool const isGone = entry.change == PlainStore::Change::Destroyed;
        if (entry.element.isProperty) {
            PlainStore::Property const& now = system.store.now().properties[PlainStore::index(entry.element.id)];
            if ((isGone || now.alive) && now.owner == leaf.context && now.name == component(symbol, leaf.offset))
                return Cut{leaf.offset, true};
        } else if (entry.change != PlainStore::Change::Modified && entry.element.id == leaf.context) {
            bool const lives = system.store.context(leaf.context) != nullptr;
            if (isGone || lives)
                return Cut{leaf.offset, lives};
        }
        return std::nullopt;
    }
    void update(Expression& expression)
    {
        ++system.evaluations;
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
        return expression.tree.eval([&](std::string const& symbol) -> Value {
            Value const value = root ? system.read(root->id, symbol) : Value{};
            auto const* const ref = std::get_if<Ref>(&value);
            return ref ? Value{textOf(*ref)} : value;
        });
    }

    PlainSystem& system;
    PlainProviders::Owner root;
    Call call;
    TextOf textOf;
    std::map<std::string, Symbol> symbols;
    std::map<std::string, std::shared_ptr<Expression>> expressions;
    int lastNumber = 0;
};

/// A view: values in maps, and orphans found by one walk over everything.
class PlainView final : public PlainListener {
public:
    using Call = std::function<void(int handle)>;
    struct Slot {
        int property;
        Value value;
    };
    struct Clone {
        std::map<std::string, Slot> properties;
        std::vector<std::string> active;
    };

    PlainView(PlainSystem& lookedAt, Call detached) : system{lookedAt}, call{std::move(detached)} {}

    /// Ends the records in order of creation; all handles of a record are first detached and then called.
    void end()
    {
        gone = true;
        while (!records.empty()) {
            Record const record = std::move(records.front());
            records.erase(records.begin());
            ending = record.handles;
            while (!ending.empty()) {
                int const handle = ending.front();
                ending.erase(ending.begin());
                call(handle);
            }
        }
        clones.clear();
    }
    bool acquire(int id, int handle)
    {
        if (gone)
            return false;
        auto record = of(id);
        if (record == records.end()) {
            PlainProviders::Owner const provider = system.providers.find(Ref{id});
            if (!provider || !system.store.context(id))
                return false;
            Clone const copy = fresh(id);
            clones.emplace(id, copy);
            grow(copy);
            records.push_back({id, provider, {}});
            record = std::prev(records.end());
        }
        record->handles.push_back(handle);
        return true;
    }
    /// Detaches a handle directly: releases it, then calls it.
    void detach(int handle)
    {
        if (has(handle)) {
            detaching.insert(handle);
            leave(handle);
        }
        bool const isEnding = removeFrom(ending, handle);
        if (detaching.erase(handle) != 0 || isEnding)
            call(handle);
    }
    void release(int handle)
    {
        detaching.erase(handle);
        removeFrom(ending, handle);
        leave(handle);
    }
    void leave(int handle)
    {
        for (auto record = records.begin(); record != records.end(); ++record) {
            if (!removeFrom(record->handles, handle))
                continue;
            if (!record->handles.empty())
                return;
            PlainProviders::Owner last = std::move(record->provider);
            records.erase(record);
            last.reset();   // may end this view
            if (!gone)
                discard();
            return;
        }
    }
    bool has(int handle) const
    {
        return std::any_of(records.begin(), records.end(), [&](Record const& record) {
            return std::count(record.handles.begin(), record.handles.end(), handle) != 0;
        });
    }

    void discard()
    {
        std::set<int> pending;
        for (auto const& entry : clones)
            pending.insert(entry.first);
        for (Record const& record : records)
            reach(record.id, pending);
        for (int const id : pending)
            clones.erase(id);
    }
    void process(PlainStore::Report const& report) override
    {
        if (report.has(true))
            followValues(report);
        if (report.has(false))
            followMembers(report);
    }

    std::map<int, Clone> clones;

private:
    struct Record {
        int id;
        PlainProviders::Owner provider;
        std::vector<int> handles;
    };
    struct Outcome {
        std::set<int> owners;
        bool orphans = false;
    };

    static bool removeFrom(std::vector<int>& handles, int handle)
    {
        auto const found = std::find(handles.begin(), handles.end(), handle);
        bool const isThere = found != handles.end();
        if (isThere)
            handles.erase(found);
        return isThere;
    }
    std::vector<Record>::iterator of(int id)
    {
        return std::find_if(records.begin(), records.end(), [&](Record const& record) { return record.id == id; });
    }
    Clone read(int id) const
    {
        Clone clone;
        PlainStore::Context const& context = *system.store.context(id);
        for (auto const& [name, property] : context.properties)
            clone.properties[name] = {property, system.store.now().properties[PlainStore::index(property)].value};
        clone.active = context.active;
        return clone;
    }
    Clone fresh(int id) const
    {
        Clone clone = read(id);
        clone.active.clear();
        return clone;
    }
    void followValues(PlainStore::Report const& report)
    {
        Outcome outcome;
        for (PlainStore::Entry const& entry : report.entries) {
            PlainStore::Property const* const source =
                entry.element.isProperty ? &system.store.now().properties[PlainStore::index(entry.element.id)]
                                         : nullptr;
            if (!source || !source->alive || entry.change != PlainStore::Change::Modified)
                continue;
            auto const clone = clones.find(source->owner);
            if (clone == clones.end())
                continue;
            Slot* const slot = slotOf(clone->second, entry.element.id, source->name);
            if (slot && !(slot->value == source->value))
                follow(source->value, *slot, clone->first, outcome);
        }
        finish(outcome);
    }
    void followMembers(PlainStore::Report const& report)
    {
        Outcome outcome;
        for (PlainStore::Entry const& entry : report.entries) {
            auto const clone = entry.element.isProperty ? clones.end() : clones.find(entry.element.id);
            if (clone == clones.end() || entry.change != PlainStore::Change::Modified ||
                !system.store.context(clone->first))
                continue;
            Clone const now = read(clone->first);
            auto& properties = clone->second.properties;
            clone->second.active = now.active;
            for (auto mine = properties.begin(); mine != properties.end();) {
                auto const theirs = now.properties.find(mine->first);
                bool const stays = theirs != now.properties.end() && theirs->second.property == mine->second.property;
                outcome.orphans |= !stays && system.providers.names(mine->second.value);
                if (stays && !(mine->second.value == theirs->second.value) &&
                    !(isNan(mine->second.value) && isNan(theirs->second.value)))
                    follow(theirs->second.value, mine->second, clone->first, outcome);
                mine = stays ? std::next(mine) : properties.erase(mine);
            }
            for (auto const& [name, slot] : now.properties)
                if (properties.emplace(name, slot).second && system.providers.names(slot.value))
                    outcome.owners.insert(clone->first);
        }
        finish(outcome);
    }
    static bool isNan(Value const& value) { return !(value == value); }
    void follow(Value const& value, Slot& slot, int owner, Outcome& outcome)
    {
        outcome.orphans |= system.providers.names(slot.value);
        slot.value = value;
        if (system.providers.names(value))
            outcome.owners.insert(owner);
    }
    static Slot* slotOf(Clone& clone, int property, std::string const& name)
    {
        for (auto& entry : clone.properties)
            if (entry.second.property == property)
                return &entry.second;
        auto const named = clone.properties.find(name);
        return named == clone.properties.end() ? nullptr : &named->second;
    }
    void grow(Clone const& clone)
    {
        for (auto const& entry : clone.properties) {
            auto const* const ref = std::get_if<Ref>(&entry.second.value);
            if (ref && clones.count(ref->number) == 0 && system.store.context(ref->number))
                grow(clones[ref->number] = fresh(ref->number));
        }
    }
    void reach(int id, std::set<int>& pending) const
    {
        if (pending.erase(id) != 0)
            for (auto const& entry : clones.at(id).properties)
                if (auto const* const ref = std::get_if<Ref>(&entry.second.value))
                    reach(ref->number, pending);
    }
    void finish(Outcome const& outcome)
    {
        for (int const owner : outcome.owners)
            grow(Clone(clones.at(owner)));
        if (outcome.orphans)
            discard();
    }

    PlainSystem& system;
    Call call;
    std::vector<Record> records;   // in order of creation
    std::vector<int> ending;       // handles that an ending record is about to call
    std::set<int> detaching;       // handles being detached directly, while what ends with their records ends
};

}   // namespace machine
