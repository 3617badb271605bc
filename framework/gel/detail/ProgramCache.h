#pragma once

#include "gel/Program.h"
#include "gel/detail/ProgramTable.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace gel::detail {

/// The program of a text: this thread's own if it was used of late, else parsed and kept for the next time.
/// Throws `ParseError`, and keeps nothing, if the text does not parse. After the end of the thread's cache, in
/// the destructors of static objects, it parses each time.
Program programOf(std::string const& text);

/// The value of that program. A lookup may drop the text from the cache.
Value evaluateText(std::string const& text, DataSource const& source);

/// Parsed texts of one thread, bounded in two generations: what is used is in the young one; when that is full it
/// becomes the old one, and what was not used for a whole generation is dropped.
class ProgramCache {
public:
    static constexpr std::size_t GENERATION = 4'096;

    ProgramCache() = default;
    ProgramCache(ProgramCache const&) = delete;
    ProgramCache& operator=(ProgramCache const&) = delete;

    /// What is kept for `text`, parsed if need be, until the next call at least.
    Instructions const& of(std::string const& text)
    {
        std::uint64_t const hash = hashOf(text);
        Instructions const* const found = m_young.find(text, hash);
        return found ? *found : fetch(text, hash);
    }

    /// The value of what `of` has just returned. It is held not at once, which would cost as much as evaluating a small
    /// program, but when programs are dropped meanwhile.
    Value evaluate(Instructions const& program, DataSource const& source);

private:
    class Running;

    Instructions const& fetch(std::string const& text, std::uint64_t hash);
    void makeRoom();

    ProgramTable m_young;
    ProgramTable m_old;
    Running* m_running = nullptr;   // the evaluation that began last
};

}   // namespace gel::detail
