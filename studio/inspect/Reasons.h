#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/inspect/Export.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace studio::inspect {

/// A host's table of sentences that say to users why a command is not available. Each sentence belongs to a condition
/// that has to hold. It is shown if that condition decides and does not hold.
class STUDIO_INSPECT_EXPORT Reasons {
public:
    /// Returns the translation of a sentence of the table. Values are inserted into the result.
    using Translation = std::function<std::string(std::string const& sentence)>;
    /// Returns a sentence for a condition that is not in the table. If it is empty, nothing is shown.
    using Fallback = std::function<std::string(std::string const& condition)>;

    /// Makes an empty table; `reasonFor` evaluates texts over the context `root`. Null stands for no context.
    explicit Reasons(std::shared_ptr<data::ContextProvider> root);
    Reasons(Reasons&& other) noexcept;
    Reasons& operator=(Reasons&& other) noexcept;
    ~Reasons();

    /// Adds the sentence that is shown when `condition` does not hold, or replaces that of an equal condition.
    /// Conditions are equal if they differ only in spacing, parentheses, spellings of names and operators, doubled `!`,
    /// or the sides of a comparison: `!(a == 'x')` equals `'x' != a`. Expressions in braces are replaced by their
    /// values when the sentence is shown: `Only {selection.count} of {selection.needed}`; `{{` stands for a brace.
    /// *Throws* `gel::ParseError` for a condition or an expression in braces that does not parse, and
    /// `std::invalid_argument` for a brace that is not closed; nothing is added then.
    void add(std::string const& condition, std::string sentence);
    /// Sets the translation of sentences. An empty function, as at first, leaves them as they are. It may return
    /// another sentence for each call, so `reasonFor` checks the braces of what it returns.
    void translate(Translation translation);
    /// Sets the function that makes sentences for conditions that are not in the table. An empty function restores the
    /// default: `needs …`, with the condition and the present values of its symbols.
    void otherwise(Fallback fallback);

    /// Returns the sentences that say why `text` does not count as true at present: those of all sub-conditions that
    /// decide, in the order of the text, each once. A sentence for a larger part of the text replaces those of its
    /// parts. Empty if the text counts as true. *Throws* `gel::ParseError` for a text that does not parse, and what the
    /// functions of the host throw. For a translation that is needed and that `add` would refuse as a sentence, throws
    /// what `add` throws.
    std::vector<std::string> reasonFor(std::string const& text) const;

private:
    struct Table;

    std::shared_ptr<data::ContextProvider> root;
    std::unique_ptr<Table> table;
    Translation translation;
    Fallback fallback;
};

}   // namespace studio::inspect
