#pragma once

#include "studio/data/PropertyValue.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace workbench {

/// An expression text, and where it comes from (for readers; may be empty).
struct Expression {
    std::string text;
    std::string source;
};

/// An operation on one context. Contexts are numbered; 0 is the root.
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

/// Operations applied in one transaction, and their recorded effect.
struct Step {
    std::string during;   ///< what the user was doing; may be empty
    std::vector<Operation> operations;
    /// Absent when nothing is recorded. In ascending order of expressions; all others stayed as they were.
    std::optional<std::vector<Answer>> changed;
};

struct Recording {
    std::size_t contexts = 1;   ///< number of contexts ever made, the root included
    std::vector<Operation> initial;
    std::vector<Step> steps;
    /// Absent when nothing is recorded; otherwise a value for each expression.
    std::optional<std::vector<studio::data::PropertyValue>> initialValues;

    /// Returns true if any answer is recorded, even that a step changes nothing.
    bool hasAnswers() const;
};

/// Loads the expressions of a file. Throws `DocumentError` for an unusable file, for a text that does not parse and for
/// an unknown key.
std::vector<Expression> loadExpressions(std::string const& file);

/// Loads the recording of a file, made over that many expressions. Throws `DocumentError` for an unusable file, for an
/// unknown key, and for an operation that does not fit those before it, so that whatever is returned can be replayed.
Recording loadRecording(std::string const& file, std::size_t expressions);
/// Loads the operations of a recording, without its answers. Throws as `loadRecording`.
Recording loadOperations(std::string const& file);

}   // namespace workbench
