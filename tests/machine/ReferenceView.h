#pragma once

#include "machine/ReferenceState.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace machine {

/// A view: values in maps, and orphans found by one walk over everything.
class ReferenceView final : public ReferenceListener {
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

    ReferenceView(ReferenceState& lookedAt, Call detached) : state{lookedAt}, call{std::move(detached)} {}

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
            Providers::Owner const provider = state.providers.find(Ref{id});
            if (!provider || !state.store.context(id))
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
            Providers::Owner last = std::move(record->provider);
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
    void process(Store::Report const& report) override
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
        Providers::Owner provider;
        std::vector<int> handles;
    };
    struct Outcome {
        std::set<int> owners;
        std::set<int> restored;
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
        Store::Context const& context = *state.store.context(id);
        for (auto const& [name, property] : context.properties)
            clone.properties[name] = {property, state.store.property(property).value};
        clone.active = context.active;
        return clone;
    }
    Clone fresh(int id) const
    {
        Clone clone = read(id);
        clone.active.clear();
        return clone;
    }
    void followValues(Store::Report const& report)
    {
        Outcome outcome;
        for (Store::Entry const& entry : report.entries) {
            Store::Property const* const source =
                entry.element.isProperty ? &state.store.property(entry.element.id) : nullptr;
            if (!source || !source->alive || entry.change != Store::Change::Modified)
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
    void followMembers(Store::Report const& report)
    {
        Outcome outcome;
        for (Store::Entry const& entry : report.entries) {
            int const id = entry.element.id;
            if (entry.element.isProperty || !state.store.isAlive(entry.element))
                continue;
            auto const clone = clones.find(id);
            if (clone == clones.end() && entry.change == Store::Change::Created && isReferredTo(id))
                outcome.restored.insert(id);
            if (clone == clones.end())
                continue;
            Clone const now = read(clone->first);
            auto& properties = clone->second.properties;
            clone->second.active = now.active;
            for (auto mine = properties.begin(); mine != properties.end();) {
                auto const theirs = now.properties.find(mine->first);
                bool const stays = theirs != now.properties.end() && theirs->second.property == mine->second.property;
                outcome.orphans |= !stays && state.providers.names(mine->second.value);
                if (stays && !(mine->second.value == theirs->second.value) &&
                    !(isNan(mine->second.value) && isNan(theirs->second.value)))
                    follow(theirs->second.value, mine->second, clone->first, outcome);
                mine = stays ? std::next(mine) : properties.erase(mine);
            }
            for (auto const& [name, slot] : now.properties)
                if (properties.emplace(name, slot).second && state.providers.names(slot.value))
                    outcome.owners.insert(clone->first);
        }
        finish(outcome);
    }
    static bool isNan(Value const& value) { return !(value == value); }
    void follow(Value const& value, Slot& slot, int owner, Outcome& outcome)
    {
        outcome.orphans |= state.providers.names(slot.value);
        slot.value = value;
        if (state.providers.names(value))
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
            if (ref && clones.count(ref->number) == 0 && state.store.context(ref->number))
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
    bool isReferredTo(int id) const
    {
        Value const reference = Ref{id};
        return std::any_of(clones.begin(), clones.end(), [&](auto const& clone) {
            auto const& slots = clone.second.properties;
            return std::any_of(slots.begin(), slots.end(),
                               [&](auto const& slot) { return slot.second.value == reference; });
        });
    }
    void finish(Outcome const& outcome)
    {
        for (int const id : outcome.restored)
            if (clones.count(id) == 0)
                grow(clones[id] = fresh(id));
        for (int const owner : outcome.owners)
            grow(Clone(clones.at(owner)));
        if (outcome.orphans)
            discard();
    }

    ReferenceState& state;
    Call call;
    std::vector<Record> records;   // in order of creation
    std::vector<int> ending;       // handles that an ending record is about to call
    std::set<int> detaching;       // handles being detached directly, while what ends with their records ends
};

}   // namespace machine
