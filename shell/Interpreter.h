#pragma once

#include "shell/Commands.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace shell {

/// The result of a line.
struct Outcome {
    enum class Kind { Done, Failed, FileFailed };

    Kind kind = Kind::Done;
    /// Lines for people without the last line feed, or one JSON object. Empty if there is nothing to print.
    std::string text;
    /// True if no more lines are to be read.
    bool isLast = false;
};

/// The words that may stand at the end of a line.
struct Completion {
    std::size_t begin;                ///< where they begin in the line
    std::vector<std::string> words;   ///< ascending, each once
};

/// Carries out lines of text, one command each.
class Interpreter {
public:
    /// How results are written.
    enum class Format { Text, Json };

    /// The longest line that is read, in bytes.
    static constexpr std::size_t LONGEST_LINE = std::size_t{1} << 16U;

    /// *Lifetime*: refers to `files`.
    Interpreter(Files& files, Material material, Format format);

    /// Carries out a line. Does nothing for an empty one and for one that begins with `#`. If memory runs out, the
    /// command has failed, and the outcome says whether the model may have changed. *Throws* only `std::bad_alloc`, if
    /// there is no memory for that outcome either.
    Outcome run(std::string_view line);
    /// Ends the input: an open batch is rolled back, which is a failure. Call it once.
    Outcome finish();

    /// Returns what may complete a line: a verb, a path, a text of the session or its label.
    Completion complete(std::string_view line) const;

private:
    Outcome outcomeOf(std::string_view line);
    Answer answer(std::string_view line);
    Outcome done(std::string_view line, Answer const& answer);
    Outcome failed(std::string_view line, std::string const& reason, Outcome::Kind kind = Outcome::Kind::Failed) const;

    Commands commands;
    Format format;
};

}   // namespace shell
