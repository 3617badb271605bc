#pragma once

#include "foundation/Export.h"
#include "gel/DataSource.h"
#include "gel/Value.h"

#include <cstddef>
#include <memory>
#include <set>
#include <string>

namespace gel {

class Program;

namespace detail {
struct Instructions;
Program programOf(std::string const& text);
}   // namespace detail

/// A parsed text to keep: who evaluates one text again and again need not have it looked up each time.
/// A counted handle that is never empty: copying shares what was parsed, moving copies. What it shares never changes,
/// so copies of a program may be evaluated on several threads at once, and the same one from inside a `lookup`.
class STUDIO_DATA_EXPORT Program {
public:
    /// The program of a text, from the thread's cache when it holds the text.
    /// Throws `ParseError` if the text does not parse.
    explicit Program(std::string const& text);

    Program(Program const&) noexcept = default;
    Program& operator=(Program const&) noexcept = default;
    ~Program();

    /// Every symbol that the text names, each once, also those in parts that an evaluation would skip.
    std::set<std::string> symbols() const;

    /// How many symbols the text names. They are numbered in the order in which it first names them: an evaluation
    /// hands the number of a symbol to `DataSource::fetch`. Cost: none.
    std::size_t symbolCount() const noexcept;
    /// The symbol of that number, which is below `symbolCount()`. Cost: none.
    /// Lifetime: as long as any handle on the program.
    std::string const& symbolAt(std::size_t index) const noexcept;

    /// The value of the text. Throws only what `source` throws, and `std::bad_alloc`.
    /// Cost: one lookup for each symbol that is needed; up to 16 symbols, no allocation for numbers and logicals.
    Value eval(DataSource const& source) const;

    /// The same for a caller who sees to it that some handle on the program outlives the call, whatever `source` does:
    /// the program is not counted meanwhile.
    Value evalPinned(DataSource const& source) const;

private:
    friend Program detail::programOf(std::string const& text);
    STUDIO_DATA_LOCAL explicit Program(std::shared_ptr<detail::Instructions const> instructions) noexcept;

    std::shared_ptr<detail::Instructions const> m_instructions;
};

}   // namespace gel
