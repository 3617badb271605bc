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

/// A context's collections and the rules for changing them.
class STUDIO_DATA_EXPORT ContextData::Impl final : public tarn::zero::ElementImplOf<ContextData::Impl> {
public:
    /// The state of a context before a transaction.
    class Storage;
    /// The changes of a context as a kept report lists them.
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

    /// The names of the active contexts, in order.
    ActiveContexts const& getActiveContexts() const noexcept { return activeContexts; }
    ActiveContexts& getActiveContextsMutable() noexcept { return activeContexts; }
    bool hasActiveContexts() const noexcept { return !activeContexts.empty(); }

    /// Returns the properties, ordered by name; none for a destroyed context.
    // By design: refuses a proxy with `CannotModifyProxy` although it only reads; hosts rely on never being shown the
    // properties of a placeholder.
    Properties const& getProperties() const;
    Properties& getPropertiesMutable() noexcept { return properties; }
    bool hasProperties() const noexcept { return !properties.empty(); }

    /// Makes a property with a name that is free and a value, contained at once. Completes or changes nothing. *Throws*
    /// `UniquenessConstraint`; and before anything is changed `std::logic_error` on a destroyed context and
    /// `CannotModifyProxy` on a proxy.
    void addProperty(std::string const& name, PropertyValue const& value);
    /// Makes a property from its builder, contained at once. *Throws* `UniquenessConstraint` if its name is taken and
    /// `InvalidValue` for an empty wrapper; nothing is made then.
    Property createIntoProperties(Property::BuilderWrapper builder, boost::uuids::uuid const& uuid);

    /// Returns a copy in `model` with copies of all properties; with the UUIDs of the originals if `cloneUUID`,
    /// otherwise with fresh ones. If it throws, nothing is made.
    // By design: the copy's active contexts are empty; whoever mirrors contexts fills them in itself.
    ContextData cloneTo(tarn::zero::Model const& model, bool cloneUUID) const;

    /// True once the provider of the context has ended. Such a context still exists if there was no memory for its
    /// destruction, or if the transaction with it was rolled back; `ContextProvider::create` with its UUID replaces it.
    bool isLeftover() const noexcept { return hasLostProvider; }
    /// Says that the provider of the context has ended. No rollback takes this back.
    void markAsLeftover() noexcept { hasLostProvider = true; }

private:
    bool hasLostProvider = false;
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

/// The values of a context that is yet to be made.
class STUDIO_DATA_EXPORT ContextData::Impl::BuilderImpl {
public:
    /// The names of the active contexts.
    std::vector<std::string> activeContexts;
    /// Builders of the properties.
    std::vector<std::unique_ptr<tarn::zero::ModelElement::Builder>> properties;
};

/// The shared part of context builders, also for classes derived from this one.
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

    /// Adds an active context.
    void doAddActiveContexts(std::string const& name);
    void doAddActiveContexts(std::initializer_list<std::string> names);
    /// Removes all active contexts.
    void doClearActiveContexts() noexcept;
    /// Adds a property. *Throws* `InvalidValue` for null and for a builder of another class; nothing is added then.
    void doAddProperties(std::unique_ptr<tarn::zero::ModelElement::Builder> builder);
    /// Removes all properties.
    void doClearProperties() noexcept;

    /// Adds a value by its meta property. Returns the property's index, or -1 for one that does not fit.
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
