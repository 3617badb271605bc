#pragma once

#include "machine/Values.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace machine {

/// A component of a symbol's path: where it begins in the symbol, and the context that it is read from.
struct Leaf {
    std::size_t offset;
    int context;
    friend auto operator<=>(Leaf const&, Leaf const&) = default;
};
using Leaves = std::set<Leaf>;
/// What the symbols of an engine are bound to, and for how many texts.
using Bindings = std::map<std::string, std::pair<std::size_t, Leaves>>;

struct Refused {};            // thrown for a second property of the same name and for a destroyed property
constexpr int NOWHERE = -2;   // the owner of an uncontained property; -1 is the context that never exists

/// The contents of contexts as plain maps: a snapshot is a copy, and a report is a comparison of two.
class Store {
public:
    struct Property {
        int owner;
        std::string name;
        Value value;
        bool alive = true;
        int valueWrites = 0;
    };
    struct Context {
        bool alive = true;
        int life = 0;                              // how often it was created under its id
        std::map<std::string, int> properties{};   // by number; numbers are never reused
        std::vector<std::string> active{};
        int mapWrites = 0;
        int activeWrites = 0;
    };
    struct State {
        std::map<int, Context> contexts;
        std::vector<Property> properties;
    };
    struct Element {
        bool isProperty;
        int id;
        int life = 0;
        friend bool operator==(Element const&, Element const&) = default;
    };
    enum class Change { Created, Modified, Destroyed };
    struct Entry {
        Change change;
        Element element;
        std::set<int> changed{};   // meta indexes, of a modified element
    };
    /// The elements that a transaction changed, in order of first change, and the state before it.
    struct Report {
        std::vector<Entry> entries;
        State before;

        bool has(bool properties) const
        {
            return std::any_of(entries.begin(), entries.end(),
                               [&](Entry const& entry) { return entry.element.isProperty == properties; });
        }
    };

    State const& now() const { return m_now; }
    bool isOpen() const { return !m_levels.empty(); }
    std::size_t depth() const { return m_levels.size(); }

    Context const* context(int id) const
    {
        auto const found = m_now.contexts.find(id);
        return found != m_now.contexts.end() && found->second.alive ? &found->second : nullptr;
    }
    /// Returns the number of a property; none if the name is unknown.
    std::optional<int> find(int id, std::string const& name) const
    {
        Context const* const holder = context(id);
        auto const found = holder ? holder->properties.find(name) : std::map<std::string, int>::const_iterator{};
        return holder && found != holder->properties.end() ? std::optional{found->second} : std::nullopt;
    }
    Value const* value(int id, std::string const& name) const
    {
        std::optional<int> const found = find(id, name);
        return found ? &property(*found).value : nullptr;
    }

    Property const& property(int id) const { return m_now.properties[index(id)]; }

    Element contextOf(int id) const { return {false, id, m_now.contexts.at(id).life}; }
    /// True unless the element was destroyed; what was restored under its id is another one.
    bool isAlive(Element const& element) const { return isIn(m_now, element); }

    // Changes, each inside a transaction

    void create(int id)
    {
        int const life = m_now.contexts[id].life + 1;
        m_now.contexts[id] = {true, life};
        touch(contextOf(id));
    }
    void destroy(int id)
    {
        if (!context(id))
            return;
        Context& gone = m_now.contexts[id];
        for (auto const& [name, property] : gone.properties) {
            touch({true, property});
            at(property).alive = false;
        }
        touch(contextOf(id));
        gone = Context{false, gone.life};
    }
    void add(int id, std::string const& name, Value const& value)
    {
        if (!context(id) || find(id, name))
            return;
        int const made = static_cast<int>(m_now.properties.size());
        touch({true, made});
        m_now.properties.push_back({id, name, value});
        enter(id, made);
    }
    void set(int id, std::string const& name, Value const& value)
    {
        if (std::optional<int> const found = find(id, name))
            write(*found, value);
    }
    void write(int property, Value const& value)
    {
        Property const& written = at(property);
        if (!written.alive)
            throw Refused{};
        if (written.value == value)
            return;
        touch({true, property});
        at(property).value = value;
        ++at(property).valueWrites;
    }
    void remove(int id, std::string const& name)
    {
        std::optional<int> const found = find(id, name);
        if (!found)
            return;
        leave(*found);
        touch({true, *found});
        at(*found).alive = false;
    }
    void activate(int id, std::vector<std::string> const& names)
    {
        if (!context(id))
            return;
        touch(contextOf(id));
        m_now.contexts[id].active = names;
        ++m_now.contexts[id].activeWrites;
    }
    void rename(int id, std::string const& name, std::string const& newName)
    {
        std::optional<int> const found = find(id, name);
        if (!found || name == newName)
            return;
        if (find(id, newName))
            throw Refused{};
        leave(*found);
        touch({true, *found});
        at(*found).name = newName;
        enter(id, *found);
    }
    /// Moves a property to another context; NOWHERE takes it out of its owner.
    void move(int property, int newOwner)
    {
        Property const& moved = at(property);
        if (newOwner != NOWHERE && !context(newOwner))
            return;
        if (!moved.alive)
            throw Refused{};
        if (moved.owner == newOwner)
            return;
        if (newOwner != NOWHERE && find(newOwner, moved.name))
            throw Refused{};
        touch({true, property});
        if (moved.owner != NOWHERE)
            leave(property);
        at(property).owner = newOwner;
        if (newOwner != NOWHERE)
            enter(newOwner, property);
    }

    // Transactions

    void begin() { m_levels.push_back({m_now, {}}); }
    void rollBack()
    {
        std::size_t const made = m_now.properties.size();
        m_now = std::move(m_levels.back().before);
        m_levels.pop_back();
        m_now.properties.resize(made, {-1, "", {}, false});   // their numbers are not reused
    }
    /// Ends the innermost transaction. The outermost one returns the net changes.
    Report commit()
    {
        Level const level = std::move(m_levels.back());
        m_levels.pop_back();
        if (isOpen()) {
            for (Element const& element : level.touched)
                touch(element);
            return {};
        }
        Report report{{}, level.before};
        for (Element const& element : level.touched)
            if (std::optional<Entry> const entry = entryOf(element, level.before))
                report.entries.push_back(*entry);
        return report;
    }

    static std::size_t index(int id) { return static_cast<std::size_t>(id); }

private:
    struct Level {
        State before;
        std::vector<Element> touched;
    };

    Property& at(int property) { return m_now.properties[index(property)]; }
    void touch(Element const& element)
    {
        auto& touched = m_levels.back().touched;
        if (std::find(touched.begin(), touched.end(), element) == touched.end())
            touched.push_back(element);
    }
    void enter(int id, int property)
    {
        touch(contextOf(id));
        m_now.contexts[id].properties[at(property).name] = property;
        ++m_now.contexts[id].mapWrites;
    }
    void leave(int property)
    {
        Property const& left = at(property);
        touch(contextOf(left.owner));
        m_now.contexts[left.owner].properties.erase(left.name);
        ++m_now.contexts[left.owner].mapWrites;
    }

    static bool isIn(State const& state, Element const& element)
    {
        if (element.isProperty)
            return index(element.id) < state.properties.size() && state.properties[index(element.id)].alive;
        auto const found = state.contexts.find(element.id);
        return found != state.contexts.end() && found->second.alive && found->second.life == element.life;
    }
    std::optional<Entry> entryOf(Element const& element, State const& before) const
    {
        bool const was = isIn(before, element);
        bool const is = isAlive(element);
        if (was != is)
            return Entry{is ? Change::Created : Change::Destroyed, element};
        if (!is)
            return std::nullopt;
        Entry entry{Change::Modified, element,
                    element.isProperty ? changes(before.properties[index(element.id)], property(element.id))
                                       : changes(before.contexts.at(element.id), m_now.contexts.at(element.id))};
        return entry.changed.empty() ? std::nullopt : std::optional{entry};
    }
    static std::set<int> changes(Property const& old, Property const& is)
    {
        std::set<int> changed;
        if (old.name != is.name)
            changed.insert(1);
        if (old.valueWrites != is.valueWrites && !(old.value == is.value))
            changed.insert(2);
        if (old.owner != is.owner)
            changed.insert(3);
        return changed;
    }
    /// Returns the changed meta indexes of a context. A map counts as unchanged only if it was and is empty, or holds
    /// the one element that it held.
    static std::set<int> changes(Context const& old, Context const& is)
    {
        std::set<int> changed;
        bool const same = old.properties.size() == 1 && is.properties.size() == 1 &&
                          old.properties.begin()->second == is.properties.begin()->second;
        if (old.activeWrites != is.activeWrites && !(old.active.empty() && is.active.empty()))
            changed.insert(1);
        if (old.mapWrites != is.mapWrites && !same && !(old.properties.empty() && is.properties.empty()))
            changed.insert(2);
        return changed;
    }

    State m_now;
    std::vector<Level> m_levels;
};

}   // namespace machine
