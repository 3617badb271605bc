#include "Target.h"
#include "studio/commands/Contribution.h"
#include "studio/commands/Implication.h"
#include "studio/commands/Keymap.h"
#include "studio/commands/Manifest.h"
#include "studio/data/ContextProvider.h"
#include "tarn/zero/ModelImpl.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// The bytes are a manifest. Either it is refused with the name of its file, or it is loaded, or refused whole. While it
// is loaded, presses, matches and verdicts agree, and the text of each sequence of keys parses to that sequence. When
// it has ended, nothing is left.

namespace {

using namespace studio::commands;
using studio::data::ContextProvider;

/// Presses the keys of each rule, and of a part of it.
void pressAll(Keymap& keymap, std::vector<KeyRule> const& rules)
{
    for (KeyRule const& rule : rules) {
        if (rule.keys.empty())
            continue;
        KeySequence const keys = parseKeys(rule.keys);
        require(parseKeys(textOf(keys)) == keys, "the text of a sequence parses to it");
        keymap.reset();
        for (std::size_t size = 1; size <= keys.size(); ++size) {
            std::span<Chord const> const part{keys.data(), size};
            KeyMatch const match = keymap.match(part);
            bool const isContinued = keymap.pending().size() == size - 1;
            KeyMatch const pressed = keymap.press(part.back());
            require(!isContinued || (pressed.kind == match.kind && pressed.rule == match.rule),
                    "a press is the match of the pending chords");
            std::size_t deciding = 0;
            for (KeyVerdict const& verdict : keymap.verdicts(part)) {
                using Reason = KeyVerdict::Reason;
                bool const decides = verdict.reason == Reason::Wins || verdict.reason == Reason::Pending;
                deciding += decides;
                require(!decides || verdict.rule == match.rule, "the verdict is that of the match");
                require(keymap.rule(verdict.rule) && keymap.rule(verdict.by), "verdicts are on rules");
            }
            require(deciding == (match.kind == KeyMatch::Kind::None ? 0U : 1U), "one rule decides");
        }
    }
}

void compareSome(std::vector<KeyRule> const& rules)
{
    std::size_t const count = std::min<std::size_t>(rules.size(), 8);
    for (std::size_t i = 0; i != count; ++i) {
        require(implies(rules[i].when, rules[i].when), "a condition implies itself");
        require(implies(rules[i].when, ""), "a condition implies what always holds");
        for (std::size_t j = 0; j != count; ++j)
            implies(rules[i].when, rules[j].when);
    }
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static auto const root = [] {
        auto made = ContextProvider::create();
        made->addProperty("a", true);
        made->addProperty("b", 1);
        made->addProperty("s", "text");
        return made;
    }();
    Contribution::Parts parts;
    try {
        parts = readManifest({reinterpret_cast<char const*>(data), size}, "file");
    } catch (std::invalid_argument const& error) {
        require(std::string_view{error.what()}.starts_with("file: "), "a refusal names the file");
        return 0;
    }
    studio::data::ExpressionEngine engine{root, studio::data::ReleasePolicy::KeepsShared};
    CommandTable table{engine};
    Menus menus{table};
    Keymap keymap{table};
    std::size_t reported = 0;
    table.onChanged([&](std::span<CommandChange const> changes) { reported += changes.size(); });
    try {
        std::vector<KeyRule> const rules = parts.rules;
        std::size_t const count = parts.commands.size();
        Contribution plugin{table, &menus, &keymap, std::move(parts)};
        require(reported == count && table.list().size() == count, "all commands are loaded and reported");
        plugin.warnings();
        pressAll(keymap, rules);
        root->setPropertyValue("a", false);
        root->setPropertyValue("b", 0);
        pressAll(keymap, rules);
        compareSome(rules);
    } catch (std::invalid_argument const&) {
    } catch (std::length_error const&) {
    } catch (std::runtime_error const&) {   // of a text that does not parse
    }
    root->setPropertyValue("a", true);
    root->setPropertyValue("b", 1);
    require(table.list().empty() && menus.list().empty() && !keymap.rule(0), "nothing is left of what has ended");
    require(engine.listExpressions().empty(), "nothing is left in the engine");
    return 0;
}
