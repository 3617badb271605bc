#pragma once

#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn0/messages/Messages.h"

#include <stdexcept>
#include <string>

/// Helpers for tests of elements: make them, print them, and classify how an operation ended.
namespace support {

using studio::data::ContextData;
using studio::data::Property;
using studio::data::PropertyValue;
using tarn::zero::Model;
using tarn::zero::Transaction;

inline Model newModel()
{
    return Model::create(tarn::zero::ModelSpec{});
}

inline boost::uuids::uuid uuid(std::uint8_t last)
{
    boost::uuids::uuid id{};
    id.data[15] = last;
    return id;
}

/// Makes all changes in one transaction.
template <class Change>
void commit(Model const& model, Change const& change)
{
    Transaction transaction = model->beginTransaction(true);
    change();
    transaction.commit(boost::none);
}

/// Makes all changes in one transaction and rolls it back.
template <class Change>
void rollBack(Model const& model, Change const& change)
{
    Transaction const transaction = model->beginTransaction(true);
    change();
}

inline ContextData newContext(Model const& model)
{
    return ContextData::create(model, {});
}

/// Makes an uncontained property.
inline Property newProperty(Model const& model, std::string const& name, PropertyValue const& value = {})
{
    Property const property = Property::create(model, {});
    property->setName(name);
    property->setValue(value);
    return property;
}

/// Makes a property in a context.
inline Property add(ContextData const& context, std::string const& name, PropertyValue const& value = {})
{
    Property const property = newProperty(context->getModel(), name, value);
    context->getPropertiesMutable().add(property);
    return property;
}

/// Returns a value that holds `payload` itself.
// Not inlined: GCC would warn of reading an element from a box that holds a smaller value, which the type check
// prevents.
template <class T>
[[gnu::noinline]] tarn::zero::Value boxed(T const& payload)
{
    return tarn::zero::Value{tarn::zero::ValueMeta{}, payload};
}

/// Returns "x,y: a=1 b=2": the active contexts, and the properties in the order of the map, under the keys that find
/// them.
inline std::string shown(ContextData const& context)
{
    std::string text;
    for (std::string const& name : context->getActiveContexts())
        text += (text.empty() ? "" : ",") + name;
    text += ':';
    for (Property const& property : context.properties()) {
        bool const isFound = context.properties()->find(property.name()) == property && property.owner() == context;
        text += ' ' + property.name() + (isFound ? "=" : "?") + property->getValue().asString();
    }
    return text;
}

/// Context c with a=1 and b=2 and the active contexts x and y, an empty context d, and an uncontained property.
struct World {
    Model model = newModel();
    ContextData c = newContext(model);
    ContextData d = newContext(model);
    Property a = add(c, "a", 1);
    Property b = add(c, "b", 2);
    Property lone = newProperty(model, "lone", 3);

    World()
    {
        c->getActiveContextsMutable().push_back("x");
        c->getActiveContextsMutable().push_back("y");
    }
    std::string state() const { return shown(c) + " | " + shown(d) + " | " + lone.name() + (lone.owner() ? "*" : ""); }
};

/// Returns the key of that one of these messages that was thrown; empty for another exception.
template <class... Messages>
std::string keyOf(std::exception const& thrown)
{
    std::string key;
    auto const look = [&](auto const* exception) { key = exception ? exception->GetID() : key; };
    (look(dynamic_cast<foundation::core::except::Exception<Messages> const*>(&thrown)), ...);
    return key;
}

/// Returns what `operation` threw: the key of a message, "logic_error" or "out_of_range"; empty if nothing. Rethrows
/// other exceptions.
template <class Operation>
std::string thrownBy(Operation const& operation)
{
    using namespace tarn0::messages;
    try {
        operation();
        return {};
    } catch (std::out_of_range const&) {
        return "out_of_range";
    } catch (std::logic_error const&) {
        return "logic_error";
    } catch (std::exception const& thrown) {
        std::string const key =
            keyOf<CannotModifyProxy, UniquenessConstraint, CannotCastIncompatibleTypes, CannotAddIncompatibleTypes,
                  CannotAddNonExistentObject, CannotAddSecondObject, CannotCreateCrossModelAssociation,
                  CircularContainment, InvalidValue, ModelFrozen, NoSuchType>(thrown);
        if (key.empty())
            throw;
        return key;
    }
}

}   // namespace support
