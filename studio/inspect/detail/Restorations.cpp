#include "studio/inspect/detail/Restorations.h"

#include "studio/host/PathEnd.h"
#include "studio/inspect/detail/Values.h"

namespace studio::inspect::detail {

using boost::uuids::uuid;
using data::PropertyValue;

Restorations::Restorations(gel::Program const& text, uuid const& begin, Commit const& made,
                           ChangedContexts const& contextsBefore, ChangedContexts const& contextsAfter)
    : program{text},
      root{begin},
      commit{made},
      before{contextsBefore},
      after{contextsAfter},
      values(program.symbolCount())
{}

PropertyValue Restorations::value() const
{
    return propertyValue(program.eval(*this));
}

std::vector<std::size_t> Restorations::concerned() const
{
    auto const isRead = [this](uuid const& context, std::string const& name) {
        return readers.find(PlaceView{context, name}) != readers.end();
    };
    std::vector<std::size_t> found;
    for (std::size_t index = 0; index != commit.changes.size(); ++index) {
        PropertyChange const& change = commit.changes[index];
        if (isRead(change.context, change.name) || isRead(change.contextBefore, change.nameBefore) ||
            (change.kind == PropertyChange::Kind::Destroyed && visitors.count(change.contextBefore) != 0))
            found.push_back(index);
    }
    return found;
}

std::string Restorations::pathOf(std::size_t index) const
{
    PropertyChange const& change = commit.changes[index];
    for (host::ContextReader const* const state :
         std::initializer_list<host::ContextReader const*>{&after, &before, this})
        if (std::optional<std::string> path = pathIn(*state, change))
            return *std::move(path);
    return change.name;
}

/// Only symbols that have read a place of the change can reach it.
std::optional<std::string> Restorations::pathIn(host::ContextReader const& state, PropertyChange const& change) const
{
    for (PlaceView const& place :
         {PlaceView{change.context, change.name}, PlaceView{change.contextBefore, change.nameBefore}}) {
        auto const its = readers.find(place);
        if (its == readers.end())
            continue;
        for (std::size_t const each : its->second) {
            std::string const& symbol = program.symbolAt(each);
            reading = each;
            for (host::Walk::Step const& step : host::walkAlong(state, root, symbol).steps)
                if (PlaceView{step.context, std::string_view{symbol}.substr(step.offset, step.size)} == place)
                    return symbol.substr(0, step.offset + step.size);
        }
    }
    return std::nullopt;
}

void Restorations::count(std::size_t index, bool isUndone)
{
    PropertyChange const& change = commit.changes[index];
    count(change.context, change.name, isUndone);
    count(change.contextBefore, change.nameBefore, isUndone);
    if (change.kind != PropertyChange::Kind::Destroyed)
        return;
    isUndone ? ++restored[change.contextBefore] : --restored[change.contextBefore];
    if (auto const its = visitors.find(change.contextBefore); its != visitors.end())
        forget(its->second);
}

void Restorations::count(uuid const& context, std::string const& name, bool isUndone)
{
    std::size_t& number = undone[{context, name}];
    isUndone ? ++number : --number;
    if (auto const its = readers.find(PlaceView{context, name}); its != readers.end())
        forget(its->second);
}

void Restorations::forget(Symbols const& which)
{
    for (std::size_t const symbol : which)
        values[symbol].reset();
}

gel::Value Restorations::lookup(std::string const& symbol) const
{
    return root.is_nil() ? gel::Value{} : languageValue(host::walkAlong(*this, root, symbol).value);
}

gel::Value Restorations::fetch(std::size_t index, std::string const& symbol) const
{
    if (!values[index]) {
        reading = index;
        values[index] = lookup(symbol);
    }
    return *values[index];
}

bool Restorations::hasContext(uuid const& id) const
{
    visitors[id].insert(reading);
    auto const found = restored.find(id);
    return (found != restored.end() && found->second != 0) || after.hasContext(id);
}

std::optional<PropertyValue> Restorations::find(uuid const& context, std::string_view name) const
{
    auto its = readers.find(PlaceView{context, name});
    if (its == readers.end())
        its = readers.emplace(Place{context, name}, Symbols{}).first;
    its->second.insert(reading);
    auto const found = undone.find(PlaceView{context, name});
    return found != undone.end() && found->second != 0 ? before.find(context, name) : after.find(context, name);
}

}   // namespace studio::inspect::detail
