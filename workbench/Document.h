#pragma once

#include "studio/data/PropertyValue.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace workbench {

/// A text that a host would evaluate, and where it comes from (for people; may be empty).
struct Expression {
    std::string text;
    std::string source;
};

/// One thing that happens to one context. Contexts are numbered; 0 is the root.
struct Operation {
    enum class Kind { create, set, remove, link, drop, activate };

    Kind kind = Kind::set;
    std::size_t context = 0;
    std::string name;                    ///< of the property: set, remove, link
    studio::data::PropertyValue value;   ///< set
    std::size_t target = 0;              ///< link: the context referred to
    std::vector<std::string> names;      ///< activate
};

/// A recorded answer: the value of an expression after a step.
struct Answer {
    std::size_t expression = 0;
    studio::data::PropertyValue value;
};

/// Operations that belong together, and what is recorded of their effect.
struct Step {
    std::string during;   ///< what the user was doing; may be empty
    std::vector<Operation> operations;
    /// Absent when nothing is recorded. In ascending order of expressions; all others stayed as they were.
    std::optional<std::vector<Answer>> changed;
};

struct Recording {
    std::size_t contexts = 1;   ///< how many there ever are, the root included
    std::vector<Operation> initial;
    std::vector<Step> steps;
    /// Absent when nothing is recorded; otherwise a value for each expression.
    std::optional<std::vector<studio::data::PropertyValue>> initialValues;

    /// Whether any answer is recorded, be it that a step changes nothing.
    bool hasAnswers() const;
};

/// The expressions in a file. Throws `DocumentError`, also for a text that does not parse and for a key that no
/// expression has.
std::vector<Expression> loadExpressions(std::string const& file);

/// The recording in a file, made over so many expressions. Throws `DocumentError`, also for an operation that does not
/// fit those before it, so that whatever is returned can be replayed, and for a key that no session has.
Recording loadRecording(std::string const& file, std::size_t expressions);

}   // namespace workbench
