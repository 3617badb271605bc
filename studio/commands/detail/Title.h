#pragma once

#include "studio/commands/detail/Conditions.h"

#include <string>
#include <utility>
#include <vector>

namespace studio::commands::detail {

class TableState;

/// A title with expressions in braces, whose values it shows.
class Title {
public:
    using Slot = Conditions::Slot;

    Title() = default;
    /// Subscribes to the expressions of `text`; `uses` gets their slots. *Throws* as `TableState::addShown`, and
    /// `std::invalid_argument` for a brace that is not closed.
    template <class Uses>
    Title(std::string const& text, std::string const& where, Uses& uses)
    {
        for (auto& [literal, expression] : split(text, where + ": "))
            pieces.push_back(
                {std::move(literal), expression.empty() ? Conditions::Always : uses.addShown(expression, where)});
    }

    /// Returns the title with the present values.
    std::string shown(Conditions const& conditions) const
    {
        std::string text;
        for (Piece const& piece : pieces) {
            text += piece.literal;
            text += conditions.shown(piece.value);   // empty for `Always`
        }
        return text;
    }

    /// Returns the literals of a title, each with the expression behind it, if there is one. *Throws*
    /// `std::invalid_argument` for braces that are not closed or have no expression; `prefix` begins its message.
    static std::vector<std::pair<std::string, std::string>> split(std::string const& text, std::string const& prefix);

private:
    struct Piece {
        std::string literal;
        Slot value;   // shown behind it
    };

    std::vector<Piece> pieces;
};

}   // namespace studio::commands::detail
