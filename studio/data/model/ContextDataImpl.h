#pragma once

#include "studio/data/model/ContextData.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/collections/ElementMap.h"
#include "tarn/zero/collections/PrimitiveSequence.h"

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace studio::data {

/// A context's collections, and what happens to its properties with it.
class STUDIO_DATA_EXPORT ContextData::Impl final : public tarn::zero::ElementImplOf<ContextData::Impl> {
public:
    /// What a transaction remembers of a context.
    class Storage;
    /// What a kept report tells of a context.
    class Changes;
    class BuilderImpl;
    template <class B>
    class BuilderBase;
    using Handle = ContextData;
    /// The names of active contexts, in order.
    using ActiveContexts = tarn::zero::PrimitiveSequence<std::string>;
    /// The properties, in order of their names.
    using Properties = tarn::zero::ElementMap<std::string, Property>;

    static constexpr unsigned long ACTIVE_CONTEXTS = 1;
    static constexpr unsigned long PROPERTIES = 2;

    Impl(tarn::zero::Model const& model, boost::uuids::uuid const& uuid);
    Impl(tarn::zero::ModelElement::Builder& builder, boost::uuids::uuid const& uuid);

    static constexpr auto features()
    {
        using namespace tarn::zero;
        return std::tuple{Collection<ACTIVE_CONTEXTS, &Impl::activeContexts, RevertWhenEmpty>{},
                          Collection<PROPERTIES, &Impl::properties, RevertWhenSameOnlyElement>{}};
    }
    static tarn::zero::ModelElement::Impl* classImpl() noexcept;
    static tarn::zero::meta::Property propertyAt(unsigned long index);

    /// The names of the active contexts, in their order.
    ActiveContexts const& getActiveContexts() const noexcept { return activeContexts; }
    ActiveContexts& getActiveContextsMutable() noexcept { return activeContexts; }
    bool hasActiveContexts() const noexcept { return !activeContexts.empty(); }

    /// The properties in order of their names; of a dead context none.
    // By design: refuses a proxy with `CannotModifyProxy` although it only reads; hosts rely on never being shown the
    // properties of a placeholder.
    Properties const& getProperties() const;
    Properties& getPropertiesMutable() noexcept { return properties; }
    bool hasProperties() const noexcept { return !properties.empty(); }

    /// Makes a property with a name that is free and a value, contained at once. All of it or, throwing, nothing:
    /// `UniquenessConstraint`, and before anything is touched `std::logic_error` on a dead context and
    /// `CannotModifyProxy` on a proxy.
    void addProperty(std::string const& name, PropertyValue const& value);
    /// Makes a property from its builder, contained at once. Throws `UniquenessConstraint` if its name is taken and
    /// `InvalidValue` for an empty wrapper; nothing is made then.
    Property createIntoProperties(Property::BuilderWrapper builder, boost::uuids::uuid const& uuid);

    /// A copy in `model` with copies of all properties; with the UUIDs of the originals if `cloneUUID`, else with fresh
    /// ones. All of it or, throwing, nothing.
    // By design: the copy's active contexts are empty; whoever mirrors contexts fills them in itself.
    ContextData cloneTo(tarn::zero::Model const& model, bool cloneUUID) const;

private:
    ActiveContexts activeContexts;
    Properties properties;
};

class ContextData::Impl::Storage final : public tarn::zero::StorageOf<ContextData::Impl> {
public:
    using StorageOf::StorageOf;
};
class ContextData::Impl::Changes final : public tarn::zero::ChangesOf<ContextData::Impl> {
public:
    using ChangesOf::ChangesOf;
};

/// The values of a context before it exists.
class STUDIO_DATA_EXPORT ContextData::Impl::BuilderImpl {
public:
    /// The names of the active contexts.
    std::vector<std::string> activeContexts;
    /// Builders of the properties.
    std::vector<std::unique_ptr<tarn::zero::ModelElement::Builder>> properties;
};

/// What builders of such elements share, of classes derived from this one too.
template <class B>
class ContextData::Impl::BuilderBase : public tarn::zero::BuilderOf<ContextData::Impl, B> {
public:
    /// Makes the context with its properties; see `ModelElement::Builder::doCreate`.
    ContextData createContextData(bool notify, boost::uuids::uuid const& uuid) { return this->make(notify, uuid); }

protected:
    using tarn::zero::BuilderOf<ContextData::Impl, B>::BuilderOf;
};

/// Makes a context with all its properties in one step.
class STUDIO_DATA_EXPORT ContextData::Builder : public ContextData::Impl::BuilderBase<ContextData::Builder> {
public:
    Builder();
    explicit Builder(tarn::zero::Model const& model);

    /// One more active context.
    void doAddActiveContexts(std::string const& name);
    void doAddActiveContexts(std::initializer_list<std::string> names);
    /// No active contexts.
    void doClearActiveContexts() noexcept;
    /// One more property. *Throws* `InvalidValue`, and adds nothing, for null and for a builder of another class.
    void doAddProperties(std::unique_ptr<tarn::zero::ModelElement::Builder> builder);
    /// No properties.
    void doClearProperties() noexcept;

    /// Adds a value by its meta property: the property's index, or -1 for one that does not fit.
    long doSetOrAdd(tarn::zero::meta::Property const& property, tarn::zero::Value const& value);
    long doSetOrAdd(tarn::zero::meta::Property const& property,
                    std::unique_ptr<tarn::zero::ModelElement::Builder>& builder);
    /// Writes the plain values into the new element.
    void fill(Impl& context);
    /// Makes the properties inside the new element.
    void cascadeCreation(Impl& context, bool notify);

private:
    Impl::BuilderImpl m_values;
};

class ContextData::Constrainables : public tarn::zero::ConstrainablesOf<ContextData> {
public:
    using ConstrainablesOf::ConstrainablesOf;
};

}   // namespace studio::data
