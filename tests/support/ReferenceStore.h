#pragma once

#include "studio/data/PropertyValue.h"

#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// What contexts hold, as plain maps that are copied to be remembered and compared to be reported. It knows the rules
/// of names, references and transactions, and is as slow as it is simple.
class ReferenceStore {
public:
    using Uuid = boost::uuids::uuid;
    using Value = studio::data::PropertyValue;
    using PropertyId = std::size_t;   // never reused, so that a property put back is not the one taken out

    struct Property {
        Uuid owner;
        std::string name;
        Value value;
        bool alive = true;
        int writes = 0;
    };
    struct Context {
        bool alive = true;
        std::map<std::string, PropertyId> properties;
        std::size_t activeContexts = 0;
        int mapWrites = 0;
        int activeWrites = 0;
    };
    struct State {
        std::map<Uuid, Context> contexts;
        std::vector<Property> properties;
    };
    enum class Kind { Created, Modified, Destroyed };
    struct Change {
        Kind kind;
        std::optional<PropertyId> property;   // none: of the context
        Uuid context;
    };
    using Changes = std::vector<Change>;
    /// One step of a path: a component, and the context in which it is looked up.
    using Step = std::pair<Uuid, std::string>;

    State const& state() const { return m_now; }
    bool isProvider(Value const& value) const { return value.isUUID() && m_providers.count(value.getUUID()) != 0; }

    /// The value of a name, by the rule: what the dots lead to, hidden by a property that is literally so named.
    Value read(Uuid const& context, std::string const& name) const
    {
        Value result;
        if (std::size_t const dot = name.find('.'); dot != std::string::npos)
            if (Property const* const head = find(context, name.substr(0, dot)); head && isProvider(head->value))
                result = read(head->value.getUUID(), name.substr(dot + 1));
        if (Property const* const own = find(context, name))
            result = own->value;
        return result;
    }
    /// The steps that a path has now: as far as its references lead.
    std::set<Step> walk(Uuid const& context, std::string const& path) const
    {
        std::size_t const dot = path.find('.');
        std::string const name = path.substr(0, dot);
        Property const* const property = find(context, name);
        std::set<Step> steps;
        if (dot != std::string::npos && property && isProvider(property->value))
            steps = walk(property->value.getUUID(), path.substr(dot + 1));
        steps.insert({context, name});
        return steps;
    }

    // Changes, each inside a transaction

    void create(Uuid const& context)
    {
        m_now.contexts[context];
        m_providers.insert(context);
    }
    /// The provider goes at once and for good, its data with the transaction.
    void drop(Uuid const& context)
    {
        m_providers.erase(context);
        Context* const data = living(context);
        if (!data)
            return;
        for (auto const& [name, id] : data->properties)
            m_now.properties[id].alive = false;
        *data = Context{};
        data->alive = false;
    }
    void add(Uuid const& context, std::string const& name, Value const& value)
    {
        Context* const data = living(context);
        if (!data || !data->properties.emplace(name, m_now.properties.size()).second)
            return;
        ++data->mapWrites;
        m_now.properties.push_back({context, name, value});
    }
    void set(Uuid const& context, std::string const& name, Value const& value)
    {
        Property* const property = living(context, name);
        if (!property || property->value == value)
            return;
        property->value = value;
        ++property->writes;
    }
    void remove(Uuid const& context, std::string const& name)
    {
        if (Property* const property = living(context, name)) {
            property->alive = false;
            takeOut(*property);
        }
    }
    void activate(Uuid const& context, std::size_t count)
    {
        if (Context* const data = living(context)) {
            data->activeContexts = count;
            ++data->activeWrites;
        }
    }
    /// Moves or renames a property. Throws if the new place is taken.
    void place(Uuid const& context, std::string const& name, Uuid const& newContext, std::string const& newName)
    {
        Property* const property = living(context, name);
        Context* const target = living(newContext);
        if (!property || !target || (context == newContext && name == newName))
            return;
        if (find(newContext, newName))
            throw std::logic_error{"taken"};
        takeOut(*property);
        property->owner = newContext;
        property->name = newName;
        ++property->writes;
        target->properties[newName] = static_cast<PropertyId>(property - m_now.properties.data());
        ++target->mapWrites;
    }

    // Transactions

    void begin() { m_before.push_back(m_now); }
    void rollBack()
    {
        std::size_t const made = m_now.properties.size();
        m_now = std::move(m_before.back());
        m_before.pop_back();
        m_now.properties.resize(made, {{}, "", {}, false});   // their ids are used up
    }
    /// Ends the innermost transaction; the outermost one tells what it changed, all in all.
    Changes commit()
    {
        State const before = std::move(m_before.back());
        m_before.pop_back();
        return m_before.empty() ? changesSince(before) : Changes{};
    }
    bool isOpen() const { return !m_before.empty(); }

    Property const* find(Uuid const& context, std::string const& name) const
    {
        return const_cast<ReferenceStore*>(this)->living(context, name);
    }

private:
    Context* living(Uuid const& context)
    {
        auto const data = m_now.contexts.find(context);
        return data != m_now.contexts.end() && data->second.alive ? &data->second : nullptr;
    }
    Property* living(Uuid const& context, std::string const& name)
    {
        Context* const data = living(context);
        auto const id = data ? data->properties.find(name) : std::map<std::string, PropertyId>::iterator{};
        return data && id != data->properties.end() ? &m_now.properties[id->second] : nullptr;
    }
    void takeOut(Property const& property)
    {
        Context& data = m_now.contexts[property.owner];
        data.properties.erase(property.name);
        ++data.mapWrites;
    }

    Changes changesSince(State const& before) const
    {
        Changes changes;
        auto const note = [&](bool was, bool is, bool differs, std::optional<PropertyId> id, Uuid const& context) {
            if (was != is)
                changes.push_back({is ? Kind::Created : Kind::Destroyed, id, context});
            else if (is && differs)
                changes.push_back({Kind::Modified, id, context});
        };
        for (PropertyId id = 0; id != m_now.properties.size(); ++id) {
            Property const& now = m_now.properties[id];
            bool const wasThere = id < before.properties.size();
            Property const& then = wasThere ? before.properties[id] : now;
            bool const same = then.value == now.value && then.name == now.name && then.owner == now.owner;
            note(wasThere && then.alive, now.alive, then.writes != now.writes && !same, id, now.owner);
        }
        for (auto const& [id, now] : m_now.contexts) {
            auto const found = before.contexts.find(id);
            bool const wasThere = found != before.contexts.end();
            Context const& then = wasThere ? found->second : now;
            // A map counts as unchanged only if it was and is empty, or holds the one element that it held.
            bool const map = then.mapWrites != now.mapWrites && !(then.properties.empty() && now.properties.empty()) &&
                             !(then.properties.size() == 1 && now.properties.size() == 1 &&
                               then.properties.begin()->second == now.properties.begin()->second);
            bool const active =
                then.activeWrites != now.activeWrites && !(then.activeContexts == 0 && now.activeContexts == 0);
            note(wasThere && then.alive, now.alive, map || active, std::nullopt, id);
        }
        return changes;
    }

    State m_now;
    std::vector<State> m_before;   // of each open transaction
    std::set<Uuid> m_providers;    // that live
};

}   // namespace support
