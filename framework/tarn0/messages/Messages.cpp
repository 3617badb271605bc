#include "tarn0/messages/Messages.h"

#include "fl/i18n/Unicode.h"

#include <utility>

namespace tarn0::messages {

namespace {

std::string quoted(std::u16string const& name)
{
    // A name that is no text must not hide the failure it belongs to.
    return '"' + fl::i18n::ustring_to_utf8_lossy(name) + '"';
}

}   // namespace

Message::Message(char const* key, std::string text) : m_id{CATALOGUE, key}, m_text{std::move(text)} {}

CannotModifyProxy::CannotModifyProxy()
    : Message{"CannotModifyProxy", "The element stands for one of another model and cannot be modified here."}
{}

UniquenessConstraint::UniquenessConstraint()
    : Message{"UniquenessConstraint", "Another element is already entered under this key."}
{}

CannotCastIncompatibleTypes::CannotCastIncompatibleTypes(std::u16string heldType)
    : Message{"CannotCastIncompatibleTypes",
              "A value of type " + quoted(heldType) + " cannot be read as another type."},
      m_heldType{std::move(heldType)}
{}

CannotAddIncompatibleTypes::CannotAddIncompatibleTypes(std::u16string givenType, std::u16string wantedType)
    : Message{"CannotAddIncompatibleTypes", "Something of type " + quoted(givenType) +
                                                " cannot be added to a collection of " + quoted(wantedType) + "."},
      m_givenType{std::move(givenType)},
      m_wantedType{std::move(wantedType)}
{}

CannotAddNonExistentObject::CannotAddNonExistentObject()
    : Message{"CannotAddNonExistentObject", "A null or destroyed element cannot be added to a collection."}
{}

CannotAddSecondObject::CannotAddSecondObject()
    : Message{"CannotAddSecondObject", "The sequence already holds this element."}
{}

CannotCreateCrossModelAssociation::CannotCreateCrossModelAssociation()
    : Message{"CannotCreateCrossModelAssociation", "The two elements belong to different models."}
{}

InvalidValue::InvalidValue() : Message{"InvalidValue", "The value is not valid here."} {}

NoSuchType::NoSuchType(std::u16string typeName)
    : Message{"NoSuchType", "No type is registered under the name " + quoted(typeName) + "."},
      m_typeName{std::move(typeName)}
{}

CircularContainment::CircularContainment()
    : Message{"CircularContainment", "An element cannot be contained by itself or by one of its own contents."}
{}

ModelFrozen::ModelFrozen() : Message{"ModelFrozen", "The model is frozen and cannot be modified."} {}

}   // namespace tarn0::messages
