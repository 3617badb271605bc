#pragma once

#include "tarn0/messages/Message.h"

#include <string>

// Each message is a sentence. Those that can say more take a `subject`, what was refused and on which element, and end
// with it; it is no argument: what handles a message reads its id and its arguments.

namespace tarn0::messages {

/// A setter or a collection change was applied to a placeholder of an element of another model.
class STUDIO_DATA_EXPORT CannotModifyProxy : public Message {
public:
    /// `subject` names the element.
    explicit CannotModifyProxy(std::string const& subject = {});
};

/// A keyed map would hold two elements under one key.
class STUDIO_DATA_EXPORT UniquenessConstraint : public Message {
public:
    /// `subject` names the element that was not taken, and where it was to go.
    explicit UniquenessConstraint(std::string const& subject = {});
};

/// A value was asked for a type that it does not hold.
class STUDIO_DATA_EXPORT CannotCastIncompatibleTypes : public Message {
public:
    /// Of a value of the type of that qualified name.
    explicit CannotCastIncompatibleTypes(std::u16string heldType);

    /// The qualified name of the value's own type.
    std::u16string const& heldType() const noexcept { return m_heldType; }

private:
    std::u16string m_heldType;
};

/// A value or an element of the wrong type was given to a collection.
class STUDIO_DATA_EXPORT CannotAddIncompatibleTypes : public Message {
public:
    /// Of the qualified names of two types; `subject` names the collection.
    CannotAddIncompatibleTypes(std::u16string givenType, std::u16string wantedType, std::string const& subject = {});

    /// The qualified name of the type of what was given.
    std::u16string const& givenType() const noexcept { return m_givenType; }
    /// The qualified name of the type that the collection takes.
    std::u16string const& wantedType() const noexcept { return m_wantedType; }

private:
    std::u16string m_givenType;
    std::u16string m_wantedType;
};

/// A null or a destroyed element was given to a collection.
class STUDIO_DATA_EXPORT CannotAddNonExistentObject : public Message {
public:
    /// `subject` names the element, and where it was to go.
    explicit CannotAddNonExistentObject(std::string const& subject = {});
};

/// An element that a unique sequence already holds was given to it again.
class STUDIO_DATA_EXPORT CannotAddSecondObject : public Message {
public:
    /// `subject` names the element and the sequence.
    explicit CannotAddSecondObject(std::string const& subject = {});
};

/// An element was associated with one of another model where no proxy is allowed.
class STUDIO_DATA_EXPORT CannotCreateCrossModelAssociation : public Message {
public:
    /// `subject` names the element, and where it was to go.
    explicit CannotCreateCrossModelAssociation(std::string const& subject = {});
};

/// A value cannot be read, or has no such form.
class STUDIO_DATA_EXPORT InvalidValue : public Message {
public:
    /// `subject` names the value, and what it was for.
    explicit InvalidValue(std::string const& subject = {});
};

/// The meta registry was asked for a type that nobody registered.
class STUDIO_DATA_EXPORT NoSuchType : public Message {
public:
    /// Of the name that was asked for.
    explicit NoSuchType(std::u16string typeName);

    /// The name that was asked for.
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

/// A frozen model was modified while nobody had thawed it.
class STUDIO_DATA_EXPORT ModelFrozen : public Message {
public:
    /// `subject` is the name of the model; most have none.
    explicit ModelFrozen(std::string const& subject = {});
};

}   // namespace tarn0::messages
