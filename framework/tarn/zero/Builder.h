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

    /// Gives the builder the model that it makes its element in. *Throws* `std::logic_error` for another model than
    /// that of the orchestrator that the builder belongs to.
    void setModel(Model const& model);
    /// That model; null before it is given one.
    Model const& model() const noexcept { return m_model; }

    /// Makes the elements, in the model's open transaction or one of its own; all of them or, throwing, none. A nil
    /// UUID asks for a fresh one. The builder keeps its values: each call makes other elements.
    /// *Throws* `std::logic_error` without a model, and while the builder belongs to an orchestrator for which it has
    /// made its element, or which has ended; what a hook throws.
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

    /// Makes the element and hands it to the orchestrator. With `notify` false the elements live in the model, which
    /// neither finds nor lists nor reports them until `notifyCreated` announces them.
    virtual ModelElement doCreate(bool notify, boost::uuids::uuid const& uuid) = 0;

protected:
    /// How many properties one word of the set ones stands for.
    static constexpr unsigned long wordBits = 64;

    /// Notes that property `index` has a value, and answers its bit.
    std::uint64_t markSet(unsigned long index);
    /// Notes that it has none.
    void clearSet(unsigned long index) noexcept;
    /// The orchestrator that the builder belongs to, borrowed; null while it belongs to none.
    Orchestrator* orchestrator() const noexcept { return m_orchestrator; }
    /// For a builder that failed half-way: its orchestrator refuses to commit.
    void noteFailure() noexcept;

private:
    Model m_model;
    std::vector<std::uint64_t> m_set;
    Orchestrator* m_orchestrator = nullptr;
};

/// Makes the elements of a tree of builders in one step: a transaction, and which builder made what. A builder belongs
/// to one orchestrator from when that takes it in until one of the two is destroyed, and makes one element for it.
class STUDIO_DATA_EXPORT ModelElement::Builder::Orchestrator {
public:
    /// Begins. *Throws*, and leaves the builder as it was: `std::invalid_argument` for null; `std::logic_error` for a
    /// builder without a model, or of another orchestrator.
    explicit Orchestrator(Builder* root);
    Orchestrator(Orchestrator const&) = delete;
    Orchestrator& operator=(Orchestrator const&) = delete;
    /// Undoes what was not committed.
    ~Orchestrator();

    /// Takes a nested builder in: it makes its element in the same model. One that is in already stays where it is.
    /// *Throws* `std::invalid_argument` for null, `std::logic_error` for a builder of another orchestrator and after
    /// the creation ended.
    void addBuilder(Builder* builder);
    /// For a builder that has made its element. *Throws* `std::logic_error` for a builder that is not in, or has made
    /// one before, and after the creation ended.
    void setCreatedElement(Builder* builder, ModelElement const& element);
    /// The element made from `builder`; null if none was made.
    ModelElement getCreatedElement(Builder* builder) const;
    /// Makes what no builder has made yet, then calls `didCreate` of each element, and makes them final.
    /// *Throws* `std::logic_error` the second time and when a builder failed; what a hook throws: no element is left
    /// then, once the orchestrator is destroyed.
    void commit();

private:
    friend class Builder;

    /// A builder that is going away; what it made stays.
    STUDIO_DATA_LOCAL void removeBuilder(Builder const& builder) noexcept;

    Model m_model;
    std::vector<std::pair<Builder*, ModelElement>> m_builders;   // null: gone
    Transaction m_transaction;
    bool m_failed = false;
    bool m_ended = false;   // from when all elements are made
};

}   // namespace tarn::zero
