#pragma once

#include "studio/data/PropertyValue.h"
#include "studio/data/model/ContextData.h"
#include "studio/data/model/Property.h"
#include "tarn/zero/Query.h"
#include "tarn/zero/features/BuilderOf.h"
#include "tarn/zero/features/ElementImplOf.h"

#include <memory>
#include <string>

namespace studio::data {

class PropertyBackref;

/// The back references from a property to the records of engines and views. They are unlinked when it is destroyed.
class PropertyBackrefs {
public:
    PropertyBackrefs() = default;
    PropertyBackrefs(PropertyBackrefs const&) = delete;
    PropertyBackrefs& operator=(PropertyBackrefs const&) = delete;
    STUDIO_DATA_LOCAL ~PropertyBackrefs();

private:
    friend class PropertyBackref;

    PropertyBackref* first = nullptr;
};

/// A property's fields and the rules for changing them. Every setter joins the open transaction or opens one of its
/// own. It *throws* `CannotModifyProxy` on a proxy and `std::logic_error` on a destroyed element; after any exception
/// the state is unchanged.
class STUDIO_DATA_EXPORT Property::Impl final : public tarn::zero::ElementImplOf<Property::Impl> {
public:
    class Storage;
    class Changes;
    class BuilderImpl;
    template <class B>
    class BuilderBase;
    using Handle = Property;

    static constexpr unsigned long NAME = 1;
    static constexpr unsigned long VALUE = 2;
    static constexpr unsigned long OWNER = 3;

    using ElementImplOf::ElementImplOf;

    /// Makes a property of `model` that has a name and a value from the start; a nil UUID stands for a fresh one. If it
    /// throws, nothing is made.
    [[nodiscard]] static Property createWith(tarn::zero::Model const& model, boost::uuids::uuid const& uuid,
                                             std::string const& name, PropertyValue const& value);

    static constexpr auto features()
    {
        using namespace tarn::zero;
        return std::tuple{Attribute<NAME, &Impl::name, RevertWhenEqual, &Impl::setName>{},
                          Attribute<VALUE, &Impl::value, RevertWhenEqual, &Impl::setValue>{},
                          Container<OWNER, ContextData, &Impl::setOwner>{}};
    }
    static tarn::zero::ModelElement::Impl* classImpl() noexcept;
    static tarn::zero::meta::Property propertyAt(unsigned long index);

    /// Returns the name; the last one for a destroyed property.
    std::string const& getName() const noexcept { return name; }
    /// Returns the value in place; the last one for a destroyed property.
    PropertyValue const& getValue() const noexcept { return value; }
    /// Returns the context that holds the property; null if none does.
    ContextData getOwner() const noexcept;
    /// Returns the owner, borrowed; null if uncontained.
    ContextData::Impl* ownerImpl() const noexcept;
    bool hasOwner() const noexcept { return !isTopLevel(); }

    /// Renames the property; its owner then finds it under the new name. Does nothing for the present name. *Throws*
    /// `UniquenessConstraint` if the owner has another property of that name.
    void setName(std::string const& newName);
    /// Changes the value. Does nothing for an equal value; NaN equals no value.
    void setValue(PropertyValue const& newValue);
    /// Moves the property to another context of its model; null takes it out of the present one. *Throws*
    /// `UniquenessConstraint` if the new owner has a property of that name, `CannotCreateCrossModelAssociation` for a
    /// context of another model.
    void setOwner(ContextData const& newOwner);
    /// Sets the link to the owner without notifying anyone.
    void basicSetOwner(ContextData const& newOwner) noexcept;

    /// Returns a copy in `model` without an owner; with this property's UUID if `cloneUUID`, otherwise with a fresh
    /// one.
    Property cloneTo(tarn::zero::Model const& model, bool cloneUUID) const;

private:
    friend class PropertyBackref;

    ~Impl() override;
    bool endsInOneStep() const noexcept override { return true; }

    // Members used by reports, evaluations and mirrors come first.
    PropertyBackrefs backrefs;
    PropertyValue value;
    std::string name;
};

class Property::Impl::Storage final : public tarn::zero::StorageOf<Property::Impl> {
public:
    using StorageOf::StorageOf;
};
class Property::Impl::Changes final : public tarn::zero::ChangesOf<Property::Impl> {
public:
    using ChangesOf::ChangesOf;
};

/// The values of a property that is yet to be made.
class STUDIO_DATA_EXPORT Property::Impl::BuilderImpl {
public:
    /// The name.
    std::string name;
    /// The value.
    PropertyValue value;
};

/// The shared part of property builders, also for classes derived from this one.
template <class B>
class Property::Impl::BuilderBase : public tarn::zero::BuilderOf<Property::Impl, B> {
public:
    /// Makes the property; see `ModelElement::Builder::doCreate`.
    Property createProperty(bool notify, boost::uuids::uuid const& uuid) { return this->make(notify, uuid); }

protected:
    using tarn::zero::BuilderOf<Property::Impl, B>::BuilderOf;
};

/// Makes a property with its name and value in one step.
class STUDIO_DATA_EXPORT Property::Builder : public Property::Impl::BuilderBase<Property::Builder> {
public:
    Builder();
    explicit Builder(tarn::zero::Model const& model);

    /// Sets the name.
    void doSetName(std::string const& name);
    /// Returns the name that the property will have.
    std::string const& getName() const noexcept { return m_values.name; }
    /// Sets the value.
    void doSetValue(PropertyValue const& value);
    /// Returns the value that the property will have.
    PropertyValue const& getValue() const noexcept { return m_values.value; }

    /// Sets a value by its meta property. Returns the property's index, or -1 for one that does not fit.
    long doSetOrAdd(tarn::zero::meta::Property const& property, tarn::zero::Value const& value);
    long doSetOrAdd(tarn::zero::meta::Property const& property,
                    std::unique_ptr<tarn::zero::ModelElement::Builder>& builder);
    /// Writes the values into the new element.
    void fill(Impl& property);
    /// Does nothing: a property contains no elements.
    void cascadeCreation(Impl& property, bool notify);

private:
    Impl::BuilderImpl m_values;
};

/// Owns a property builder that is passed to a context.
class STUDIO_DATA_EXPORT Property::BuilderWrapper {
public:
    /// Takes ownership of `builder`; null makes an empty wrapper.
    BuilderWrapper(std::unique_ptr<Builder> builder) noexcept : m_builder{std::move(builder)} {}

    Builder& operator*() const noexcept { return *m_builder; }
    Builder* operator->() const noexcept { return m_builder.get(); }
    explicit operator bool() const noexcept { return m_builder != nullptr; }

private:
    std::unique_ptr<Builder> m_builder;
};

class Property::Constrainables : public tarn::zero::ConstrainablesOf<Property> {
public:
    using ConstrainablesOf::ConstrainablesOf;
};

}   // namespace studio::data
