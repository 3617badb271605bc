#pragma once

#include "gel/Value.h"
#include "studio/host/ContextReader.h"
#include "studio/inspect/Export.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace studio::inspect {

/// A write that an explanation proposes.
struct ProposedChange {
    /// The path of the property, as the text names it.
    std::string path;
    /// The context that has the property, or that it would be added to.
    boost::uuids::uuid context;
    /// The name of the property in that context.
    std::string name;
    /// The present value; empty if there is no such property.
    std::optional<data::PropertyValue> before;
    /// The proposed value.
    data::PropertyValue after;
};

/// A set of changes that together flip the truth of a text.
struct Flip {
    /// The changes, each of a different property, in order of the symbols in the text.
    std::vector<ProposedChange> changes;
    /// The value of the text after the changes.
    gel::Value result;
};

/// Returns the smallest sets of changes of properties that flip the truth of `text`: undefined, 0, `false` and the
/// empty text count as false. All sets have the same size, at most three changes; at most `most` sets are returned. The
/// proposed values are constants of the text, values of other properties in the same sub-condition, numbers one more or
/// one less, 0, 1, `true`, `false`, the empty text, `'text'`, and undefined. Values of the present kind come first.
/// Each set was verified by an evaluation. Empty if none was found: the truth is constant, or depends on a context that
/// does not exist, or on values that the text does not name. *Throws* `gel::ParseError` for a text that does not parse,
/// and what `host::ContextReader` throws. *Cost*: at most some 20,000 evaluations.
STUDIO_INSPECT_EXPORT std::vector<Flip> flipsOf(std::string const& text,
                                                std::shared_ptr<data::ContextProvider> const& root,
                                                std::size_t most = 8);

/// Returns the smallest sets of changes of properties that flip the truth which `text` has over the context `root` as
/// `reader` reads it. *Throws* `gel::ParseError` for a text that does not parse, and what `reader` throws. *Cost*: at
/// most some 20,000 evaluations.
STUDIO_INSPECT_EXPORT std::vector<Flip> flipsOf(std::string const& text, boost::uuids::uuid const& root,
                                                host::ContextReader const& reader, std::size_t most = 8);

/// Returns the changes as a line of text for a programmer, such as
/// `editor.readOnly: true -> false, add property editor.dirty = true`.
STUDIO_INSPECT_EXPORT std::string describe(Flip const& flip);

}   // namespace studio::inspect
