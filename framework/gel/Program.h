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

/// A parsed text, for callers that evaluate it repeatedly without a cache lookup.
/// A counted handle that is never empty: copying shares the parsed program, moving copies. The program is immutable, so
/// copies may be evaluated on several threads at once, and one from inside its own `lookup`.
class STUDIO_DATA_EXPORT Program {
public:
    /// The program of `text`, from the thread's cache if it contains the text.
    /// *Throws* `ParseError` if the text does not parse.
    explicit Program(std::string const& text);

    Program(Program const& other) noexcept;
    Program& operator=(Program const& other) noexcept;
    ~Program();

    /// The parsed text. *Lifetime*: until the last handle on the program is destroyed.
    std::string const& text() const noexcept;

    /// The symbols that the text names, each once, including those in parts that an evaluation would skip.
    std::set<std::string> symbols() const;

    /// The number of symbols that the text names. They are numbered in order of first occurrence; an evaluation passes
    /// the number to `DataSource::fetch`. *Cost*: constant.
    std::size_t symbolCount() const noexcept;
    /// The symbol with number `index`, which is below `symbolCount()`. *Cost*: constant.
    /// *Lifetime*: until the last handle on the program is destroyed.
    std::string const& symbolAt(std::size_t index) const noexcept;

    /// Evaluates the program. *Throws* only what `source` throws, and `std::bad_alloc`.
    /// *Cost*: one lookup for each symbol needed. Numbers and logicals allocate nothing, except in a thread's first
    /// evaluations of a program with more than 16 symbols.
    Value eval(DataSource const& source) const;

    /// Evaluates without counting a reference. *Requires* that some handle on the program outlives the call, whatever
    /// `source` does. *Throws* and costs as `eval`.
    Value evalPinned(DataSource const& source) const;

private:
    friend class detail::Instructions;
    STUDIO_DATA_LOCAL explicit Program(detail::Instructions const* made) noexcept;   // takes over its first reference

    detail::Instructions const* m_instructions;
};

}   // namespace gel
