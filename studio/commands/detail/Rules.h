#pragma once

#include "studio/commands/Chord.h"
#include "studio/commands/KeyRule.h"
#include "studio/commands/detail/Conditions.h"

#include <compare>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace studio::commands::detail {

/// A rule or a removal of a key map.
struct Rule {
    KeyRule declared;
    KeySequence keys;
    Conditions::Slot slot = Conditions::Always;
    std::size_t number = 0;
    Rule const* removal = nullptr;   // of those that take this rule away, one
    bool isGoing = false;            // to be removed, one of a list
    Rule* nextGoing = nullptr;

    bool isRemoval() const noexcept { return declared.command.starts_with('-'); }
    /// The command that is run or removed.
    std::string_view command() const noexcept { return std::string_view{declared.command}.substr(isRemoval() ? 1 : 0); }
};

/// Rules by the chords that they begin with.
class RuleTree {
public:
    /// Returns the rules whose keys are a sequence or begin with it, strongest first.
    std::span<Rule const* const> fitting(std::span<Chord const> keys) const noexcept;

    /// Adds rules. *Throws* `std::bad_alloc`; then `remove` takes away those that were added. *Cost*: for each node,
    /// its rules.
    void add(std::span<Rule* const> rules);
    /// Removes a list of rules that are going. *Cost*: as of `add`.
    void remove(Rule const* firstGoing) noexcept;
    void clear() noexcept { root = {}; }

private:
    struct Branch;
    struct Node {
        Node* next(Chord chord) const noexcept;

        std::vector<Branch> branches;     // by chord
        std::vector<Rule const*> rules;   // of this node and all below, strongest first
        std::size_t sorted = 0;           // of the rules
        std::size_t pass = 0;             // the last change that visited it
    };
    struct Branch {
        Chord chord;
        std::unique_ptr<Node> node;
    };

    Node root;
    std::size_t pass = 0;
};

/// The rules and removals of each command, and what is taken away.
class Removals {
public:
    explicit Removals(Conditions const& known) : conditions{known} {}

    /// Adds rules and removals, and notes in each rule a removal that takes it away. *Throws* `std::bad_alloc`; then
    /// `remove` takes away those that were added.
    void add(std::span<Rule* const> rules);
    /// Removes a list of rules and removals that are going. What such a removal has taken away comes back, unless
    /// another one takes it away, too.
    void remove(Rule* firstGoing) noexcept;
    void clear() noexcept { commands.clear(); }

    /// Returns the rules of a command, strongest first, those that are taken away too.
    std::vector<Rule const*> rulesOf(std::string_view command) const;

private:
    /// By keys, then by number: what begins with the same chords stands together.
    struct ByKeys {
        using is_transparent = void;
        struct Begin {
            std::span<Chord const> keys;
        };
        bool operator()(Rule const* left, Rule const* right) const noexcept;
        bool operator()(Rule const* left, Begin right) const noexcept;
    };
    using Sorted = std::set<Rule*, ByKeys>;
    struct OfCommand {
        Sorted rules;
        Sorted removals;
        std::size_t pass = 0;   // the last removal that visited it
    };

    bool takes(Rule const& removal, Rule const& rule) const;
    Rule const* removalOf(OfCommand const& all, Rule const& rule) const;
    void takeBelow(OfCommand const& all, Rule const& removal) const;
    void searchAgain(OfCommand const& all) const noexcept;

    Conditions const& conditions;
    mutable std::map<std::pair<Conditions::Slot, Conditions::Slot>, bool> implied;   // within one call
    std::map<std::string, OfCommand, std::less<>> commands;
    std::size_t pass = 0;
};

}   // namespace studio::commands::detail
