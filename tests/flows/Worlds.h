#pragma once

#include "flows/WalkScript.h"
#include "support/Contexts.h"
#include "support/ReferenceEngine.h"
#include "support/ReferenceStore.h"

#include "studio/data/model/ContextDataImpl.h"

#include <algorithm>
#include <array>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// The two worlds of a random walk: the system, and a reference that does everything the slow and obvious way.
namespace walk {

using Uuid = boost::uuids::uuid;
using Kind = Op::Kind;

/// The ids that the system gave to contexts, by the number of their creation.
using SharedIds = std::map<int, Uuid>;

struct Planned {};   // what a callback throws

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
            text += std::to_string(handle) + '=' + support::shown(valueOf(handle)) + ' ';
        return text;
    }
    std::string read(int slot, std::string const& path) const
    {
        return m_slots[at(slot)].ready ? support::shown(readFrom(slot, path)) : "";
    }

protected:
    struct Slot {
        bool taken = false;
        bool ready = false;
        Uuid id{};   // also of the context that was here last
    };

    /// A handle was called.
    void heard(int handle, std::string const& text, Value const& value)
    {
        m_log += std::to_string(handle) + ':' + text + '=' + support::shown(value) + "; ";
        Random random{m_script.seed() * 1'000'003 + static_cast<std::uint64_t>(++m_calls)};
        if (m_depth == 4 || m_actionsLeft == 0 || !random.oneIn(3))
            return;
        --m_actionsLeft;
        Counter const depth{m_depth, 1};
        apply(m_script.randomOp(random, true), handle);
    }

    Slot const& slot(int number) const { return m_slots[at(number)]; }
    static std::size_t at(int number) { return static_cast<std::size_t>(number); }

    virtual void create(int slot, int number) = 0;
    virtual void drop(int slot) = 0;
    virtual void change(Op const& op, Value const& value) = 0;
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
        Counter(int& counted, int step) : count{counted}, by{step} { count += by; }
        Counter(Counter const&) = delete;
        Counter& operator=(Counter const&) = delete;
        ~Counter() { count -= by; }
        int& count;
        int by;
    };

    void apply(Op const& op, int self)
    {
        Slot& slot = m_slots[at(op.slot)];
        Value const value =
            op.value < SLOTS ? Value{m_slots[at(op.value)].id} : Script::plainValues()[at(op.value - SLOTS)];
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
        case Kind::Set: {
            Counter const dotted{m_dottedWrites, op.name.find('.') == std::string::npos ? 0 : 1};
            return change(op, value);
        }
        case Kind::Move:
            if (m_slots[at(op.other)].ready)
                change(op, value);
            return;
        default: return change(op, value);
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
    void drop(int slot) override { support::Provider const last = std::move(m_providers[at(slot)]); }
    void change(Op const& op, Value const& value) override
    {
        studio::data::ContextProvider& provider = *m_providers[at(op.slot)];   // held by its slot alone
        switch (op.kind) {
        case Kind::Add: return provider.addProperty(op.name, value);
        case Kind::Set: return provider.setPropertyValue(op.name, value);
        case Kind::Remove: return provider.removeProperty(op.name);
        case Kind::Activate: return provider.setActiveContexts(std::vector<std::string>(at(op.other) % 3, op.name));
        default: break;
        }
        studio::data::Property const property = provider.getProperty(op.name);
        auto const target = studio::data::ContextProvider::sharedModel()->findElement(slot(op.other).id, 1);
        if (property && op.kind == Kind::Rename)
            property->setName(op.newName);
        else if (property && target)
            property->setOwner(studio::data::ContextData{static_cast<studio::data::ContextData::Impl*>(target.get())});
    }
    void acquire(int engine, std::string const& text, int handle) override
    {
        if (!m_engines[at(engine)])
            return;
        support::Handle made = m_engines[at(engine)]->acquireExpression(
            text,
            [this, handle](std::string const& heardText, Value const& value) { heard(handle, heardText, value); });
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
        if (op.kind == Kind::Commit)
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

    std::array<support::Provider, SLOTS> m_providers;
    std::array<std::unique_ptr<studio::data::ExpressionEngine>, ENGINES> m_engines;
    std::map<int, support::Handle> m_handles;
};

/// Plain maps, engines that look at everything, and the order in which reports are handed out.
class ReferenceWorld final : public World {
public:
    ReferenceWorld(Script const& script, SharedIds& ids) : World{script, ids} {}

private:
    using Engines = std::vector<std::shared_ptr<support::ReferenceEngine>>;
    struct Frame {
        support::ReferenceStore::Changes changes;
        Engines engines;
        std::size_t next = 0;
        std::exception_ptr failure = nullptr;
    };

    void create(int slot, int number) override
    {
        inTransaction([&] { m_store.create(m_ids.at(number)); });
        if (slot < ENGINES)
            addEngine(slot, m_ids.at(number));
    }
    void drop(int dropped) override
    {
        try {
            inTransaction([&] { m_store.drop(slot(dropped).id); });
        } catch (...) {   // lets nothing out
        }
    }
    void change(Op const& op, Value const& value) override
    {
        Uuid const& context = slot(op.slot).id;
        if (op.kind == Kind::Set)
            return write(context, op.name, value);
        inTransaction([&] {
            switch (op.kind) {
            case Kind::Add: return m_store.add(context, op.name, value);
            case Kind::Remove: return m_store.remove(context, op.name);
            case Kind::Rename: return m_store.place(context, op.name, context, op.newName);
            case Kind::Move: return m_store.place(context, op.name, slot(op.other).id, op.name);
            default: return m_store.activate(context, at(op.other) % 3);
            }
        });
    }
    void write(Uuid const& context, std::string const& path, Value const& value)
    {
        std::size_t const dot = path.find('.');
        if (dot != std::string::npos)
            if (auto const* const head = m_store.find(context, path.substr(0, dot));
                head && m_store.isProvider(head->value))
                write(head->value.getUUID(), path.substr(dot + 1), value);
        inTransaction([&] { m_store.set(context, path, value); });
    }
    void acquire(int engine, std::string const& text, int handle) override
    {
        if (std::shared_ptr<support::ReferenceEngine> const held = m_engineOf[at(engine)])
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
        std::shared_ptr<support::ReferenceEngine>& present = m_engineOf[at(engine)];
        if (present) {
            present->end();
            m_engines.erase(std::find(m_engines.begin(), m_engines.end(), present));
        }
        present = std::make_shared<support::ReferenceEngine>(
            m_store, root,
            [this](int handle, std::string const& text, Value const& value) { heard(handle, text, value); });
        m_engines.push_back(present);
    }
    void transaction(Op const& op, int self) override
    {
        inTransaction([&] { applyAll(op.inner, self); }, op.kind == Kind::Commit);
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
    void inTransaction(Change const& make, bool commits = true)
    {
        m_store.begin();
        try {
            make();
        } catch (...) {
            m_store.rollBack();
            throw;
        }
        if (commits)
            deliver(m_store.commit());
        else
            m_store.rollBack();
    }

    /// To everybody who is there now, but first what is older to those who have not had it.
    void deliver(support::ReferenceStore::Changes changes)
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
        std::shared_ptr<support::ReferenceEngine> const engine = frame.engines[frame.next++];
        if (engine->isGone())
            return;
        try {
            engine->process(frame.changes);
        } catch (...) {
            if (!frame.failure)
                frame.failure = std::current_exception();
        }
    }

    support::ReferenceStore m_store;
    Engines m_engines;   // in order of registration
    std::array<std::shared_ptr<support::ReferenceEngine>, ENGINES> m_engineOf;
    std::vector<Frame*> m_frames;
};

}   // namespace walk
