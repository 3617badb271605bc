#pragma once

#include "gel/Program.h"

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

namespace gel::detail {

/// The program of a text: this thread's own if it was used of late, else parsed and kept for the next time.
/// Throws `ParseError`, and keeps nothing, if the text does not parse. After the end of the thread's cache, in
/// the destructors of static objects, it parses each time.
Program programOf(std::string const& text);

/// Parsed texts of one thread, bounded in two generations: what is used moves to the young one; when that is full it
/// becomes the old one, and what was not used for a whole generation is dropped.
class ProgramCache {
public:
    using Parsed = std::shared_ptr<Instructions const>;

    static constexpr std::size_t GENERATION = 4'096;

    /// What is kept for `text`, parsed if need be. The reference holds until the next call.
    Parsed const& of(std::string const& text);

private:
    using Generation = std::unordered_map<std::string, Parsed>;

    void makeRoom();

    Generation m_young;
    Generation m_old;
};

}   // namespace gel::detail
