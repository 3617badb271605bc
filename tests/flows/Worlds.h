#pragma once

#include "support/Contexts.h"
#include "support/Random.h"
#include "support/ReferenceStore.h"

#include "gel/Eval.h"
#include "studio/data/model/ContextDataImpl.h"

#include <algorithm>
#include <array>
#include <exception>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// The two worlds of the random walk: the system, and a reference that does everything the slow and obvious way.
namespace support {

using Uuid = boost::uuids::uuid;
using Value = studio::data::PropertyValue;

constexpr int SLOTS = 5;   ///< places for contexts; the first two are roots of engines and never dropped
constexpr int ENGINES = 2;

/// One step. Which of the fields count follows from the kind.
struct Op {
    enum class Kind {
        Create, Drop, Add, Set, Remove, Rename, Move, Activate, Acquire, Release, ReleaseSelf, NewEngine, Throw, Commit,
        RollBack
    };
    Kind kind;
    int slot = 0;
    int other = 0;         ///< another slot, an engine, a number
    int value = 0;         ///< below SLOTS a reference to that slot, then a plain value
    std::string name;      ///< of a property, a path or an expression
    std::string newName;
    std::vector<Op> inner; ///< of a transaction

    static Op create(int slot) { return {Kind::Create, slot, 0, 0, "", "", {}}; }
    static Op add(int slot, std::string name, int value) { return {Kind::Add, slot, 0, value, std::move(name), "", {}}; }
};

inline std::string describe(Op const& op)
{
    constexpr std::array names{"create", "drop",    "add",          "set",        "remove", "rename", "move",    "activate",
                               "acquire", "release", "release self", "new engine", "throw",  "commit", "roll back"};
    std::string text = names[static_cast<std::size_t>(op.kind)];
    text += ' ' + std::to_string(op.slot) + ' ' + std::to_string(op.other) + " \"" + op.name + "\" \"" + op.newName
        + "\" value " + std::to_string(op.value);
    for (Op const& inner : op.inner)
        text += "\n    { " + describe(inner) + " }";
    return text;
}

/// Everything that chance decides, the same for both worlds.
class Script {
public:
    explicit Script(std::uint64_t seed) : m_seed{seed}, m_symbols{"a"}
    {
        Random random{seed};
        for (int i = 0; i != 14; ++i)
            m_texts.push_back(random.oneIn(40) ? "r.a +" : random.oneIn(3) ? randomText(random, 2) : list(random));
    }

    std::uint64_t seed() const { return m_seed; }

    /// A step from outside or in a callback. Inside a transaction there are fewer transactions.
    Op randomOp(Random& random, bool inCallback, bool inTransaction = false) const
    {
        using Kind = Op::Kind;
        static constexpr std::pair<Kind, std::size_t> weights[] = {
            {Kind::Set, 120},   {Kind::Add, 24},  {Kind::Remove, 6},   {Kind::Rename, 3},  {Kind::Move, 2},
            {Kind::Drop, 4},    {Kind::Create, 8}, {Kind::Acquire, 12}, {Kind::Activate, 2}, {Kind::Commit, 24},
            {Kind::RollBack, 4}, {Kind::NewEngine, 1}, {Kind::Release, 4}, {Kind::ReleaseSelf, 6}, {Kind::Throw, 4}};
        // A release unbinds what others read too: some walks go without, out of callbacks.
        std::size_t at = random.below(inCallback ? 224 : m_seed % 3 == 0 ? 210 : 214);
        Kind kind = Kind::Set;
        for (auto const& [candidate, weight] : weights) {
            if (at < weight) {
                kind = candidate;
                break;
            }
            at -= weight;
        }
        Op op{kind, slot(random), slot(random), static_cast<int>(random.below(SLOTS + plainValues().size())), "", "", {}};
        if (kind == Kind::Commit || kind == Kind::RollBack) {
            if (inTransaction && random.oneIn(2))
                return Op::create(op.slot);
            for (std::size_t i = 1 + random.below(6); i != 0; --i)
                op.inner.push_back(randomOp(random, inCallback, true));
        } else if (kind == Kind::Acquire) {
            op.name = random.pick(m_texts);
        } else {
            op.name = randomName(random);
            // What is moved away from the middle of a path is not followed there: the rest of the path stays bound.
            if (kind == Kind::Rename || kind == Kind::Move)
                op.name = random.pick(std::array{"a", "b", "c"});
            if (kind == Kind::Set && random.oneIn(2)) {
                op.slot %= ENGINES;
                op.name = random.pick(m_symbols);
            }
            op.newName = randomName(random);
            if (!op.name.empty() && (op.name.back() == 'r' || op.name.back() == 's') && !random.oneIn(8))
                op.value %= SLOTS; // references are what makes paths
        }
        return op;
    }

    std::string randomPath(Random& random) const
    {
        std::string path;
        for (std::size_t parts = random.below(3); parts != 0; --parts)
            path += random.oneIn(20) ? "." : random.oneIn(2) ? "r." : "s.";
        return path + (random.oneIn(20) ? "" : random.pick(NAMES));
    }

    static std::vector<Value> const& plainValues()
    {
        static std::vector<Value> const s_values{
            {}, 0, 1, 2, 3, 4, 5, 6, 7, 8, true, false, "", "x", "y", std::numeric_limits<double>::quiet_NaN()};
        return s_values;
    }

    /// Contexts that refer to each other, to begin with.
    std::vector<Op> beginning() const
    {
        Random random{m_seed};
        std::vector<Op> steps;
        for (int slot = 0; slot != SLOTS; ++slot)
            steps.push_back(Op::create(slot));
        for (int slot = 0; slot != SLOTS; ++slot)
            for (char const* const name : NAMES)
                if (!random.oneIn(5))
                    steps.push_back(Op::add(slot, name, static_cast<int>(random.below(SLOTS))));
        for (int i = 0; i != 8; ++i)
            steps.push_back({Op::Kind::Acquire, i % ENGINES, 0, 0, random.pick(m_texts), "", {}});
        return steps;
    }

private:
    static constexpr std::array NAMES{"r", "s", "a", "b", "c"};

    static int slot(Random& random) { return static_cast<int>(random.below(SLOTS)); }
    static std::string randomName(Random& random)
    {
        static constexpr std::array odd{"r.a", "s.r.a", "r.r", "s.b", ""};
        return random.oneIn(10) ? random.pick(odd) : random.pick(NAMES);
    }
    /// A text that shows every change of what it names.
    std::string list(Random& random)
    {
        std::string text = '(' + randomSymbol(random) + " ?? '-')";
        for (std::size_t more = random.below(3); more != 0; --more)
            text += " + ',' + (" + randomSymbol(random) + " ?? '-')";
        return text;
    }
    std::string randomText(Random& random, int depth)
    {
        if (depth == 0 || random.oneIn(4))
            return random.oneIn(6) ? "1" : randomSymbol(random);
        auto const part = [&] { return randomText(random, depth - 1); };
        switch (random.below(5)) {
        case 0: return '(' + part() + " ? " + part() + " : " + part() + ')';
        case 1: return "(!" + part() + ')';
        case 2: return "defined(" + part() + ')';
        default:
            return '(' + part() + random.pick(std::array{" + ", " == ", " ?? ", " && ", " || ", " * ", " < "}) + part()
                + ')';
        }
    }
    std::string randomSymbol(Random& random)
    {
        std::string const path = randomPath(random);
        m_symbols.push_back(path.empty() ? "a" : path);
        return '`' + m_symbols.back() + '`';
    }

    std::uint64_t m_seed;
    std::vector<std::string> m_texts;
    std::vector<std::string> m_symbols; // of the texts
};

/// The ids that the system gave to contexts, by the number of their creation.
using SharedIds = std::map<int, Uuid>;

struct Planned {}; // what a callback throws

/// What both worlds share: they hold slots, handles and a log, and act in callbacks as the script says.
class World {
public:
    World(Script const& script, SharedIds& ids) : m_ids{ids}, m_script{script} {}
    virtual ~World() = default;

    /// Takes one step from outside.
    void take(Op const& op)
    {
        m_actionsLeft = 12;
        try {
            apply(op, 0);
        } catch (...) {
            m_log += "[thrown]";
        }
    }
    std::string takeLog() { return std::exchange(m_log, {}); }
    std::string values() const
    {
        std::string text;
        for (int const handle : m_handles)
            text += std::to_string(handle) + '=' + shown(valueOf(handle)) + ' ';
        return text;
    }
    std::string read(int slot, std::string const& path) const
    {
        return m_slots[at(slot)].ready ? shown(readFrom(slot, path)) : "";
    }

protected:
    struct Slot {
        bool taken = false;
        bool ready = false;
        Uuid id{}; // also of the context that was here last
    };

    /// A handle was called.
    void heard(int handle, std::string const& text, Value const& value)
    {
        m_log += std::to_string(handle) + ':' + text + '=' + shown(value) + "; ";
        Random random{m_script.seed() * 1'000'003 + static_cast<std::uint64_t>(++m_calls)};
        if (m_depth == 4 || m_actionsLeft == 0 || !random.oneIn(3))
            return;
        --m_actionsLeft;
        Counter const depth{m_depth};
        apply(m_script.randomOp(random, true), handle);
    }

    Slot const& slot(int number) const { return m_slots[at(number)]; }
    static std::size_t at(int number) { return static_cast<std::size_t>(number); }

    virtual void create(int slot, int number) = 0;
    virtual void drop(int slot) = 0;
    virtual void add(Op const& op, Value const& value) = 0;
    virtual void set(Op const& op, Value const& value) = 0;
    virtual void remove(Op const& op) = 0;
    virtual void rename(Op const& op) = 0;
    virtual void move(Op const& op) = 0;
    virtual void activate(Op const& op) = 0;
    virtual void acquire(int engine, std::string const& text, int handle) = 0;
    virtual void release(int handle) = 0;
    virtual void newEngine(int engine) = 0;
    virtual void transaction(Op const& op, int self) = 0;
    virtual Value valueOf(int handle) const = 0;
    virtual Value readFrom(int slot, std::string const& path) const = 0;

    void applyAll(std::vector<Op> const& ops, int self)
    {
        for (Op const& op : ops)
            apply(op, self);
    }
    SharedIds& m_ids;

private:
    struct Counter {
        explicit Counter(int& counted) : count{counted} { ++count; }
        Counter(Counter const&) = delete;
        Counter& operator=(Counter const&) = delete;
        ~Counter() { --count; }
        int& count;
    };

    void apply(Op const& op, int self)
    {
        using Kind = Op::Kind;
        Slot& slot = m_slots[at(op.slot)];
        Value const value = op.value < SLOTS ? Value{m_slots[at(op.value)].id}
                                             : Script::plainValues()[at(op.value - SLOTS)];
        switch (op.kind) {
        case Kind::Create:
            if (!std::exchange(slot.taken, true)) {
                int const number = m_created++;
                create(op.slot, number);
                slot.id = m_ids.at(number);
                slot.ready = true;
            }
            return;
        case Kind::Acquire: {
            if (m_handles.size() > 14)
                return;
            int const handle = ++m_lastHandle;
            acquire(op.slot % ENGINES, op.name, handle);
            m_handles.insert(handle);
            return;
        }
        case Kind::Release:
            if (!m_handles.empty())
                releaseOne(*std::next(m_handles.begin(), op.other % static_cast<int>(m_handles.size())));
            return;
        case Kind::ReleaseSelf:
            if (m_handles.count(self) != 0)
                releaseOne(self);
            return;
        case Kind::NewEngine: return newEngine(op.slot % ENGINES);
        case Kind::Throw: throw Planned{};
        case Kind::Commit:
        case Kind::RollBack: return transaction(op, self);
        default: break;
        }
        if (!slot.ready)
            return;
        switch (op.kind) {
        case Kind::Drop:
            // A dotted write holds the contexts on its way; whoever is dropped there dies at a moment of its own.
            if (op.slot >= ENGINES && m_dottedWrites == 0) {
                slot.ready = slot.taken = false;
                drop(op.slot);
            }
            return;
        case Kind::Add: return add(op, value);
        case Kind::Set: {
            if (op.name.find('.') == std::string::npos)
                return set(op, value);
            Counter const dotted{m_dottedWrites};
            return set(op, value);
        }
        case Kind::Remove: return remove(op);
        case Kind::Rename: return rename(op);
        case Kind::Move:
            if (m_slots[at(op.other)].ready)
                move(op);
            return;
        default: return activate(op);
        }
    }
    void releaseOne(int handle)
    {
        m_handles.erase(handle);
        release(handle);
    }

    Script const& m_script;
    std::array<Slot, SLOTS> m_slots;
    std::set<int> m_handles;
    std::string m_log;
    int m_created = 0;
    int m_lastHandle = 0;
    int m_calls = 0;
    int m_depth = 0;
    int m_actionsLeft = 0;
    int m_dottedWrites = 0;
};

/// The system itself, through its public face.
class RealWorld final : public World {
public:
    RealWorld(Script const& script, SharedIds& ids) : World{script, ids} {}

private:
    void create(int slot, int number) override
    {
        m_providers[at(slot)] = studio::data::ContextProvider::create();
        m_ids[number] = m_providers[at(slot)]->getId();
        if (slot < ENGINES)
            newEngine(slot);
    }
    void drop(int slot) override { Provider const last = std::move(m_providers[at(slot)]); }
    // Nobody but the slot holds the provider meanwhile.
    void add(Op const& op, Value const& value) override { provider(op).addProperty(op.name, value); }
    void set(Op const& op, Value const& value) override { provider(op).setPropertyValue(op.name, value); }
    void remove(Op const& op) override { provider(op).removeProperty(op.name); }
    void rename(Op const& op) override
    {
        if (studio::data::Property const property = provider(op).getProperty(op.name))
            property->setName(op.newName);
    }
    void move(Op const& op) override
    {
        studio::data::Property const property = provider(op).getProperty(op.name);
        auto const target = studio::data::ContextProvider::sharedModel()->findElement(slot(op.other).id, 1);
        if (property && target)
            property->setOwner(
                studio::data::ContextData{static_cast<studio::data::ContextData::Impl*>(target.get())});
    }
    void activate(Op const& op) override
    {
        provider(op).setActiveContexts(std::vector<std::string>(at(op.other) % 3, op.name));
    }
    void acquire(int engine, std::string const& text, int handle) override
    {
        if (!m_engines[at(engine)])
            return;
        Handle made = m_engines[at(engine)]->acquireExpression(
            text, [this, handle](std::string const& heardText, Value const& value) { heard(handle, heardText, value); });
        m_handles[handle] = std::move(made);
    }
    void release(int handle) override { m_handles.erase(handle); }
    void newEngine(int engine) override
    {
        m_engines[at(engine)].reset();
        if (m_providers[at(engine)])
            m_engines[at(engine)] = std::make_unique<studio::data::ExpressionEngine>(m_providers[at(engine)]);
    }
    void transaction(Op const& op, int self) override
    {
        auto open = studio::data::ContextProvider::sharedModel()->beginTransaction(true);
        applyAll(op.inner, self);
        if (op.kind == Op::Kind::Commit)
            open.commit(boost::none);
    }
    Value valueOf(int handle) const override
    {
        auto const found = m_handles.find(handle);
        return found == m_handles.end() ? Value{} : found->second->getValue();
    }
    Value readFrom(int slot, std::string const& path) const override
    {
        return m_providers[at(slot)]->getPropertyValue(path);
    }
    studio::data::ContextProvider& provider(Op const& op) const { return *m_providers[at(op.slot)]; }

    std::array<Provider, SLOTS> m_providers;
    std::array<std::unique_ptr<studio::data::ExpressionEngine>, ENGINES> m_engines;
    std::map<int, Handle> m_handles;
};

/// An engine that looks at every leaf of every symbol, and walks every path again from its root.
class ReferenceEngine {
public:
    using Heard = std::function<void(int handle, std::string const& text, Value const& value)>;

    ReferenceEngine(ReferenceStore const& store, Uuid const& root, Heard heard)
        : m_store{store}, m_root{root}, m_heard{std::move(heard)}
    {
    }

    bool isGone() const { return m_gone; }
    void end()
    {
        m_gone = true;
        for (auto const& [text, expression] : m_expressions)
            expression->handles.assign(expression->handles.size(), 0);
        m_expressions.clear();
    }

    void acquire(std::string const& text, int handle)
    {
        std::shared_ptr<Expression> expression = m_expressions.count(text) != 0 ? m_expressions[text] : nullptr;
        if (!expression) {
            expression = std::make_shared<Expression>(Expression{text, ++m_made, gel::symbols(text), false, {}, false});
            for (std::string const& symbol : expression->symbols) {
                m_symbols[symbol].users.insert(text);
                m_symbols[symbol].leaves.merge(m_store.walk(m_root, symbol)); // beside those of before, if any
            }
            expression->value = evaluate(text);
            m_expressions[text] = expression;
        }
        expression->handles.push_back(handle);
        try {
            m_heard(handle, text, expression->value);
        } catch (...) {
            release(handle);
            throw;
        }
    }
    void release(int handle)
    {
        for (auto const& entry : m_expressions) {
            std::shared_ptr<Expression> const expression = entry.second;
            bool found = false;
            bool others = false;
            for (int& one : expression->handles) {
                found |= one == handle;
                one = one == handle ? 0 : one;
                others |= one != 0;
            }
            if (!found)
                continue;
            if (!others)
                retire(*expression);
            return;
        }
    }
    /// Undefined for a handle that is none of this engine's.
    Value valueOf(int handle) const
    {
        for (auto const& [text, expression] : m_expressions)
            for (int const one : expression->handles)
                if (one == handle)
                    return expression->value;
        return {};
    }

    void process(ReferenceStore::Changes const& changes)
    {
        std::set<std::string> affected;
        for (auto const& [symbol, use] : m_symbols)
            for (ReferenceStore::Change const& change : changes)
                for (ReferenceStore::Step const& leaf : use.leaves)
                    if (touches(change, leaf))
                        affected.insert(symbol);
        for (std::string const& symbol : affected)
            m_symbols[symbol].leaves = m_store.walk(m_root, symbol);
        std::map<int, std::shared_ptr<Expression>> reading;
        for (auto const& [text, expression] : m_expressions)
            for (std::string const& symbol : expression->symbols)
                if (affected.count(symbol) != 0)
                    reading[expression->number] = expression;
        for (auto const& [number, expression] : reading)
            if (!m_gone && !expression->retired)
                update(*expression);
    }

private:
    struct Expression {
        std::string text;
        int number;
        std::set<std::string> symbols;
        Value value;
        std::vector<int> handles; // in order of acquisition, 0 where one was released
        bool retired;
    };
    struct Symbol {
        std::set<std::string> users;
        std::set<ReferenceStore::Step> leaves;
    };

    bool touches(ReferenceStore::Change const& change, ReferenceStore::Step const& leaf) const
    {
        bool const gone = change.kind == ReferenceStore::Kind::Destroyed;
        if (change.property) {
            ReferenceStore::Property const& now = m_store.state().properties[*change.property];
            return (gone || now.alive) && leaf == ReferenceStore::Step{now.owner, now.name};
        }
        return change.kind != ReferenceStore::Kind::Modified && change.context == leaf.first
            && (gone || m_store.state().contexts.at(change.context).alive);
    }
    void update(Expression& expression)
    {
        Value const value = evaluate(expression.text);
        if (value == expression.value)
            return;
        expression.value = value;
        std::size_t const count = expression.handles.size();
        for (std::size_t i = 0; i != count; ++i)
            if (expression.handles[i] != 0)
                m_heard(expression.handles[i], expression.text, expression.value);
    }
    void retire(Expression& expression)
    {
        expression.retired = true;
        for (std::string const& symbol : expression.symbols) {
            m_symbols[symbol].leaves.clear(); // also for the others that read it
            m_symbols[symbol].users.erase(expression.text);
            if (m_symbols[symbol].users.empty())
                m_symbols.erase(symbol);
        }
        m_expressions.erase(std::string{expression.text});
    }
    Value evaluate(std::string const& text) const
    {
        struct Source final : gel::DataSource {
            Source(ReferenceStore const& read, Uuid const& from) : store{read}, root{from} {}
            gel::Value lookup(std::string const& symbol) const override
            {
                Value const value = store.read(root, symbol);
                if (value.isDouble())
                    return value.getDouble();
                if (value.isLogical())
                    return value.getBool();
                return value.isUndefined() ? gel::Value{} : gel::Value{value.asString()};
            }
            ReferenceStore const& store;
            Uuid root;
        };
        gel::Value const value = gel::eval(text, Source{m_store, m_root});
        if (value.isDouble())
            return value.getDouble();
        if (value.isLogical())
            return value.getBool();
        return value.isString() ? Value{value.getString()} : Value{};
    }

    ReferenceStore const& m_store;
    Uuid m_root;
    Heard m_heard;
    std::map<std::string, Symbol> m_symbols;
    std::map<std::string, std::shared_ptr<Expression>> m_expressions;
    int m_made = 0;
    bool m_gone = false;
};

/// Plain maps, engines that look at everything, and the order in which reports are handed out.
class ReferenceWorld final : public World {
public:
    ReferenceWorld(Script const& script, SharedIds& ids) : World{script, ids} {}

private:
    using Engines = std::vector<std::shared_ptr<ReferenceEngine>>;
    struct Frame {
        ReferenceStore::Changes changes;
        Engines engines;
        std::size_t next = 0;
        std::exception_ptr failure = nullptr;
    };

    void create(int slot, int number) override
    {
        change([&] { m_store.create(m_ids.at(number)); });
        if (slot < ENGINES)
            addEngine(slot, m_ids.at(number));
    }
    void drop(int dropped) override
    {
        try {
            change([&] { m_store.drop(slot(dropped).id); });
        } catch (...) { // lets nothing out
        }
    }
    void add(Op const& op, Value const& value) override
    {
        change([&] { m_store.add(slot(op.slot).id, op.name, value); });
    }
    void set(Op const& op, Value const& value) override { write(slot(op.slot).id, op.name, value); }
    void write(Uuid const& context, std::string const& path, Value const& value)
    {
        std::size_t const dot = path.find('.');
        if (dot != std::string::npos)
            if (auto const* const head = m_store.find(context, path.substr(0, dot));
                head && m_store.isProvider(head->value))
                write(head->value.getUUID(), path.substr(dot + 1), value);
        change([&] { m_store.set(context, path, value); });
    }
    void remove(Op const& op) override
    {
        change([&] { m_store.remove(slot(op.slot).id, op.name); });
    }
    void rename(Op const& op) override
    {
        change([&] { m_store.place(slot(op.slot).id, op.name, slot(op.slot).id, op.newName); });
    }
    void move(Op const& op) override
    {
        change([&] { m_store.place(slot(op.slot).id, op.name, slot(op.other).id, op.name); });
    }
    void activate(Op const& op) override
    {
        change([&] { m_store.activate(slot(op.slot).id, at(op.other) % 3); });
    }
    void acquire(int engine, std::string const& text, int handle) override
    {
        if (std::shared_ptr<ReferenceEngine> const held = m_engineOf[at(engine)])
            held->acquire(text, handle);
    }
    void release(int handle) override
    {
        for (auto const& engine : m_engines)
            engine->release(handle);
    }
    void newEngine(int engine) override
    {
        if (m_engineOf[at(engine)])
            addEngine(engine, slot(engine).id);
    }
    void addEngine(int engine, Uuid const& root)
    {
        std::shared_ptr<ReferenceEngine>& present = m_engineOf[at(engine)];
        if (present) {
            present->end();
            m_engines.erase(std::find(m_engines.begin(), m_engines.end(), present));
        }
        present = std::make_shared<ReferenceEngine>(
            m_store, root,
            [this](int handle, std::string const& text, Value const& value) { heard(handle, text, value); });
        m_engines.push_back(present);
    }
    void transaction(Op const& op, int self) override
    {
        m_store.begin();
        try {
            applyAll(op.inner, self);
        } catch (...) {
            m_store.rollBack();
            throw;
        }
        if (op.kind == Op::Kind::Commit)
            deliver(m_store.commit());
        else
            m_store.rollBack();
    }
    Value valueOf(int handle) const override
    {
        for (auto const& engine : m_engines)
            if (Value const value = engine->valueOf(handle); !value.isUndefined())
                return value;
        return {};
    }
    Value readFrom(int number, std::string const& path) const override { return m_store.read(slot(number).id, path); }

    template <class Change>
    void change(Change const& make)
    {
        m_store.begin();
        try {
            make();
        } catch (...) {
            m_store.rollBack();
            throw;
        }
        deliver(m_store.commit());
    }

    /// To everybody who is there now, but first what is older to those who have not had it.
    void deliver(ReferenceStore::Changes changes)
    {
        if (changes.empty())
            return;
        Frame frame{std::move(changes), m_engines};
        m_frames.push_back(&frame);
        for (std::size_t i = 0; i != m_frames.size(); ++i)
            while (m_frames[i]->next != m_frames[i]->engines.size())
                serve(*m_frames[i]);
        m_frames.pop_back();
        if (frame.failure)
            std::rethrow_exception(frame.failure);
    }
    static void serve(Frame& frame)
    {
        std::shared_ptr<ReferenceEngine> const engine = frame.engines[frame.next++];
        if (engine->isGone())
            return;
        try {
            engine->process(frame.changes);
        } catch (...) {
            if (!frame.failure)
                frame.failure = std::current_exception();
        }
    }

    ReferenceStore m_store;
    Engines m_engines; // in order of registration
    std::array<std::shared_ptr<ReferenceEngine>, ENGINES> m_engineOf;
    std::vector<Frame*> m_frames;
};

} // namespace support
