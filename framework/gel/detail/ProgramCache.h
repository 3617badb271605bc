#pragma once

#include "foundation/Hash.h"
#include "gel/Program.h"
#include "gel/detail/ProgramTable.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace gel::detail {

/// The program of a text: from the thread's cache if it is there, else parsed and cached.
/// *Throws* `ParseError`, and caches nothing, if the text does not parse. After the end of the thread's cache, in the
/// destructors of static objects, every call parses.
Program programOf(std::string const& text);

/// Evaluates the program of a text. A lookup may evict the text from the cache.
Value evaluateText(std::string const& text, DataSource const& source);

/// Per-thread cache of parsed texts, bounded by two generations. A used text moves to the young generation; when that
/// is full it becomes the old one, and the previous old one is dropped.
class ProgramCache {
public:
    static constexpr std::size_t GENERATION = 4'096;

    ProgramCache() = default;
    ProgramCache(ProgramCache const&) = delete;
    ProgramCache& operator=(ProgramCache const&) = delete;

    /// The program of `text`, parsed if necessary; valid at least until the next call.
    Instructions const& of(std::string const& text)
    {
        std::uint64_t const hash = foundation::hashOf(text);
        Instructions const* const found = m_young.find(text, hash);
        return found ? *found : fetch(text, hash);
    }

    /// Evaluates what `of` returned. To save an atomic increment the program is not referenced up front; `makeRoom`
    /// takes references for all running evaluations before it drops programs.
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
