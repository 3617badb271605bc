#include "studio/commands/Chord.h"

#include "studio/commands/detail/Quoted.h"
#include "studio/host/SimilarName.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace studio::commands {

using detail::inQuotes;

namespace {

/// The names of the keys, each followed by a space.
constexpr std::string_view NAMES =
    "a b c d e f g h i j k l m n o p q r s t u v w x y z 0 1 2 3 4 5 6 7 8 9 ` - = [ ] \\ ; ' , . / "
    "f1 f2 f3 f4 f5 f6 f7 f8 f9 f10 f11 f12 f13 f14 f15 f16 f17 f18 f19 f20 f21 f22 f23 f24 "
    "left up right down pageup pagedown home end tab enter escape space backspace delete insert "
    "capslock numlock scrolllock pausebreak printscreen contextmenu intlbackslash "
    "numpad0 numpad1 numpad2 numpad3 numpad4 numpad5 numpad6 numpad7 numpad8 numpad9 "
    "numpad_add numpad_subtract numpad_multiply numpad_divide numpad_decimal numpad_enter ";

/// The names by the numbers of their keys.
constexpr auto KEYS = [] {
    std::array<std::string_view, std::count(NAMES.begin(), NAMES.end(), ' ')> keys;
    std::size_t begin = 0;
    for (std::string_view& name : keys) {
        name = NAMES.substr(begin, NAMES.find(' ', begin) - begin);
        begin += name.size() + 1;
    }
    return keys;
}();

/// The modifiers, in the order in which they are printed.
constexpr std::array<std::pair<std::string_view, Chord::Modifier>, 4> MODIFIERS{
    {{"ctrl", Chord::Ctrl}, {"shift", Chord::Shift}, {"alt", Chord::Alt}, {"meta", Chord::Meta}}};

/// Names that other programs use, and the ones here.
constexpr std::array<std::pair<std::string_view, std::string_view>, 17> OTHER_NAMES{{{"esc", "escape"},
                                                                                     {"return", "enter"},
                                                                                     {"del", "delete"},
                                                                                     {"ins", "insert"},
                                                                                     {"pgup", "pageup"},
                                                                                     {"pgdn", "pagedown"},
                                                                                     {"plus", "="},
                                                                                     {"minus", "-"},
                                                                                     {"comma", ","},
                                                                                     {"period", "."},
                                                                                     {"control", "ctrl"},
                                                                                     {"cmd", "meta"},
                                                                                     {"command", "meta"},
                                                                                     {"super", "meta"},
                                                                                     {"win", "meta"},
                                                                                     {"option", "alt"},
                                                                                     {"opt", "alt"}}};
/// Signs that need shift, and their keys.
constexpr std::string_view SHIFTED = "~!@#$%^&*()_{}|:\"<>?";
constexpr std::string_view SHIFTED_KEYS = "`1234567890-[]\\;',./";
static_assert(SHIFTED.size() == SHIFTED_KEYS.size());

std::string lower(std::string_view text)
{
    std::string result{text};
    for (char& letter : result)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return result;
}

[[noreturn]] void refuse(std::size_t offset, std::string const& reason)
{
    throw std::invalid_argument{"column " + std::to_string(offset + 1) + ": " + reason};
}

[[noreturn]] void refuseMissingKey(std::size_t offset)
{
    refuse(offset, "a key is missing; the key of the plus sign is \"=\"");
}

[[noreturn]] void refuseUnknown(std::size_t offset, char const* kind, std::string_view name,
                                host::SimilarName const& similar)
{
    std::string hint = similar.question();
    auto const other = std::find_if(OTHER_NAMES.begin(), OTHER_NAMES.end(),
                                    [&, wanted = lower(name)](auto const& names) { return names.first == wanted; });
    if (other != OTHER_NAMES.end())
        hint = "; did you mean \"" + std::string{other->second} + "\"?";
    else if (std::size_t const sign = SHIFTED.find(name); name.size() == 1 && sign != SHIFTED.npos)
        hint = std::string{"; did you mean \"shift+"} + SHIFTED_KEYS[sign] + "\"?";
    else if (name.ends_with(','))
        hint = "; chords are separated by spaces";
    refuse(offset, std::string{"unknown "} + kind + ' ' + inQuotes(name) + hint);
}

Chord::Modifier modifierOf(std::string_view name, std::size_t offset)
{
    if (name.empty())
        refuseMissingKey(offset);
    std::string const wanted = lower(name);
    host::SimilarName similar{name};
    for (auto const& [known, modifier] : MODIFIERS) {
        if (wanted == known)
            return modifier;
        similar.add(known);
    }
    refuseUnknown(offset, "modifier", name, similar);
}

std::uint8_t keyOf(std::string_view name, std::size_t offset)
{
    std::string const wanted = lower(name);
    if (name.empty())
        refuseMissingKey(offset);
    for (auto const& modifier : MODIFIERS)
        if (wanted == modifier.first)
            refuse(offset, "a key is missing after the modifier " + inQuotes(name));
    auto const found = std::find(KEYS.begin(), KEYS.end(), wanted);
    if (found != KEYS.end())
        return static_cast<std::uint8_t>(found - KEYS.begin());
    host::SimilarName similar{name};
    for (std::string_view const known : KEYS)
        similar.add(known);
    refuseUnknown(offset, "key", name, similar);
}

/// Parses a chord that stands at `offset` of a text.
Chord chordAt(std::string_view text, std::size_t offset)
{
    Chord chord;
    for (std::size_t plus = text.find('+'); plus != text.npos; plus = text.find('+')) {
        Chord::Modifier const modifier = modifierOf(text.substr(0, plus), offset);
        if ((chord.modifiers & modifier) != 0)
            refuse(offset, "the modifier " + inQuotes(text.substr(0, plus)) + " stands twice");
        chord.modifiers |= modifier;
        text.remove_prefix(plus + 1);
        offset += plus + 1;
    }
    chord.key = keyOf(text, offset);
    return chord;
}

}   // namespace

Chord parseChord(std::string_view text)
{
    if (std::size_t const space = text.find(' '); space != text.npos)
        refuse(space, "one chord has no spaces");
    return chordAt(text, 0);
}

KeySequence parseKeys(std::string_view text)
{
    KeySequence keys;
    for (std::size_t begin = text.find_first_not_of(' '); begin != text.npos;) {
        std::size_t const end = std::min(text.find(' ', begin), text.size());
        if (keys.size() == MOST_CHORDS)
            refuse(begin, "a sequence has " + std::to_string(MOST_CHORDS) + " chords at most");
        keys.push_back(chordAt(text.substr(begin, end - begin), begin));
        begin = text.find_first_not_of(' ', end);
    }
    if (keys.empty())
        refuse(0, "no keys");
    return keys;
}

std::string textOf(Chord chord)
{
    if (chord.key >= KEYS.size() || chord.modifiers >= 2 * Chord::Meta)
        throw std::invalid_argument{"a chord has a key or modifiers that do not exist"};
    std::string text;
    for (auto const& [name, modifier] : MODIFIERS)
        if ((chord.modifiers & modifier) != 0)
            (text += name) += '+';
    return text += KEYS[chord.key];
}

std::string textOf(std::span<Chord const> keys)
{
    std::string text;
    for (Chord const chord : keys)
        (text += text.empty() ? "" : " ") += textOf(chord);
    return text;
}

std::span<std::string_view const> keyNames() noexcept
{
    return KEYS;
}

}   // namespace studio::commands
