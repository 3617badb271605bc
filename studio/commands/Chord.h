#pragma once

#include "studio/commands/Export.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace studio::commands {

/// A key pressed together with modifiers.
struct Chord {
    /// Modifiers, as bits.
    enum Modifier : std::uint8_t { Ctrl = 1, Shift = 2, Alt = 4, Meta = 8 };

    /// The modifiers.
    std::uint8_t modifiers = 0;
    /// The number of the key: an index into `keyNames()`.
    std::uint8_t key = 0;

    /// Chords are ordered by their modifiers, then by the number of their key.
    friend auto operator<=>(Chord const&, Chord const&) = default;
};

/// The largest number of chords in a sequence.
inline constexpr std::size_t MOST_CHORDS = 8;

/// Chords that are pressed one after the other.
using KeySequence = std::vector<Chord>;

/// Parses a chord such as `ctrl+shift+p`: modifiers, then a key of a US keyboard: a letter, a digit, a sign that needs
/// no shift, or a name such as `f1`, `left`, `pagedown` or `numpad_add`. Modifiers may stand in any order, and letters
/// in any case. *Throws* `std::invalid_argument` with the column and the reason, and the most similar name for an
/// unknown one.
STUDIO_COMMANDS_EXPORT Chord parseChord(std::string_view text);
/// Parses chords that are separated by spaces: `ctrl+k ctrl+s`. *Throws* as `parseChord`, and for no chord or more than
/// `MOST_CHORDS`.
STUDIO_COMMANDS_EXPORT KeySequence parseKeys(std::string_view text);

/// Returns the text of a chord, which parses to it: modifiers in the order `ctrl`, `shift`, `alt`, `meta`. *Throws*
/// `std::invalid_argument` for a chord whose key or modifiers are not in the tables.
STUDIO_COMMANDS_EXPORT std::string textOf(Chord chord);
/// Returns the text of a sequence. *Throws* as for one chord.
STUDIO_COMMANDS_EXPORT std::string textOf(std::span<Chord const> keys);

/// Returns the names of all keys, by their numbers.
STUDIO_COMMANDS_EXPORT std::span<std::string_view const> keyNames() noexcept;

}   // namespace studio::commands
