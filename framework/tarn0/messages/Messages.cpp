#include "tarn0/messages/Messages.h"

#include "fl/i18n/Unicode.h"

#include <utility>

namespace tarn0::messages {

namespace {

std::string quoted(std::u16string const& name)
{
    // An ill-formed name must not hide the failure it belongs to.
    return '"' + fl::i18n::ustring_to_utf8_lossy(name) + '"';
}

}   // namespace

Message::Message(char const* key, std::string const& sentence, std::string const& subject)
    : m_id{CATALOGUE, key}, m_text{sentence + (subject.empty() ? "" : ": ") + subject + '.'}
{}

CannotModifyProxy::CannotModifyProxy(std::string const& subject)
    : Message{"CannotModifyProxy", "The element stands for one of another model and cannot be modified here", subject}
{}

UniquenessConstraint::UniquenessConstraint(std::string const& subject)
    : Message{"UniquenessConstraint", "Another element is already entered under this key", subject}
{}

CannotCastIncompatibleTypes::CannotCastIncompatibleTypes(std::u16string heldType)
    : Message{"CannotCastIncompatibleTypes", "A value of type " + quoted(heldType) + " cannot be read as another type"},
      m_heldType{std::move(heldType)}
{}

CannotAddIncompatibleTypes::CannotAddIncompatibleTypes(std::u16string givenType, std::u16string wantedType,
                                                       std::string const& subject)
    : Message{"CannotAddIncompatibleTypes",
              "Something of type " + quoted(givenType) + " cannot be added to a collection of " + quoted(wantedType),
              subject},
      m_givenType{std::move(givenType)},
      m_wantedType{std::move(wantedType)}
{}

CannotAddNonExistentObject::CannotAddNonExistentObject(std::string const& subject)
    : Message{"CannotAddNonExistentObject", "A null or destroyed element cannot be added to a collection", subject}
{}

CannotAddSecondObject::CannotAddSecondObject(std::string const& subject)
    : Message{"CannotAddSecondObject", "The sequence already holds this element", subject}
{}

CannotCreateCrossModelAssociation::CannotCreateCrossModelAssociation(std::string const& subject)
    : Message{"CannotCreateCrossModelAssociation", "The two elements belong to different models", subject}
{}

InvalidValue::InvalidValue(std::string const& subject) : Message{"InvalidValue", "The value is not valid here", subject}
{}

NoSuchType::NoSuchType(std::u16string typeName)
    : Message{"NoSuchType", "No type is registered under the name " + quoted(typeName)}, m_typeName{std::move(typeName)}
{}

CircularContainment::CircularContainment(std::string const& subject)
    : Message{"CircularContainment", "An element cannot be contained by itself or by one of its own contents", subject}
{}

ModelFrozen::ModelFrozen(std::string const& subject)
    : Message{"ModelFrozen", "The model is frozen and cannot be modified", subject}
{}

}   // namespace tarn0::messages
