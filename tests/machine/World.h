#pragma once

#include "machine/Steps.h"
#include "machine/Values.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace machine {

struct Planned {};   // what a callback throws
struct Fault {};     // an injected failure of a look-up or an allocation has left an operation

/// What the system under test and its reference model share: the numbers of objects, the log of all callbacks, and the
/// callbacks' actions. Each runs every step on its own; logs and final states must be equal.
class World {
public:
    explicit World(Script const& script) : m_script{script} {}
    World(World const&) = delete;
    World& operator=(World const&) = delete;
    virtual ~World() = default;

    /// Runs one step. `throwAt` makes that callback throw, counted from 1; in a `quiet` step callbacks do nothing.
    void take(Op const& op, int throwAt = 0, bool quiet = false)
    {
        m_throwAt = throwAt;
        m_actionsLeft = quiet ? 0 : 6;
        try {
            apply(op, 0);
        } catch (...) {
            std::string const name = nameOfException();
            if (name.empty())
                throw Fault{};
            log("[thrown " + name + ']');
        }
        m_throwAt = 0;
    }
    /// Changes every property and every context and restores it, each change in a transaction of its own.
    virtual void touchAll() = 0;
    /// Destroys the data of contexts without a provider. Such data is left if a provider's end ran out of memory or was
    /// rolled back.
    virtual void destroyLeftovers() = 0;
    /// Destroys everything, in an order that depends on the run. Callbacks do nothing from now on.
    void end()
    {
        m_actionsLeft = m_throwAt = 0;
        rollBackAll();
        bool const handlesFirst = m_calls % 2 == 0;
        auto const releaseAll = [this] {
            while (!m_held.empty())
                releaseHandle(m_held.begin()->first);
        };
        if (handlesFirst)
            releaseAll();
        for (int i = 0; i != ENGINES; ++i)
            setEngine(i, false);
        if (m_calls % 3 == 0)
            dropAll();
        for (int i = 0; i != VIEWS; ++i)
            setView(i, false);
        for (int i = 0; i != LISTENERS; ++i)
            setListener(i, false);
        releaseAll();
        dropAll();
    }
    /// Returns the handles that have not been released, as text.
    std::string handles() const
    {
        std::string text;
        for (auto const& [handle, isContext] : m_held)
            text += std::to_string(handle) + (m_detached.count(handle) != 0 ? "d " : isContext ? "c " : "e ");
        return text;
    }
    /// Copies the counters of `other`: callbacks that a fault prevented do not count.
    void countLike(World const& other)
    {
        m_calls = other.m_calls;
        m_handles = other.m_handles;
        m_numbers = other.m_numbers;
    }
    void rollBackAll()
    {
        while (depth() != 0)
            rollBack();
    }
    std::string takeLog() { return std::exchange(m_log, {}); }
    /// The evaluations of expressions but the first of each, with the engine and the place in the log.
    std::vector<std::string> const& evaluations() const { return m_evaluations; }
    void forgetEvaluations() { m_evaluations.clear(); }
    /// True if an evaluation now is the next one of `other`, which is ahead; among those of one write of `touchAll`,
    /// one of them, since a fault has changed their order.
    bool isNextOf(World const& other, std::string const& evaluation) const
    {
        std::vector<std::string> const& all = other.m_evaluations;
        if (!m_touched.empty())
            return std::find(all.begin(), all.end(), evaluation) != all.end();
        return m_evaluations.size() < all.size() && all[m_evaluations.size()] == evaluation;
    }
    bool takeMayBeStale() { return std::exchange(m_mayBeStale, false); }
    int calls() const { return m_calls; }
    /// Omits mirrors of destroyed contexts from the state that is compared: after a fault they may be there or not.
    void omitMirrorsOfDestroyed() { m_showsMirrorsOfDestroyed = false; }

protected:
    struct HandleInfo {
        std::uint64_t seed;
        bool releasesShared;   // for other expressions, too
        int calls = 0;
    };
    /// What `Bind` does: to a symbol for a text, to its leaves from `offset` on, which begin at the context of `slot`,
    /// or to the text.
    struct Binding {
        enum What {
            AcquireSymbol,
            ReleaseSymbol,
            AcquireLeaf,
            ReleaseLeaf,
            MoveLeaf,
            ReleaseAlong,
            ReleaseAlongId,
            RemoveLeaf,
            CutOff,
            Update,
            COUNT
        } what;
        std::string symbol;
        std::string text;
        std::size_t offset;
        int slot;
    };

    virtual void create(int slot, bool restores) = 0;
    virtual void drop(int slot) = 0;
    virtual void change(Op const& op) = 0;
    virtual void begin() = 0;
    virtual void commit() = 0;
    virtual void rollBack() = 0;
    virtual std::size_t depth() const = 0;
    virtual bool acquire(int engine, Text const& text, int handle) = 0;   // false: there is no such engine or view
    virtual bool watch(int view, int slot, int handle) = 0;
    virtual void bind(int engine, Binding const& binding) = 0;
    virtual void release(int handle) = 0;
    virtual void detach(int handle) = 0;   // a context handle
    virtual void setEngine(int engine, bool present) = 0;
    virtual void setView(int view, bool present) = 0;
    virtual void setListener(int listener, bool present) = 0;
    virtual std::string nameOfException() const = 0;   // empty: an injected fault
    virtual int slotOf(int context) const = 0;         // the slot that holds the provider of that context; -1 if none

    /// The subject of a report's entry: a context, or a property by its present context and name.
    struct Subject {
        int context;
        bool isProperty;
        std::string name;
    };

    /// Says which write of `touchAll` follows.
    void touches(int context, std::string const& name, char const* how)
    {
        m_touched = " when " + std::to_string(context) + '.' + name + how;
    }
    void endTouching() { m_touched.clear(); }

    /// Returns the number for the next context.
    int nextContext() { return m_numbers.context++; }

    std::string evaluation(int engine, std::string const& text) const
    {
        return std::to_string(engine) + ": " + text +
               (m_touched.empty() ? " after " + std::to_string(m_calls) + " calls, " + std::to_string(m_depth) + " deep"
                                  : m_touched);
    }
    void noteEvaluation(int engine, std::string const& text) { m_evaluations.push_back(evaluation(engine, text)); }
    void log(std::string const& line) { m_log += line + '\n'; }
    /// Runs a callback's action, chosen by `seed` and the ordinal of the call. `self` is the handle that is called. For
    /// a listener, `subjects` are those of its report: half of its actions apply to one of them.
    void runCallback(std::string const& line, std::uint64_t seed, int self, bool mayThrow,
                     std::vector<Subject> const& subjects = {})
    {
        log(line);
        if (++m_calls, m_throwAt != 0 && --m_throwAt == 0 && mayThrow) {
            m_mayBeStale = true;
            throw Planned{};
        }
        Dice dice{seed};
        if (m_depth == 3 || m_actionsLeft == 0 || !dice.oneIn(3))
            return;
        Op op = m_script.inner(dice, true);
        if (!subjects.empty() && dice.oneIn(2))
            meddle(op, dice.pick(subjects), dice);
        if (op.kind == Kind::Throw && !mayThrow)
            return;
        --m_actionsLeft;
        Nested const nested{m_depth};
        try {
            apply(op, self);
        } catch (...) {
            m_mayBeStale = true;
            if (mayThrow)
                throw;
            log("[kept in]");   // an exception from a detach callback would end the process
        }
    }
    void heard(int handle, std::string const& line, bool mayThrow)
    {
        HandleInfo& info = m_handles[handle];
        runCallback(line, info.seed * 31 + static_cast<std::uint64_t>(++info.calls), handle, mayThrow);
    }
    bool isHeld(int handle) const { return m_held.count(handle) != 0; }
    /// The handles that have not been released; true for context handles.
    std::map<int, bool> const& held() const { return m_held; }

    template <class Slots>
    static int slotAmong(Slots const& slots, int context)
    {
        for (std::size_t i = 0; i != slots.size(); ++i)
            if (slots[i].provider && slots[i].last == context)
                return static_cast<int>(i);
        return -1;
    }
    /// Returns a letter for each that exists, a dash for each that does not.
    template <class Places>
    static std::string marks(Places const& places, char letter)
    {
        std::string text;
        for (auto const& place : places)
            text += place ? letter : '-';
        return text;
    }

    bool m_showsMirrorsOfDestroyed = true;
    std::string m_touched;       // the write of `touchAll`; empty outside of it
    bool m_mayBeStale = false;   // something left values or mirrors stale, as documented

private:
    struct Numbers {
        int handle = 0;
        int context = 0;
    };
    struct Nested {
        explicit Nested(int& depth) : counted{depth} { ++counted; }
        ~Nested() { --counted; }
        int& counted;
    };

    void meddle(Op& op, Subject const& subject, Dice& dice) const
    {
        static constexpr std::array KINDS_OF_MEDDLING{Kind::Remove, Kind::Remove, Kind::Rename, Kind::Move,
                                                      Kind::Lift,   Kind::Set,    Kind::Drop};
        int const slot = slotOf(subject.context);
        Kind const kind = subject.isProperty ? dice.pick(KINDS_OF_MEDDLING) : Kind::Drop;
        if (slot < 0)
            return;
        op.kind = kind;
        op.slot = slot;
        op.name = subject.name;
    }
    void dropAll()
    {
        for (int i = 0; i != SLOTS; ++i)
            drop(i);
    }
    void apply(Op const& op, int self)
    {
        switch (op.kind) {
        case Kind::Nothing: return;
        case Kind::Create:
        case Kind::Restore: return create(op.slot, op.kind == Kind::Restore);
        case Kind::Drop: return drop(op.slot);
        case Kind::Begin: return m_batches == 0 && depth() < DEEPEST ? begin() : void();
        case Kind::Commit: return m_batches == 0 && depth() != 0 ? commit() : void();
        case Kind::RollBack: return m_batches == 0 && depth() != 0 ? backOut() : void();
        case Kind::Batch:
        case Kind::BatchBack: return batch(op, self);
        case Kind::Acquire:
        case Kind::Watch: return subscribe(op);
        case Kind::Release:
        case Kind::Unwatch:
        case Kind::Detach: return releaseOne(op);
        case Kind::ReleaseSelf: return isHeld(self) ? releaseHandle(self) : void();
        case Kind::MakeEngine:
        case Kind::EndEngine: return setEngine(op.other % ENGINES, op.kind == Kind::MakeEngine);
        case Kind::MakeView:
        case Kind::EndView: return setView(op.other % VIEWS, op.kind == Kind::MakeView);
        case Kind::Bind: return bindByHand(op);
        case Kind::AddListener:
        case Kind::RemoveListener: return setListener(op.other % LISTENERS, op.kind == Kind::AddListener);
        case Kind::Throw: m_mayBeStale = true; throw Planned{};
        default:
            m_mayBeStale |=
                (op.kind >= Kind::Rename && op.kind <= Kind::Bounce) || op.name.find('.') != std::string::npos;
            return change(op);
        }
    }
    /// Runs up to twelve operations in one transaction.
    void batch(Op const& op, int self)
    {
        if (depth() == DEEPEST + 2)
            return;
        Dice dice{op.seed};
        begin();
        ++m_batches;
        try {
            for (int count = 1 + dice.below(12); count != 0; --count) {
                Op const inner = m_script.inner(dice, false);
                if (inner.kind != Kind::Batch && inner.kind != Kind::BatchBack)
                    apply(inner, self);
            }
        } catch (...) {
            --m_batches;
            backOut();
            throw;
        }
        --m_batches;
        if (op.kind == Kind::Batch)
            commit();
        else
            backOut();
    }
    void backOut()
    {
        m_mayBeStale = true;
        rollBack();
    }
    void subscribe(Op const& op)
    {
        if (m_held.size() == MOST_HANDLES)
            return;
        int const handle = ++m_numbers.handle;
        bool const isContext = op.kind == Kind::Watch;
        m_handles[handle] = {op.seed >> 8, !isContext && op.other % ENGINES != KEEPS_SHARED};
        m_mayBeStale |= depth() != 0;
        if (isContext ? watch(op.other % VIEWS, op.slot, handle)
                      : acquire(op.other % ENGINES, Text::fromSeed(op.text), handle))
            m_held[handle] = isContext;
        else
            log("[nothing]");
    }
    void bindByHand(Op const& op)
    {
        m_mayBeStale = true;
        Text const text = Text::fromSeed(op.text);
        std::set<std::string> const symbols = text.isBroken() ? std::set<std::string>{} : text.symbols();
        if (symbols.empty())
            return;
        Dice dice{op.seed};
        std::string const symbol = *std::next(symbols.begin(), dice.below(static_cast<int>(symbols.size())));
        std::size_t offset = 0;
        for (int parts = dice.below(3); parts != 0; --parts)
            if (std::size_t const dot = symbol.find('.', offset); dot != std::string::npos)
                offset = dot + 1;
        bind(op.other % ENGINES,
             {static_cast<Binding::What>(dice.below(Binding::COUNT)), symbol, text.text, offset, dice.below(SLOTS)});
    }
    void releaseOne(Op const& op)
    {
        if (m_held.empty())
            return;
        auto const at = std::next(m_held.begin(), op.other % static_cast<int>(m_held.size()));
        if (at->second != (op.kind != Kind::Release))
            return;
        if (op.kind != Kind::Detach)
            return releaseHandle(at->first);
        m_detached.insert(at->first);
        detach(at->first);
    }
    void releaseHandle(int handle)
    {
        m_mayBeStale |= m_handles[handle].releasesShared;
        m_held.erase(handle);
        release(handle);
    }

    Script const& m_script;
    std::map<int, bool> m_held;
    std::set<int> m_detached;   // detached directly
    std::map<int, HandleInfo> m_handles;
    std::string m_log;
    std::vector<std::string> m_evaluations;
    Numbers m_numbers;
    int m_calls = 0;
    int m_depth = 0;
    int m_batches = 0;   // running batches, which end their own transactions
    int m_throwAt = 0;
    int m_actionsLeft = 0;
};

}   // namespace machine
