#pragma once

#include "machine/ReferenceEngine.h"
#include "machine/ReferenceView.h"
#include "machine/World.h"

#include <array>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace machine {

/// The contexts' ids in the system under test, as texts by creation number.
using Ids = std::map<int, std::string>;
/// Stands for the id of no context.
inline char const* const STRANGER = "01234567-89ab-4def-8123-456789abcdef";

/// Returns the value that `choice` means in an operation.
inline Value valueFor(int choice, std::array<int, SLOTS> const& lastIn)
{
    if (choice < SLOTS)
        return Ref{lastIn[static_cast<std::size_t>(choice)]};
    static std::array<Value, 12> const s_values{{{},
                                                 0.0,
                                                 1.0,
                                                 2.0,
                                                 true,
                                                 false,
                                                 std::string{},
                                                 std::string{"x"},
                                                 std::string(40, 'y'),
                                                 std::nan(""),
                                                 Ref{-1},
                                                 3.0}};
    return s_values[static_cast<std::size_t>(choice - SLOTS)];
}

/// Returns the names that `Activate` writes.
inline std::vector<std::string> activeNames(Op const& op)
{
    return std::vector<std::string>(static_cast<std::size_t>(op.other % 3), op.newName);
}

/// Returns the names of properties that `touchAll` touches: all that exist.
inline std::vector<std::string> const& touchedNames()
{
    static std::vector<std::string> const s_names{"", "r", "s", "a", "b", "r.a", "s.r.a", "r.s"};
    return s_names;
}

inline Value touched()
{
    return std::string{"touched"};
}

/// The reference model: the simplest implementation of every operation, including the order in which reports are
/// delivered.
class ReferenceModel final : public World {
public:
    ReferenceModel(Script const& script, Ids const& ids, World const& systemUnderTest)
        : World{script}, m_ids{ids}, m_systemUnderTest{systemUnderTest}
    {}
    ~ReferenceModel() override { end(); }

    std::string contents() const
    {
        std::ostringstream out;
        for (std::size_t i = 0; i != SLOTS; ++i) {
            out << "slot " << i << ' ' << (m_slots[i].provider ? nameOf(m_slots[i].last) : "empty");
            Store::Context const* const context = m_slots[i].provider ? m_state.dataOf(m_slots[i].last) : nullptr;
            if (context) {
                for (auto const& [name, property] : context->properties)
                    out << ' ' << name << '=' << shown(m_state.store.property(property).value);
                for (std::string const& name : context->active)
                    out << ' ' << name;
            }
            out << '\n';
        }
        for (std::optional<int> const& property : m_lifted)
            if (property) {
                Store::Property const& lifted = m_state.store.property(*property);
                out << (lifted.alive ? "holds " + lifted.name + '@' + nameOf(lifted.owner) + '=' + shown(lifted.value)
                                     : "holds the dead")
                    << '\n';
            }
        for (int const id : m_known)
            out << nameOf(id) << (m_state.providers.living.count(id) != 0 ? " lives" : " gone")
                << (m_state.store.context(id) ? " data" : " none") << '\n';
        return out.str();
    }
    std::set<std::string> values() const
    {
        std::set<std::string> lines;
        for (auto const& [handle, isContext] : held())
            if (!isContext)
                lines.insert(std::to_string(handle) + '=' + valueOf(handle));
        return lines;
    }
    std::string read(int slot, std::string const& path) const
    {
        Slot const& place = m_slots[Store::index(slot)];
        return place.provider ? shown(m_state.read(place.last, path)) : "";
    }
    /// Returns what each engine's symbols are bound to. Where that is uncertain, takes over what the system did.
    std::array<Bindings, ENGINES> bindings(std::array<Bindings, ENGINES> const& ofSystem)
    {
        std::array<Bindings, ENGINES> all;
        for (std::size_t i = 0; i != ENGINES; ++i)
            if (m_engines[i]) {
                m_engines[i]->resolve(ofSystem[i]);
                all[i] = m_engines[i]->bindings();
            }
        return all;
    }
    std::string mirrors() const
    {
        std::ostringstream out;
        for (auto const& view : m_views) {
            out << "view\n";
            if (!view)
                continue;
            std::map<std::string, int> sorted;
            for (auto const& entry : view->clones)
                if (m_showsMirrorsOfDestroyed || m_state.store.context(entry.first))
                    sorted[nameOf(entry.first)] = entry.first;
            for (auto const& [name, id] : sorted) {
                ReferenceView::Clone const& clone = view->clones.at(id);
                out << name;
                for (auto const& [key, slot] : clone.properties)
                    out << ' ' << key << (m_state.store.find(id, key) == slot.property ? "=" : "~")
                        << shown(slot.value);
                for (std::string const& active : clone.active)
                    out << ' ' << active;
                out << '\n';
            }
        }
        return out.str();
    }
    /// Returns what is out of date now: texts and symbols of engines, and contexts whose mirrors differ.
    Stale stale() const
    {
        Stale found;
        for (std::size_t i = 0; i != ENGINES; ++i)
            if (m_engines[i])
                for (auto const& [what, excuses] : m_engines[i]->stale()) {
                    std::string const engine = std::to_string(i) + ": ";
                    auto& named = found[engine + what];
                    for (std::string const& excuse : excuses)
                        named.insert(engine + excuse);
                }
        for (std::size_t i = 0; i != VIEWS; ++i)
            if (m_views[i])
                for (auto const& [id, clone] : m_views[i]->clones)
                    if (!isFresh(id, clone, *m_views[i]))
                        found["view " + std::to_string(i) + ": " + nameOf(id)];
        return found;
    }
    bool isInTransaction() const { return m_state.store.isOpen(); }
    std::size_t elements() const
    {
        std::size_t count = 0;
        for (auto const& entry : m_state.store.now().contexts)
            count += entry.second.alive ? 1 : 0;
        for (Store::Property const& property : m_state.store.now().properties)
            count += property.alive ? 1 : 0;
        return count;
    }

    void destroyLeftovers() override
    {
        for (int const id : m_known)
            if (m_state.providers.living.count(id) == 0 && m_state.store.context(id))
                destroyData(m_state.store.contextOf(id));
    }
    void touchAll() override
    {
        Store& store = m_state.store;
        for (int const id : m_known)
            for (std::string const& name : touchedNames()) {
                if (!m_state.dataOf(id))
                    continue;
                Value const* const value = store.value(id, name);
                Value const old = value ? *value : Value{};
                bool const isThere = value != nullptr;
                touches(id, name, " changes");
                inTransaction([&] { isThere ? store.set(id, name, touched()) : store.add(id, name, touched()); });
                touches(id, name, " is restored");
                inTransaction([&] { isThere ? store.set(id, name, old) : store.remove(id, name); });
            }
        endTouching();
        for (auto const& view : m_views)
            if (view)
                view->discard();
    }
    std::string present() const { return marks(m_engines, 'e') + marks(m_views, 'v') + marks(m_foreign, 'l'); }

private:
    struct Slot {
        Providers::Owner provider;
        int last = -1;   // the present or last context
    };
    struct Foreign final : ReferenceListener {
        Foreign(ReferenceModel& world, int listener) : world{world}, listener{listener} {}
        void process(Store::Report const& report) override
        {
            for (bool const properties : {true, false})
                if (!gone && report.has(properties))
                    world.heardReport(listener, report, properties);
        }
        ReferenceModel& world;
        int listener;
    };
    struct Frame {
        Store::Report report;
        std::vector<std::shared_ptr<ReferenceListener>> listeners;
        std::size_t next = 0;
        std::exception_ptr failure = nullptr;
    };

    // ---- steps

    void create(int slot, bool restores) override
    {
        Slot& place = m_slots[Store::index(slot)];
        if (place.provider || m_creating.count(slot) != 0 || (restores && place.last < 0))
            return;
        int const id = restores ? place.last : nextContext();
        if (m_state.providers.living.count(id) != 0)
            throw Refused{};
        m_creating.insert(slot);
        try {
            Providers::Owner made;
            try {
                inTransaction([&] {
                    if (m_state.store.context(id))
                        destroyData(m_state.store.contextOf(id));   // left by its last provider
                    m_state.store.create(id);
                    made = std::make_shared<Providers::Provider>(
                        m_state.providers, m_state.store.contextOf(id),
                        [this](Store::Element const& data) { destroyData(data); });
                    if (restores)
                        m_state.providers.living[id] = made;
                });
            } catch (...) {
                made.reset();
                throw;
            }
            m_state.providers.living[id] = made;
            m_known.insert(id);
            place.last = id;
            place.provider = std::move(made);
        } catch (...) {
            m_creating.erase(slot);
            throw;
        }
        m_creating.erase(slot);
    }
    void destroyData(Store::Element const& data)
    {
        if (!m_state.store.isAlive(data))
            return;
        try {
            inTransaction([&] { m_state.store.destroy(data.id); });
        } catch (...) {   // throws nothing
        }
    }
    void drop(int slot) override { Providers::Owner const last = std::move(m_slots[Store::index(slot)].provider); }
    void change(Op const& op) override
    {
        Slot const& place = m_slots[Store::index(op.slot)];
        if (!place.provider)
            return;
        int const id = place.last;
        std::array<int, SLOTS> lastIn{};
        for (std::size_t i = 0; i != SLOTS; ++i)
            lastIn[i] = m_slots[i].last;
        Value const value = valueFor(op.value, lastIn);
        Store& store = m_state.store;
        if (!m_state.dataOf(id) && op.kind != Kind::WriteHeld && op.kind != Kind::Land)
            return;
        Slot const& target = m_slots[Store::index(op.other % SLOTS)];
        switch (op.kind) {
        case Kind::Set: return write(id, op.name, value);
        case Kind::Add:
            return store.context(id) && !store.find(id, op.name) ? inTransaction([&] { store.add(id, op.name, value); })
                                                                 : void();
        case Kind::Remove: return inTransaction([&] { store.remove(id, op.name); });
        case Kind::Activate: return inTransaction([&] { store.activate(id, activeNames(op)); });
        case Kind::Rename: return inTransaction([&] { store.rename(id, op.name, op.newName); });
        default: break;
        }
        std::optional<int>& held = m_lifted[Store::index(op.other) % MOST_LIFTED];
        if (op.kind == Kind::WriteHeld)
            return held ? inTransaction([&] { store.write(*held, value); }) : void();
        std::optional<int> const property = op.kind == Kind::Land ? held : store.find(id, op.name);
        if (!property || (op.kind == Kind::Move && !target.provider))
            return;
        if (op.kind == Kind::Lift)
            held = property;
        int const owner = op.kind == Kind::Land ? id : op.kind == Kind::Lift ? NOWHERE : target.last;
        inTransaction([&] {
            if (op.kind == Kind::Bounce)
                store.move(*property, NOWHERE);
            store.move(*property, op.kind == Kind::Bounce ? id : owner);
        });
    }
    void writeIn(int id, std::string const& name, Value const& value)
    {
        if (m_state.dataOf(id))
            inTransaction([&] { m_state.store.set(id, name, value); });
    }
    /// Looks up and holds the whole path first; then writes its end, then outward.
    void write(int id, std::string const& path, Value const& value)
    {
        std::vector<std::pair<Providers::Owner, std::string>> children;
        std::string rest = path;
        for (int at = id; rest.find('.') != std::string::npos;) {
            std::size_t const dot = rest.find('.');
            Value const* const head = m_state.value(at, rest.substr(0, dot));
            Providers::Owner const child = head ? m_state.providers.find(*head) : nullptr;
            if (!child)
                break;
            at = child->id;
            rest = rest.substr(dot + 1);
            children.emplace_back(child, rest);
        }
        for (; !children.empty(); children.pop_back())
            writeIn(children.back().first->id, children.back().second, value);
        writeIn(id, path, value);
    }
    void begin() override { m_state.store.begin(); }
    void commit() override { deliver(m_state.store.commit()); }
    void rollBack() override { m_state.store.rollBack(); }
    std::size_t depth() const override { return m_state.store.depth(); }

    bool acquire(int number, Text const& text, int handle) override
    {
        std::shared_ptr<ReferenceEngine> const engine = m_engines[Store::index(number)];
        if (engine)
            engine->acquire(text, handle);
        return engine != nullptr;
    }
    bool watch(int number, int slot, int handle) override
    {
        std::shared_ptr<ReferenceView> const view = m_views[Store::index(number)];
        return view && view->acquire(m_slots[Store::index(slot)].last, handle);
    }
    void bind(int number, Binding const& binding) override
    {
        std::shared_ptr<ReferenceEngine> const engine = m_engines[Store::index(number)];
        if (!engine)
            return;
        Slot const& slot = m_slots[Store::index(binding.slot)];
        switch (binding.what) {
        case Binding::AcquireSymbol: return engine->acquireSymbol(binding.symbol, binding.text);
        case Binding::ReleaseSymbol: return engine->releaseSymbol(binding.symbol, binding.text);
        case Binding::MoveLeaf: engine->releaseLeaf(binding.symbol, binding.offset); [[fallthrough]];
        case Binding::AcquireLeaf: return engine->acquireLeaf(binding.symbol, binding.offset, slot.provider);
        case Binding::ReleaseLeaf: return engine->releaseLeaf(binding.symbol, binding.offset);
        case Binding::ReleaseAlong:
            return slot.provider ? engine->releaseLeaf(binding.symbol, binding.offset, slot.last) : void();
        case Binding::ReleaseAlongId: return engine->releaseLeaf(binding.symbol, binding.offset, slot.last);
        case Binding::RemoveLeaf: return engine->removeLeaf(binding.symbol, binding.offset, slot.last);
        case Binding::CutOff: return engine->cutOff(binding.symbol, binding.offset, slot.last);
        default: return engine->update(binding.text);
        }
    }
    void release(int handle) override
    {
        for (auto const& engine : m_allEngines)
            engine->release(handle);
        for (auto const& view : std::vector<std::shared_ptr<ReferenceView>>{m_allViews})
            view->release(handle);
    }
    void detach(int handle) override
    {
        for (auto const& view : std::vector<std::shared_ptr<ReferenceView>>{m_allViews})
            view->detach(handle);
    }
    void setEngine(int number, bool present) override
    {
        std::shared_ptr<ReferenceEngine>& place = m_engines[Store::index(number)];
        Providers::Owner const root = m_slots[Store::index(number)].provider;
        if (present == (place != nullptr) || (present && !root))
            return;
        if (std::shared_ptr<ReferenceEngine> const old = std::move(place)) {
            remove(old);
            return old->end();
        }
        place = std::make_shared<ReferenceEngine>(
            m_state, root, number == KEEPS_SHARED,
            [this](int handle, std::string const& text, Value const& value) {
                heard(handle, std::to_string(handle) + ": " + text + " = " + shown(value), true);
            },
            [this](Ref ref) { return ref.number < 0 ? STRANGER : m_ids.at(ref.number); },
            [this, number](std::string const& text, bool must) {
                bool const takesPlace = must || isNextOf(m_systemUnderTest, evaluation(number, text));
                if (takesPlace)
                    noteEvaluation(number, text);
                return takesPlace;
            });
        m_listeners.push_back(place);
        m_allEngines.push_back(place);
    }
    void setView(int number, bool present) override
    {
        std::shared_ptr<ReferenceView>& place = m_views[Store::index(number)];
        if (present == (place != nullptr))
            return;
        if (std::shared_ptr<ReferenceView> const old = std::move(place)) {
            remove(old);
            return old->end();
        }
        place = std::make_shared<ReferenceView>(
            m_state, [this](int handle) { heard(handle, std::to_string(handle) + " detached", false); });
        m_listeners.push_back(place);
        m_allViews.push_back(place);
    }
    void setListener(int number, bool present) override
    {
        std::shared_ptr<Foreign>& place = m_foreign[Store::index(number)];
        if (present == (place != nullptr))
            return;
        if (std::shared_ptr<Foreign> const old = std::move(place))
            return remove(old);
        m_listeners.push_back(place = std::make_shared<Foreign>(*this, number));
    }
    void remove(std::shared_ptr<ReferenceListener> const& listener)
    {
        listener->gone = true;
        m_listeners.erase(std::find(m_listeners.begin(), m_listeners.end(), listener));
    }
    int slotOf(int context) const override { return slotAmong(m_slots, context); }
    std::string nameOfException() const override
    {
        try {
            throw;
        } catch (Planned const&) {
            return "planned";
        } catch (Refused const&) {
            return "refused";
        } catch (std::invalid_argument const&) {
            return "does not parse";
        }
    }

    // ---- transactions and reports

    template <class Change>
    void inTransaction(Change const& make)
    {
        m_state.store.begin();
        try {
            make();
        } catch (...) {
            m_state.store.rollBack();
            throw;
        }
        deliver(m_state.store.commit());
    }
    /// Delivers a report to all present listeners; each gets older pending reports first.
    void deliver(Store::Report report)
    {
        if (report.entries.empty())
            return;
        Frame frame{std::move(report), m_listeners};
        m_frames.push_back(&frame);
        for (std::size_t i = 0; i != m_frames.size(); ++i)
            while (m_frames[i]->next != m_frames[i]->listeners.size())
                serve(*m_frames[i]);
        m_frames.pop_back();
        if (frame.failure)
            std::rethrow_exception(frame.failure);
    }
    static void serve(Frame& frame)
    {
        std::shared_ptr<ReferenceListener> const listener = frame.listeners[frame.next++];
        if (listener->gone)
            return;
        try {
            listener->process(frame.report);
        } catch (...) {
            if (!frame.failure)
                frame.failure = std::current_exception();
        }
    }
    void heardReport(int listener, Store::Report const& report, bool properties)
    {
        std::string text = "listener " + std::to_string(listener);
        std::vector<Subject> subjects;
        for (auto const change : {Store::Change::Created, Store::Change::Modified, Store::Change::Destroyed})
            for (Store::Entry const& entry : report.entries)
                if (entry.change == change && entry.element.isProperty == properties) {
                    text += std::string{" "} + "+~-"[static_cast<int>(change)] + line(entry, report.before);
                    subjects.push_back(subjectOf(entry.element));
                }
        runCallback(text, static_cast<std::uint64_t>(calls()) * 977 + static_cast<std::uint64_t>(listener), 0, true,
                    subjects);
    }
    Subject subjectOf(Store::Element const& element) const
    {
        if (!element.isProperty)
            return {element.id, false, {}};
        Store::Property const& now = m_state.store.property(element.id);
        return {now.owner, true, now.name};
    }
    std::string line(Store::Entry const& entry, Store::State const& before) const
    {
        if (!entry.element.isProperty)
            return nameOf(entry.element.id) + oldContext(entry, before);
        Store::Property const& now = m_state.store.property(entry.element.id);
        std::string text = now.name + '@' + nameOf(now.owner);
        if (entry.changed.empty())
            return text;
        Store::Property const& old = before.properties[Store::index(entry.element.id)];
        text += entry.changed.count(1) != 0 ? " 1:" + old.name : "";
        text += entry.changed.count(2) != 0 ? " 2:" + shown(old.value) : "";
        return text + (entry.changed.count(3) != 0 ? " 3:" + nameOf(old.owner) : "");
    }
    std::string oldContext(Store::Entry const& entry, Store::State const& before) const
    {
        std::string text;
        if (entry.changed.count(1) != 0) {
            text += " 1:";
            for (std::string const& name : before.contexts.at(entry.element.id).active)
                text += name + ',';
        }
        if (entry.changed.count(2) != 0) {
            std::set<std::string> names;   // current names
            for (auto const& old : before.contexts.at(entry.element.id).properties)
                names.insert(m_state.store.property(old.second).name);
            text += " 2:";
            for (std::string const& name : names)
                text += name + ',';
        }
        return text;
    }

    // ---- state as text

    std::string nameOf(int id) const
    {
        return id == NOWHERE ? "#none" : m_known.count(id) != 0 ? '#' + std::to_string(id) : "#?";
    }
    std::string shown(Value const& value) const
    {
        switch (value.index()) {
        case 0: return "undefined";
        case 1: return std::get<Ref>(value).number < 0 ? "#stranger" : nameOf(std::get<Ref>(value).number);
        case 2: return numberText(std::get<double>(value));
        case 3: return std::get<bool>(value) ? "true" : "false";
        default: return '\'' + std::get<std::string>(value) + '\'';
        }
    }
    std::string valueOf(int handle) const
    {
        for (auto const& engine : m_allEngines)
            if (engine->has(handle))
                return shown(engine->valueOf(handle));
        return "undefined";
    }
    /// Returns false for the mirror of a destroyed context: it stays as it was until the next look for orphans.
    bool isFresh(int id, ReferenceView::Clone const& clone, ReferenceView const& view) const
    {
        Store::Context const* const context = m_state.store.context(id);
        if (!context)
            return true;
        if ((context->active != clone.active && !clone.active.empty()) ||
            context->properties.size() != clone.properties.size())
            return false;
        for (auto const& [name, slot] : clone.properties) {
            Value const* const source = m_state.store.value(id, name);
            auto const* const ref = std::get_if<Ref>(&slot.value);
            if (ref && m_state.store.context(ref->number) && m_state.providers.names(slot.value) &&
                view.clones.count(ref->number) == 0)
                return false;
            if (!source || m_state.store.find(id, name) != slot.property ||
                (!(*source == slot.value) && *source == *source))
                return false;
        }
        return true;
    }

    Ids const& m_ids;
    World const& m_systemUnderTest;
    ReferenceState m_state;
    std::array<Slot, SLOTS> m_slots;
    std::array<std::optional<int>, MOST_LIFTED> m_lifted;   // held properties
    std::set<int> m_creating;                               // slots
    std::set<int> m_known;                                  // contexts whose creation has returned
    std::array<std::shared_ptr<ReferenceEngine>, ENGINES> m_engines;
    std::array<std::shared_ptr<ReferenceView>, VIEWS> m_views;
    std::array<std::shared_ptr<Foreign>, LISTENERS> m_foreign;
    std::vector<std::shared_ptr<ReferenceEngine>> m_allEngines;
    std::vector<std::shared_ptr<ReferenceView>> m_allViews;
    std::vector<std::shared_ptr<ReferenceListener>> m_listeners;   // in order of registration
    std::vector<Frame*> m_frames;
};

}   // namespace machine
