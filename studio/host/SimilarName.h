#pragma once

#include "studio/host/Export.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace studio::host {

/// Finds the known name that an unknown one may be a misspelling of, for messages such as
/// `unknown key "pgdown"; did you mean "pagedown"?`.
class STUDIO_HOST_EXPORT SimilarName {
public:
    /// Looks for names that are similar to `unknown`.
    explicit SimilarName(std::string_view unknown);

    /// Compares a known name. It is similar if a third of the letters of the unknown one or fewer differ, whatever
    /// their case. *Lifetime*: refers to the characters of `known`. *Cost*: the product of both lengths, unless these
    /// differ by more than that third.
    void add(std::string_view known);
    /// Returns the most similar name; empty if there is none. Of equally similar ones, one with the same first letter
    /// goes before the others, and what was added first before the rest.
    std::string_view found() const noexcept { return best; }
    /// Returns `; did you mean "NAME"?` for a message; empty if there is no similar name.
    std::string question() const;

private:
    std::string name;
    std::string_view best;
    std::size_t least;   // similar names have fewer differences
};

}   // namespace studio::host
