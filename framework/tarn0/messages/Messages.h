#pragma once

#include "tarn0/messages/Message.h"

#include <string>

// Each message is a sentence. Some take a `subject`: what was refused and on which element. The text ends with it, but
// it is no argument: handlers read the id and the arguments.

namespace tarn0::messages {

/// A setter or a collection change was applied to a proxy.
class STUDIO_DATA_EXPORT CannotModifyProxy : public Message {
public:
    /// `subject` names the element.
    explicit CannotModifyProxy(std::string const& subject = {});
};

/// A keyed map would hold two elements under one key.
class STUDIO_DATA_EXPORT UniquenessConstraint : public Message {
public:
    /// `subject` names the refused element and its destination.
    explicit UniquenessConstraint(std::string const& subject = {});
};

/// A value was read as a type that it does not hold.
class STUDIO_DATA_EXPORT CannotCastIncompatibleTypes : public Message {
public:
    /// `heldType` is the qualified name of the value's own type.
    explicit CannotCastIncompatibleTypes(std::u16string heldType);

    /// The qualified name of the value's own type.
    std::u16string const& heldType() const noexcept { return m_heldType; }

private:
    std::u16string m_heldType;
};

/// A value or an element of the wrong type was given to a collection.
class STUDIO_DATA_EXPORT CannotAddIncompatibleTypes : public Message {
public:
    /// `givenType` and `wantedType` are qualified names; `subject` names the collection.
    CannotAddIncompatibleTypes(std::u16string givenType, std::u16string wantedType, std::string const& subject = {});

    /// The qualified name of the given type.
    std::u16string const& givenType() const noexcept { return m_givenType; }
    /// The qualified name of the type that the collection accepts.
    std::u16string const& wantedType() const noexcept { return m_wantedType; }

private:
    std::u16string m_givenType;
    std::u16string m_wantedType;
};

/// A null or a destroyed element was given to a collection.
class STUDIO_DATA_EXPORT CannotAddNonExistentObject : public Message {
public:
    /// `subject` names the element and its destination.
    explicit CannotAddNonExistentObject(std::string const& subject = {});
};

/// An element was added a second time to a unique sequence.
class STUDIO_DATA_EXPORT CannotAddSecondObject : public Message {
public:
    /// `subject` names the element and the sequence.
    explicit CannotAddSecondObject(std::string const& subject = {});
};

/// An element was associated with one of another model where no proxy is allowed.
class STUDIO_DATA_EXPORT CannotCreateCrossModelAssociation : public Message {
public:
    /// `subject` names the element and its destination.
    explicit CannotCreateCrossModelAssociation(std::string const& subject = {});
};

/// A value cannot be read, or has no such representation.
class STUDIO_DATA_EXPORT InvalidValue : public Message {
public:
    /// `subject` names the value and its purpose.
    explicit InvalidValue(std::string const& subject = {});
};

/// A type was requested from the meta registry that is not registered.
class STUDIO_DATA_EXPORT NoSuchType : public Message {
public:
    /// `typeName` is the requested name.
    explicit NoSuchType(std::u16string typeName);

    /// The requested name.
    std::u16string const& typeName() const noexcept { return m_typeName; }

private:
    std::u16string m_typeName;
};

/// An element would be contained by itself or by one of its own contents.
class STUDIO_DATA_EXPORT CircularContainment : public Message {
public:
    /// `subject` names the element and the container.
    explicit CircularContainment(std::string const& subject = {});
};

/// A frozen model was modified.
class STUDIO_DATA_EXPORT ModelFrozen : public Message {
public:
    /// `subject` is the name of the model, often empty.
    explicit ModelFrozen(std::string const& subject = {});
};

}   // namespace tarn0::messages
