#pragma once

#include "gel/DataSource.h"
#include "gel/Program.h"
#include "studio/data/PropertyValue.h"
#include "studio/host/ContextReader.h"
#include "studio/inspect/Watcher.h"
#include "studio/inspect/detail/ChangedContexts.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace studio::inspect::detail {

/// The value of a text after a commit of which any set of changes is undone. Undoing a change costs as much as the
/// symbols that it concerns: all others keep the values that they were looked up with.
class Restorations final : private gel::DataSource, private host::ContextReader {
public:
    /// At first nothing is undone. *Lifetime*: refers to all of them.
    Restorations(gel::Program const& program, boost::uuids::uuid const& root, Commit const& commit,
                 ChangedContexts const& before, ChangedContexts const& after);

    /// Undoes the change at `index` of the commit: its places read as before the commit. If a property was destroyed,
    /// its context exists again.
    void undo(std::size_t index) { count(index, true); }
    /// Takes `undo` of that change back.
    void redo(std::size_t index) { count(index, false); }
    /// Returns the value of the text in this state.
    data::PropertyValue value() const;
    /// Returns the changes that the value may depend on in one of the states in which it was evaluated, as ascending
    /// indexes.
    std::vector<std::size_t> concerned() const;
    /// Returns the path of a property that a change concerns, as the text reaches it: after the commit, before it, or
    /// in this state. Returns its name if the text reaches it in none of them.
    std::string pathOf(std::size_t index) const;

private:
    using Place = std::pair<boost::uuids::uuid, std::string>;
    using PlaceView = std::pair<boost::uuids::uuid, std::string_view>;
    using Symbols = std::set<std::size_t>;   // by index in the program
    template <class Value>
    using ByPlace = std::map<Place, Value, PlaceLess>;

    void count(std::size_t index, bool isUndone);
    void count(boost::uuids::uuid const& context, std::string const& name, bool isUndone);
    void forget(Symbols const& which);
    std::optional<std::string> pathIn(host::ContextReader const& state, PropertyChange const& change) const;

    gel::Value lookup(std::string const& symbol) const override;
    gel::Value fetch(std::size_t index, std::string const& symbol) const override;
    bool hasContext(boost::uuids::uuid const& id) const override;
    std::optional<data::PropertyValue> find(boost::uuids::uuid const& context, std::string_view name) const override;

    gel::Program const& program;
    boost::uuids::uuid const root;
    Commit const& commit;
    ChangedContexts const& before;
    ChangedContexts const& after;
    ByPlace<std::size_t> undone;                              // places, with the number of undone changes at each
    std::map<boost::uuids::uuid, std::size_t> restored;       // contexts that exist again, with that number
    mutable std::vector<std::optional<gel::Value>> values;    // by symbol; empty if it has to be looked up
    mutable ByPlace<Symbols> readers;                         // the symbols that have read a place
    mutable std::map<boost::uuids::uuid, Symbols> visitors;   // the symbols that depend on whether a context exists
    mutable std::size_t reading = 0;                          // the symbol that is being looked up
};

}   // namespace studio::inspect::detail
