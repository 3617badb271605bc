#include "workbench/RecordedState.h"

namespace workbench {

using studio::data::PropertyValue;
using Kind = Operation::Kind;

namespace {

constexpr std::size_t BYTES = sizeof(std::size_t);
constexpr std::size_t FIRST = boost::uuids::uuid::static_size() - BYTES;   // of the bytes that hold the number
constexpr unsigned char MARK = 0x80;                                       // no id is nil

}   // namespace

RecordedState::RecordedState(Recording const& recording, std::size_t steps)
{
    contexts[idOf(0)];
    for (Operation const& operation : recording.initial)
        apply(operation);
    for (std::size_t i = 0; i < steps; ++i)
        for (Operation const& operation : recording.steps[i].operations)
            apply(operation);
}

boost::uuids::uuid RecordedState::idOf(std::size_t context)
{
    boost::uuids::uuid id{};
    id.begin()[0] = MARK;
    for (std::size_t i = 0; i < BYTES; ++i)
        id.begin()[FIRST + i] = static_cast<unsigned char>(context >> (8 * (BYTES - 1 - i)));
    return id;
}

std::size_t RecordedState::numberOf(boost::uuids::uuid const& id)
{
    std::size_t number = 0;
    for (std::size_t i = 0; i < BYTES; ++i)
        number = number << 8U | id.begin()[FIRST + i];
    return number;
}

RecordedState::Properties const* RecordedState::properties(boost::uuids::uuid const& id) const
{
    auto const found = contexts.find(id);
    return found == contexts.end() ? nullptr : &found->second;
}

std::optional<PropertyValue> RecordedState::find(boost::uuids::uuid const& context, std::string_view name) const
{
    if (Properties const* const known = properties(context))
        if (auto const found = known->find(name); found != known->end())
            return found->second;
    return std::nullopt;
}

void RecordedState::apply(Operation const& operation)
{
    Properties& context = contexts[idOf(operation.context)];
    switch (operation.kind) {
    case Kind::set: context[operation.name] = operation.value; break;
    case Kind::link: context[operation.name] = idOf(operation.target); break;
    case Kind::remove: context.erase(operation.name); break;
    case Kind::drop: contexts.erase(idOf(operation.context)); break;
    case Kind::create:
    case Kind::activate: break;
    }
}

}   // namespace workbench
