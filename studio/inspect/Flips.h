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

/// Changes that together turn the truth of a text around.
struct Flip {
    /// The changes, each of a different property, in order of the symbols in the text.
    std::vector<ProposedChange> changes;
    /// The value of the text after them.
    gel::Value result;
};

/// Returns the smallest sets of changes of properties after which the truth of `text` is the opposite, as gel reads
/// truth: undefined, 0, `false` and the empty text are false. All sets have the same size, three changes at the most;
/// there are `most` of them at the most. The proposed values are constants of the text and their neighbours (`true`,
/// `false`, undefined, a number one more or one less), and each set was verified by an evaluation. Empty if none was
/// found: the truth is constant, needs a context that does not exist, or values that the text does not name. *Throws*
/// `gel::ParseError` for a text that does not parse, and as `host::ContextReader`. *Cost*: at most some 20,000
/// evaluations.
STUDIO_INSPECT_EXPORT std::vector<Flip> flipsOf(std::string const& text,
                                                std::shared_ptr<data::ContextProvider> const& root,
                                                std::size_t most = 8);

/// Returns the sets over the context `root` as `reader` reads it.
STUDIO_INSPECT_EXPORT std::vector<Flip> flipsOf(std::string const& text, boost::uuids::uuid const& root,
                                                host::ContextReader const& reader, std::size_t most = 8);

/// Returns a line for a programmer: `editor.readOnly: true -> false, editor.dirty: false -> true`.
STUDIO_INSPECT_EXPORT std::string describe(Flip const& flip);

}   // namespace studio::inspect
