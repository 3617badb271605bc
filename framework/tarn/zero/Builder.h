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

/// Collects the values of an element and of the elements it will contain, before any of them exists.
class STUDIO_DATA_EXPORT ModelElement::Builder {
public:
    class Orchestrator;

    /// A builder of an element with `propertyCount` properties.
    explicit Builder(unsigned long propertyCount);
    Builder(Builder const&) = delete;
    Builder& operator=(Builder const&) = delete;
    virtual ~Builder();

    /// Sets the model in which the element is created. *Throws* `std::logic_error` if the builder belongs to an
    /// orchestrator with another model.
    void setModel(Model const& model);
    /// The model in which the element is created; null until `setModel`.
    Model const& model() const noexcept { return m_model; }

    /// Creates the elements, in the model's open transaction or in one of its own: all of them or, if it throws, none.
    /// A nil UUID requests a random one. The builder keeps its values, so each call creates further elements. *Throws*
    /// `std::logic_error` without a model, and while the builder belongs to an orchestrator that has ended or already
    /// has its element; whatever a hook throws.
    ModelElement create(boost::uuids::uuid const& uuid);

    /// The class of the element to create.
    virtual meta::Class builtClass() const = 0;

    /// Sets property `property`, or adds to it, and returns the property's bit. The base has no properties: it throws
    /// `InvalidValue` and changes nothing.
    virtual std::uint64_t setOrAdd(meta::Property const& property, Value const& value);
    /// Sets property `property`, or adds to it, from the builder of a contained element; returns the property's bit.
    /// Takes ownership only on success.
    virtual std::uint64_t setOrAdd(meta::Property const& property, std::unique_ptr<Builder>& builder);

    /// True if property `index` has a value.
    bool isSet(unsigned long index) const noexcept;

    /// Creates the element and registers it with the orchestrator. With `notify` false the elements belong to the model
    /// but are neither found, listed nor reported until `notifyCreated`.
    virtual ModelElement doCreate(bool notify, boost::uuids::uuid const& uuid) = 0;

protected:
    /// Bits per word of `m_set`.
    static constexpr unsigned long wordBits = 64;

    /// Sets the bit of property `index` and returns it.
    std::uint64_t markSet(unsigned long index);
    /// Clears the bit of property `index`.
    void clearSet(unsigned long index) noexcept;
    /// The orchestrator that the builder belongs to, borrowed; null if none.
    Orchestrator* orchestrator() const noexcept { return m_orchestrator; }
    /// Records that this builder failed half-way: its orchestrator then refuses to commit.
    void noteFailure() noexcept;

private:
    Model m_model;
    std::vector<std::uint64_t> m_set;
    Orchestrator* m_orchestrator = nullptr;
};

/// Creates the elements of a tree of builders in one transaction and records which builder created which element. A
/// builder belongs to one orchestrator, from `addBuilder` until either is destroyed, and creates one element for it.
class STUDIO_DATA_EXPORT ModelElement::Builder::Orchestrator {
public:
    /// Begins the creation with builder `root`. *Throws*, and leaves the builder unchanged: `std::invalid_argument` for
    /// null; `std::logic_error` for a builder without a model or of another orchestrator.
    explicit Orchestrator(Builder* root);
    Orchestrator(Orchestrator const&) = delete;
    Orchestrator& operator=(Orchestrator const&) = delete;
    /// Rolls back what was not committed.
    ~Orchestrator();

    /// Adds a nested builder, which creates its element in the same model. No effect on one already added. *Throws*
    /// `std::invalid_argument` for null, `std::logic_error` for a builder of another orchestrator and after the
    /// creation has ended.
    void addBuilder(Builder* builder);
    /// Records the element that `builder` created; `getCreatedElement` returns it from then on. *Throws*
    /// `std::logic_error` if the builder was not added or has an element already, and after the creation has ended.
    void setCreatedElement(Builder* builder, ModelElement const& element);
    /// The element created by `builder`; null if there is none.
    ModelElement getCreatedElement(Builder* builder) const;
    /// Runs the builders that have no element yet, then calls `didCreate` of each element, then commits. *Throws*
    /// `std::logic_error` when called twice or when a builder failed; whatever a hook throws. After a throw the
    /// destructor removes all elements.
    void commit();

private:
    friend class Builder;

    /// Removes a builder that is being destroyed; its element stays.
    STUDIO_DATA_LOCAL void removeBuilder(Builder const& builder) noexcept;

    Model m_model;
    std::vector<std::pair<Builder*, ModelElement>> m_builders;   // null: builder destroyed
    Transaction m_transaction;
    bool m_failed = false;
    bool m_ended = false;   // all elements are created
};

}   // namespace tarn::zero
