#pragma once

#include "benchmarks/BaselineNames.h"
#include "benchmarks/BaselineValue.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

/// The baseline: the steps of the library's main job by hand, for contexts of named values and nothing else. A write
/// finds interned names, keeps old values, drops what did not change and reports; an engine evaluates compiled programs
/// once each and calls back; a mirror is updated. There are no elements, handles, classes, identities of properties or
/// errors, and callbacks may not change anything: a figure above this baseline is the cost of those.
namespace benchmarks::baseline {

/// Contexts with named slots, written in transactions.
class Store {
public:
    static constexpr std::uint32_t NONE = ~std::uint32_t{0};

    struct Slot {
        Value value;
        std::uint32_t context;
        std::uint32_t name;
        std::uint32_t stamp = 0;   // number of the last transaction that kept its old value
    };
    struct Old {
        std::uint32_t slot;
        Value value;
    };
    using Report = std::vector<Old>;
    class Listener {
    public:
        virtual ~Listener() = default;
        virtual void committed(Report const& report) = 0;
    };
    struct Entry {
        std::uint32_t name = 0;
        std::uint32_t slot = 0;
    };
    struct Context {
        Identity identity;
        std::vector<Entry> entries;   // open addressing with linear probing
        std::uint32_t used = 0;
    };

    std::uint32_t addContext();
    std::uint32_t addSlot(std::uint32_t context, std::string_view name, Value value);

    /// Writes a value, in one transaction or as part of the open one. Ignores unknown names.
    void set(std::uint32_t context, std::string_view name, Value value)
    {
        if (std::memchr(name.data(), '.', name.size()))
            return;   // dotted writes are not measured
        std::uint32_t const number = names.find(name);
        std::uint32_t const slot = number == 0 ? NONE : find(context, number);
        if (slot == NONE)
            return;
        begin();
        write(slot, std::move(value));
        commit();
    }
    void begin()
    {
        if (depth++ == 0)
            ++transaction;
    }
    void write(std::uint32_t number, Value&& value)
    {
        Slot& slot = slots[number];
        if (slot.value == value)
            return;
        if (slot.stamp != transaction) {
            slot.stamp = transaction;
            journal.push_back({number, std::move(slot.value)});
        }
        slot.value = std::move(value);
    }
    void commit()
    {
        if (--depth != 0)
            return;
        std::erase_if(journal, [&](Old const& old) { return old.value == slots[old.slot].value; });
        if (!journal.empty())
            for (Listener* const listener : listeners)
                listener->committed(journal);
        journal.clear();
    }

    /// Returns the slot of that name; NONE if there is none.
    std::uint32_t find(std::uint32_t context, std::uint32_t name) const
    {
        std::vector<Entry> const& entries = contexts[context].entries;
        if (entries.empty())
            return NONE;
        for (std::size_t place = hash(name) & (entries.size() - 1);; place = (place + 1) & (entries.size() - 1)) {
            if (entries[place].name == name)
                return entries[place].slot;
            if (entries[place].name == 0)
                return NONE;
        }
    }
    std::uint32_t contextOf(Identity const& identity) const { return byIdentity.find(identity)->second; }

    Names names;
    std::vector<Slot> slots;
    std::vector<Context> contexts;
    std::unordered_map<Identity, std::uint32_t, IdentityHash> byIdentity;
    std::vector<Listener*> listeners;

private:
    static std::size_t hash(std::uint32_t name) { return name * 0x85EBCA77U; }
    static void enter(Context& context, Entry const& entry);

    Report journal;
    std::uint32_t depth = 0;
    std::uint32_t transaction = 0;
};

}   // namespace benchmarks::baseline
