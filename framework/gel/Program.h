#pragma once

#include "foundation/Export.h"
#include "gel/DataSource.h"
#include "gel/Value.h"

#include <cstddef>
#include <set>
#include <string>

namespace gel {

namespace detail {
class Instructions;
}

/// A parsed text to keep: who evaluates one text again and again need not have it looked up each time.
/// A counted handle that is never empty: copying shares what was parsed, moving copies. What it shares never changes,
/// so copies of a program may be evaluated on several threads at once, and the same one from inside a `lookup`.
class STUDIO_DATA_EXPORT Program {
public:
    /// The program of a text, from the thread's cache when it holds the text.
    /// Throws `ParseError` if the text does not parse.
    explicit Program(std::string const& text);

    Program(Program const& other) noexcept;
    Program& operator=(Program const& other) noexcept;
    ~Program();

    /// What was parsed. Lifetime: that of the last handle on the program.
    std::string const& text() const noexcept;

    /// Every symbol that the text names, each once, also those in parts that an evaluation would skip.
    std::set<std::string> symbols() const;

    /// How many symbols the text names. They are numbered in the order in which it first names them: an evaluation
    /// hands the number of a symbol to `DataSource::fetch`. Cost: none.
    std::size_t symbolCount() const noexcept;
    /// The symbol of that number, which is below `symbolCount()`. Cost: none.
    /// Lifetime: as long as any handle on the program.
    std::string const& symbolAt(std::size_t index) const noexcept;

    /// The value of the text. Throws only what `source` throws, and `std::bad_alloc`.
    /// Cost: one lookup for each symbol that is needed; no allocation for numbers and logicals, but for the first
    /// evaluations on a thread of a program with more than 16 symbols.
    Value eval(DataSource const& source) const;

    /// The same for a caller who sees to it that some handle on the program outlives the call, whatever `source` does:
    /// the program is not counted meanwhile.
    Value evalPinned(DataSource const& source) const;

private:
    friend class detail::Instructions;
    STUDIO_DATA_LOCAL explicit Program(detail::Instructions const* made) noexcept;   // takes over its first count

    detail::Instructions const* m_instructions;
};

}   // namespace gel
