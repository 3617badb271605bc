#pragma once

#include "studio/data/ExpressionEngine.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace studio::commands::detail {

/// The distinct texts that commands, menus and keys depend on. Each is subscribed once and has a slot, where its
/// present truth, or its value as a text, is found without an evaluation.
///
/// What the engine reports waits until `settle`: until then every slot reads as before. A slot that was added is
/// false and empty until then.
class Conditions {
public:
    using Slot = std::uint32_t;

    /// The slot of the empty condition, which always holds.
    static constexpr Slot Always = 0;

    /// Subscribes to texts of `engine`, which must not end before `end` is called.
    explicit Conditions(data::ExpressionEngine& engine);
    Conditions(Conditions const&) = delete;
    Conditions& operator=(Conditions const&) = delete;

    /// Returns the slot of a condition, with one more user. *Throws* `gel::ParseError` for a text that does not parse,
    /// and `std::logic_error` after the end of the engine; nothing is added then.
    Slot add(std::string const& text) { return add(text, Kind::Condition); }
    /// Returns the slot of an expression whose value is shown, with one more user. *Throws* as `add`.
    Slot addShown(std::string const& text) { return add(text, Kind::Shown); }
    /// Ends one use of a slot. The last one ends the subscription.
    void remove(Slot slot) noexcept;

    /// True if the condition of a slot held when it was last settled.
    bool holds(Slot slot) const noexcept { return truths[slot] != 0; }
    /// Returns the value of a slot as a person reads it. *Lifetime*: until `settle` or `remove`.
    std::string const& shown(Slot slot) const noexcept { return entries[slot].shown; }
    /// Returns the text of a slot. *Lifetime*: until its last use ends.
    std::string const& textOf(Slot slot) const noexcept { return *entries[slot].text; }
    /// Returns a number that is greater than every slot.
    std::size_t size() const noexcept { return entries.size(); }

    /// True if there is something to settle.
    bool isDirty() const noexcept { return !dirty.empty(); }
    /// Gives each slot its present truth or value, and returns those that differ from before. *Throws*
    /// `std::bad_alloc`; nothing is settled then. *Lifetime*: until the next call. *Cost*: what was reported.
    std::span<Slot const> settle();
    /// Evaluates all conditions now, after a round that left some of them out.
    void evaluateAll() noexcept;

    /// Leaves every slot as it is for good, at the end of the engine.
    void freeze() noexcept;
    /// Ends every subscription and forgets all slots.
    void clear() noexcept;

private:
    enum class Kind : std::uint8_t { Condition, Shown };
    using Slots = std::unordered_map<std::string, Slot>;

    struct Entry {
        std::unique_ptr<data::ExpressionHandle> handle;
        std::string const* text = nullptr;   // a key of the map; null for a slot that is free
        std::uint32_t users = 0;
        Kind kind = Kind::Condition;
        bool next = false;      // the truth that was reported last
        bool isDirty = false;   // listed in `dirty`
        std::string shown{};
        std::string nextShown{};
    };

    Slot add(std::string const& text, Kind kind);
    Slot freeSlot();
    void notice(Slot slot, data::PropertyValue const& value) noexcept;
    Slots& slotsOf(Kind kind) noexcept { return kind == Kind::Condition ? conditions : texts; }

    data::ExpressionEngine* engine;   // null after its end
    Slots conditions;
    Slots texts;
    std::vector<Entry> entries;   // by slot
    std::vector<char> truths;     // by slot
    // Each has room for every slot, so that a callback and a removal allocate nothing.
    std::vector<Slot> free;
    std::vector<Slot> dirty;
    std::vector<Slot> settled;
};

/// The truth of a value: undefined, 0, `false`, the empty text and a UUID are false.
bool truthOf(data::PropertyValue const& value) noexcept;

}   // namespace studio::commands::detail
