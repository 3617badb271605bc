#pragma once

#include "tarn/zero/Model.h"
#include "tarn/zero/ModelElement.h"
#include "tarn/zero/Transaction.h"
#include "tarn/zero/Value.h"

#include <boost/uuid/uuid.hpp>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace tarn::zero {

/// Collects the values of an element, and of the elements inside it, before any of them exists.
class STUDIO_DATA_EXPORT ModelElement::Builder {
public:
    class Orchestrator;

    /// For an element with so many properties.
    explicit Builder(unsigned long propertyCount);
    Builder(Builder const&) = delete;
    Builder& operator=(Builder const&) = delete;
    virtual ~Builder();

    /// Gives the builder the model that it makes its element in.
    void setModel(Model const& model) { m_model = model; }
    /// That model; null before it is given one.
    Model const& model() const noexcept { return m_model; }

    /// Makes the elements, in the model's open transaction or one of its own; all of them or, throwing, none. A nil
    /// UUID asks for a fresh one. The builder's values are used up.
    ModelElement create(boost::uuids::uuid const& uuid);

    /// The class of the element that will be made.
    virtual meta::Class builtClass() const = 0;

    /// Gives property `property` a value, or adds one to it, and answers the property's bit. The base knows no
    /// property: it throws `InvalidValue` and changes nothing.
    virtual std::uint64_t setOrAdd(meta::Property const& property, Value const& value);
    /// The same with a builder for a contained element; ownership passes only if it was taken.
    virtual std::uint64_t setOrAdd(meta::Property const& property, std::unique_ptr<Builder>& builder);

    /// True once property `index` was given a value.
    bool isSet(unsigned long index) const noexcept;

    /// Makes the element and tells the orchestrator. With `notify` false the elements are not entered into the model:
    /// the caller does that in the same transaction.
    virtual ModelElement doCreate(bool notify, boost::uuids::uuid const& uuid) = 0;

protected:
    /// How many properties one word of the set ones stands for.
    static constexpr unsigned long wordBits = 64;

    /// Notes that property `index` has a value, and answers its bit.
    std::uint64_t markSet(unsigned long index);
    /// Notes that it has none.
    void clearSet(unsigned long index) noexcept;
    /// The one that runs, borrowed; null outside of it.
    Orchestrator* orchestrator() const noexcept { return m_orchestrator; }

private:
    Model m_model;
    std::vector<std::uint64_t> m_set;
    Orchestrator* m_orchestrator = nullptr;
};

/// Makes the elements of a tree of builders in one step: a transaction, and which builder made what.
class STUDIO_DATA_EXPORT ModelElement::Builder::Orchestrator {
public:
    /// Begins; `root` must have a model. Throws `std::logic_error` if it has none.
    explicit Orchestrator(Builder* root);
    Orchestrator(Orchestrator const&) = delete;
    Orchestrator& operator=(Orchestrator const&) = delete;
    /// Undoes what was not committed.
    ~Orchestrator();

    /// Takes a nested builder in, once: it makes its element in the same model.
    void addBuilder(Builder* builder);
    /// For a builder that has made its element: who asks for it later gets this one.
    void setCreatedElement(Builder* builder, ModelElement const& element);
    /// The element made from `builder`; null if none was made.
    ModelElement getCreatedElement(Builder* builder) const;
    /// Makes what no builder has made yet, tells each element by `didCreate` and makes them final.
    void commit();

private:
    friend class Builder;

    /// A builder that is going away; what it made stays.
    STUDIO_DATA_LOCAL void removeBuilder(Builder const& builder) noexcept;

    Model m_model;
    std::vector<std::pair<Builder*, ModelElement>> m_builders;   // null: gone
    Transaction m_transaction;
};

}   // namespace tarn::zero
