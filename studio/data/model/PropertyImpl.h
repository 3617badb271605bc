#pragma once

#include "studio/data/PropertyValue.h"
#include "studio/data/model/ContextData.h"
#include "studio/data/model/Property.h"
#include "tarn/zero/BuilderOf.h"
#include "tarn/zero/ElementImplOf.h"
#include "tarn/zero/Query.h"

#include <memory>
#include <string>

namespace studio::data {

class PropertyWatch;

/// A property's fields and the rules for changing them. Every setter joins the open transaction or makes one of its
/// own, throws `CannotModifyProxy` on a proxy and `std::logic_error` on a dead element, and on any exception leaves
/// everything as it was.
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

    /// A property of `model` with a name and a value from the start; a nil UUID asks for a fresh one. All of it or,
    /// throwing, nothing.
    static Property createWith(tarn::zero::Model const& model, boost::uuids::uuid const& uuid, std::string const& name,
                               PropertyValue const& value);

    static constexpr auto features()
    {
        using namespace tarn::zero;
        return std::tuple{Attribute<NAME, &Impl::name, RevertWhenEqual, &Impl::setName>{},
                          Attribute<VALUE, &Impl::value, RevertWhenEqual, &Impl::setValue>{},
                          Container<OWNER, ContextData, &Impl::setOwner>{}};
    }
    static tarn::zero::ModelElement::Impl* classImpl() noexcept;
    static tarn::zero::meta::Property propertyAt(unsigned long index);

    /// The name; of a destroyed property the last one.
    std::string const& getName() const noexcept { return name; }
    /// The value, in place; of a destroyed property the last one.
    PropertyValue const& getValue() const noexcept { return value; }
    /// The context that holds the property; null when none does.
    ContextData getOwner() const noexcept;
    /// The owner, borrowed; null when uncontained.
    ContextData::Impl* ownerImpl() const noexcept;
    bool hasOwner() const noexcept { return !isTopLevel(); }

    /// Renames; inside an owner the property is found under the new name from then on. The present name changes
    /// nothing. Throws `UniquenessConstraint` if the owner has another property of that name.
    void setName(std::string const& newName);
    /// Changes the value. An equal value changes nothing; NaN equals no value.
    void setValue(PropertyValue const& newValue);
    /// Moves the property to another context of its model; null takes it out of the present one. Throws
    /// `UniquenessConstraint` if the new owner has a property of that name, `CannotCreateCrossModelAssociation` for one
    /// of another model.
    void setOwner(ContextData const& newOwner);
    /// Sets the link to the owner and tells nobody.
    void basicSetOwner(ContextData const& newOwner) noexcept;

    /// A copy in `model` without an owner; with this property's UUID if `cloneUUID`, else with a fresh one.
    Property cloneTo(tarn::zero::Model const& model, bool cloneUUID) const;

private:
    friend class PropertyWatch;

    ~Impl() override;
    bool endsInOneStep() const noexcept override { return true; }

    // What a report, an evaluation and a mirror touch comes first.
    PropertyWatch* watches = nullptr;   // of the engines and views that follow it
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

/// The values of a property before it exists.
class STUDIO_DATA_EXPORT Property::Impl::BuilderImpl {
public:
    /// The name.
    std::string name;
    /// The value.
    PropertyValue value;
};

/// What builders of such elements share, of classes derived from this one too.
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

    /// Gives it a name.
    void doSetName(std::string const& name);
    /// The name that it will have.
    std::string const& getName() const noexcept { return m_values.name; }
    /// Gives it a value.
    void doSetValue(PropertyValue const& value);
    /// The value that it will have.
    PropertyValue const& getValue() const noexcept { return m_values.value; }

    /// Sets a value by its meta property: the property's index, or -1 for one that does not fit.
    long doSetOrAdd(tarn::zero::meta::Property const& property, tarn::zero::Value const& value);
    long doSetOrAdd(tarn::zero::meta::Property const& property,
                    std::unique_ptr<tarn::zero::ModelElement::Builder>& builder);
    /// Writes the values into the new element.
    void fill(Impl& property);
    /// Nothing: a property contains nothing.
    void cascadeCreation(Impl& property, bool notify);

private:
    Impl::BuilderImpl m_values;
};

/// A property builder on its way into a context.
class STUDIO_DATA_EXPORT Property::BuilderWrapper {
public:
    /// Owns that builder from now on; null makes an empty wrapper.
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
