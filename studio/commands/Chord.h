#pragma once

#include "studio/commands/Export.h"

#include <compare>
#include <cstdint>
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
    /// The key: an index into the table of key names.
    std::uint8_t key = 0;

    friend auto operator<=>(Chord const&, Chord const&) = default;
};

/// Chords that are pressed one after the other.
using KeySequence = std::vector<Chord>;

/// Parses a chord such as `ctrl+shift+p`: modifiers in any order and case, then a key of the table: a letter, a digit, a
/// sign of a US keyboard or a name such as `f1`, `left`, `pagedown`, `numpad_add`. *Throws* `std::invalid_argument` with
/// the place and the reason, and the most similar name for an unknown key.
STUDIO_COMMANDS_EXPORT Chord parseChord(std::string_view text);
/// Parses chords that are separated by spaces: `ctrl+k ctrl+s`. *Throws* as `parseChord`, and for more than eight chords
/// or none.
STUDIO_COMMANDS_EXPORT KeySequence parseKeys(std::string_view text);
/// Returns the text of a chord or sequence, which parses to it: modifiers in the order `ctrl`, `shift`, `alt`, `meta`.
STUDIO_COMMANDS_EXPORT std::string textOf(Chord chord);
STUDIO_COMMANDS_EXPORT std::string textOf(KeySequence const& keys);

}   // namespace studio::commands
