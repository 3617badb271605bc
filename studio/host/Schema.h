#pragma once

#include "studio/host/ContextKey.h"
#include "studio/host/Export.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace studio::host {

/// The names that expressions of a host may use: its declared keys, and the paths at which their contexts stand. Finds
/// mistakes in texts before they are subscribed.
class STUDIO_HOST_EXPORT Schema {
public:
    /// A mistake in a text.
    struct Problem {
        /// A sentence for the author of the text, such as
        /// `unknown name "editor.readonly"; did you mean "editor.readOnly"?`
        std::string message;
        /// The position of the mistake in the text, in bytes.
        std::size_t offset;
        /// The number of its bytes.
        std::size_t size;
    };

    /// Adds a key of the context at the path `at`, of the root for an empty one. The contexts along the path are known
    /// names from then on. *Throws* `std::invalid_argument` for a path with an empty component, and for a name that the
    /// schema has with another kind, and as the constructor of a `ContextKey`; nothing is added then.
    void add(KeyDescription const& key, std::string_view at = {});
    /// Adds a key by its object.
    template <class T>
    void add(ContextKey<T> const& key, std::string_view at = {})
    {
        add(key.description(), at);
    }

    /// Returns the key at a path; null if there is none.
    KeyDescription const* find(std::string_view path) const;

    /// Returns the mistakes in a text, in order of their positions: names that the schema does not have, with the most
    /// similar one that it has, and comparisons whose result never changes, because their sides are never of one kind
    /// or because a key does not allow the constant. *Throws* `gel::ParseError` for a text that does not parse.
    std::vector<Problem> check(std::string const& text) const;
    /// Refuses a text that has mistakes. *Throws* `std::invalid_argument` with the messages of `check`, a line each,
    /// and `gel::ParseError` for a text that does not parse.
    void require(std::string const& text) const;

    /// Returns all keys as a JSON document, by path: kind, default, description and allowed values, for editors of
    /// settings and for completion. A reference has no default.
    std::string json() const;

private:
    class Checker;

    std::map<std::string, KeyDescription, std::less<>> keys;   // by path
};

}   // namespace studio::host
