#pragma once

#include "tarn/zero/collections/TypedReferenceCollection.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

namespace tarn::zero {

/// Array of elements in user-defined order, each once: adding one twice throws `CannotAddSecondObject`. *Cost*:
/// `indexOf`, insertion and removal are linear.
///
/// Every change of one element is announced with an `OCDChangeDescriptorOfModelElementSequence`; a move is a `Remove`
/// and an `Add`. A derived class overrides `modifying` to observe them.
template <class E>
class ElementSequence : public TypedReferenceCollection<E, std::vector<E>>, public GenericSequenceInterface {
    using Base = TypedReferenceCollection<E, std::vector<E>>;

public:
    using Old = std::vector<E>;
    using Kept = std::vector<E>;
    /// The position of an element that is not there.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    ElementSequence() : Base{false} {}
    ElementSequence(ModelElement::Impl& owner, unsigned long featureIndex, bool composite)
        : Base{owner, featureIndex, composite}
    {}

    /// The element at `index`. *Throws* `std::out_of_range` past the end.
    E const& at(std::size_t index) const { return this->m_elements.at(index); }
    /// The position of the element, or `npos`.
    std::size_t indexOf(ModelElement const& element) const noexcept
    {
        auto const found = position(element);
        return found == this->end() ? npos : static_cast<std::size_t>(found - this->begin());
    }
    /// Inserts an element before `index`. *Throws* `std::out_of_range` past the end.
    void insert(std::size_t index, E const& element)
    {
        this->refuseUnmodifiable();
        if (index > this->size())
            this->refuseIndex(index, this->size());
        this->addAt(index, element);
    }
    /// Removes the element at `index`. *Throws* `std::out_of_range` past the end.
    void erase(std::size_t index) { this->removeElement(at(index)); }
    /// Reserves capacity for `count` elements in all.
    void reserve(std::size_t count) { this->m_elements.reserve(count); }

    bool containsElement(ModelElement const& element) const noexcept override
    {
        return position(element) != this->end();
    }

    void genericAdd(Value const& value) override { this->addElement(Base::elementIn(value)); }
    void genericRemove(Value const& value) override { this->removeElement(Base::elementIn(value)); }
    void genericEnsureAt(std::size_t index, Value const& value) override
    {
        ModelElement const element = Base::elementIn(value);
        if (std::size_t const from = indexOf(element); from != npos)
            move(from, (std::min)(index, this->size() - 1));
        else
            this->addAt((std::min)(index, this->size()), element);
    }
    bool genericEmpty() const noexcept override { return this->empty(); }

    // Old values

    void record(Old& old) const { old = this->m_elements; }
    static Kept const& keep(Old const& old) noexcept { return old; }
    static void merge(Old& outer, bool outerHas, Old& inner) noexcept
    {
        if (!outerHas)
            outer.swap(inner);
    }
    static void discard(Old& old) noexcept { old.clear(); }
    void undoInsertions(Old&) noexcept {}
    void restore(Old& old) noexcept { this->m_elements.swap(old); }
    void undoErasures(Old&) noexcept {}
    void dropAll() noexcept { this->m_elements.clear(); }
    std::size_t sizeBefore(Old const& old) const noexcept { return old.size(); }
    /// A detached sequence of `elements`.
    static std::unique_ptr<ElementSequence> detached(Kept const& elements)
    {
        auto sequence = std::make_unique<ElementSequence>();
        sequence->m_elements = elements;
        return sequence;
    }

protected:
    /// What a change does.
    using Kind = OCDChangeDescriptor::Kind;

    bool hasRoom(ModelElement const& element) const noexcept override { return !containsElement(element); }
    [[noreturn]] void refuseRoom(ModelElement const& element) const override
    {
        reportException(tarn0::messages::CannotAddSecondObject{this->refused(element->describe())});
    }
    void put(std::size_t index, ModelElement const& element) override
    {
        E typed = Base::typed(element);
        this->m_elements.insert(this->begin() + offset(index), std::move(typed));
    }
    void takeOut(ModelElement const& element) override { this->m_elements.erase(position(element)); }
    void takeOutAll() override { this->m_elements.clear(); }
    void putAll(ReferenceCollection const& source) override
    {
        for (E const& element : static_cast<ElementSequence const&>(source))
            if (hasRoom(element))
                put(Base::END, element);
    }
    void announce(Kind kind, std::size_t index, ModelElement const& element) override
    {
        auto const place = kind == Kind::Remove ? indexOf(element) : static_cast<std::size_t>(offset(index));
        this->modifying(OCDChangeDescriptorOfModelElementSequence{kind, place, element});
    }

private:
    std::ptrdiff_t offset(std::size_t index) const noexcept
    {
        return static_cast<std::ptrdiff_t>((std::min)(index, this->size()));
    }
    void move(std::size_t from, std::size_t to)
    {
        this->refuseUnmodifiable();
        if (from == to)
            return;
        AbstractOwnedCollection::Operation operation{*this};
        E const element = at(from);
        announce(Kind::Remove, from, element);
        this->modifying(OCDChangeDescriptorOfModelElementSequence{Kind::Add, to, element});
        auto const first = this->m_elements.begin() + static_cast<std::ptrdiff_t>((std::min)(from, to));
        auto const last = this->m_elements.begin() + static_cast<std::ptrdiff_t>((std::max)(from, to)) + 1;
        std::rotate(first, from < to ? first + 1 : last - 1, last);
        operation.commit();
    }

    typename std::vector<E>::const_iterator position(ModelElement const& element) const noexcept
    {
        return std::find(this->begin(), this->end(), element);
    }
};

}   // namespace tarn::zero
