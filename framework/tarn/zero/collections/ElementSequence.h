#pragma once

#include "tarn/zero/collections/TypedReferenceCollection.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

namespace tarn::zero {

/// Elements in an order that is theirs to keep, each once: a second copy throws `CannotAddSecondObject`.
template <class E>
class ElementSequence final : public TypedReferenceCollection<E, std::vector<E>>, public GenericSequenceInterface {
    using Base = TypedReferenceCollection<E, std::vector<E>>;

public:
    using Old = std::vector<E>;
    using Kept = std::vector<E>;
    /// The place of what is not there.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    ElementSequence() : Base{false} {}
    ElementSequence(ModelElement::Impl& owner, unsigned long featureIndex, bool composite)
        : Base{owner, featureIndex, composite}
    {}

    /// The element there; past the end throws `std::out_of_range`.
    E const& at(std::size_t index) const { return this->m_elements.at(index); }
    /// The element's place, or `npos`.
    std::size_t indexOf(ModelElement const& element) const noexcept
    {
        auto const found = position(element);
        return found == this->end() ? npos : static_cast<std::size_t>(found - this->begin());
    }
    /// Adds before `index`; past the end throws `std::out_of_range`.
    void insert(std::size_t index, E const& element)
    {
        if (index > this->size())
            this->refuseIndex(index, this->size());
        AbstractOwnedCollection::Operation operation{*this};
        this->addElement(element);
        std::rotate(this->m_elements.begin() + static_cast<std::ptrdiff_t>(index), this->m_elements.end() - 1,
                    this->m_elements.end());
        operation.commit();
    }
    /// Takes out the element there; past the end throws `std::out_of_range`.
    void erase(std::size_t index) { this->removeElement(at(index)); }
    /// Room for that many elements in all.
    void reserve(std::size_t count) { this->m_elements.reserve(count); }

    bool containsElement(ModelElement const& element) const noexcept override
    {
        return position(element) != this->end();
    }
    void basicAdd(ModelElement const& element) override { this->m_elements.push_back(Base::typed(element)); }
    void basicRemove(ModelElement const& element) override
    {
        if (auto const found = position(element); found != this->end())
            this->m_elements.erase(found);
    }
    void basicClear() override { this->m_elements.clear(); }
    void basicCopyValues(ReferenceCollection const& source) override
    {
        this->m_elements = static_cast<ElementSequence const&>(source).m_elements;
    }

    void genericAdd(Value const& value) override { this->addElement(Base::elementIn(value)); }
    void genericRemove(Value const& value) override { this->removeElement(Base::elementIn(value)); }
    void genericEnsureAt(std::size_t index, Value const& value) override
    {
        E const element = Base::typed(Base::elementIn(value));
        AbstractOwnedCollection::Operation operation{*this};
        if (indexOf(element) != npos && indexOf(element) != index)
            this->removeElement(element);
        if (indexOf(element) == npos)
            insert(std::min(index, this->size()), element);
        operation.commit();
    }
    bool genericEmpty() const noexcept override { return this->empty(); }

    // What a transaction remembers

    void remember(Old& old) const { old = this->m_elements; }
    static Kept const& keep(Old const& old) noexcept { return old; }
    static void merge(Old& outer, bool outerHas, Old& inner) noexcept
    {
        if (!outerHas)
            outer.swap(inner);
    }
    static void forget(Old& old) noexcept { old.clear(); }
    void withdraw(Old&) noexcept {}
    void restore(Old& old) noexcept { this->m_elements.swap(old); }
    void reinstate(Old&) noexcept {}
    void dropAll() noexcept { this->m_elements.clear(); }
    std::size_t sizeBefore(Old const& old) const noexcept { return old.size(); }
    /// A sequence of its own with those elements.
    static std::unique_ptr<ElementSequence> detached(Kept const& elements)
    {
        auto sequence = std::make_unique<ElementSequence>();
        sequence->m_elements = elements;
        return sequence;
    }

protected:
    void checkRoom(ModelElement const& element) const override
    {
        if (containsElement(element))
            reportException(tarn0::messages::CannotAddSecondObject{this->refused(element->describe())});
    }

private:
    typename std::vector<E>::const_iterator position(ModelElement const& element) const noexcept
    {
        return std::find(this->begin(), this->end(), element);
    }
};

}   // namespace tarn::zero
