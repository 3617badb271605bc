#pragma once

#include "tarn/zero/ElementStorage.h"
#include "tarn/zero/Value.h"
#include "tarn/zero/collections/AbstractOwnedCollection.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace tarn::zero {

/// Plain values of an element, in a `Container`.
template <class T, class Container>
class PrimitiveCollection : public AbstractOwnedCollection, public GenericPrimitiveInterface {
public:
    using value_type = T;
    using const_iterator = typename Container::const_iterator;
    /// Old value in a storage: a copy.
    using Old = Container;
    using Kept = Container;

    std::size_t size() const noexcept { return m_values.size(); }
    bool empty() const noexcept { return m_values.empty(); }
    bool genericEmpty() const noexcept override { return empty(); }
    const_iterator begin() const noexcept { return m_values.begin(); }
    const_iterator end() const noexcept { return m_values.end(); }

    void record(Old& old) const { old = m_values; }
    static Kept const& keep(Old const& old) noexcept { return old; }
    static void merge(Old& outer, bool outerHas, Old& inner) noexcept
    {
        if (!outerHas)
            outer.swap(inner);
    }
    void undoInsertions(Old&) noexcept {}
    void restore(Old& old) noexcept { m_values.swap(old); }
    void undoErasures(Old&) noexcept {}
    static void discard(Old& old) noexcept { old.clear(); }
    void dropAll() noexcept {}
    /// No effect: plain values have no proxies.
    void resolveProxies() noexcept {}
    std::size_t sizeBefore(Old const& old) const noexcept { return old.size(); }

protected:
    PrimitiveCollection() = default;
    explicit PrimitiveCollection(Container values) : m_values{std::move(values)} {}
    PrimitiveCollection(ModelElement::Impl& owner, unsigned long featureIndex)
        : AbstractOwnedCollection{owner, featureIndex}
    {}

    /// Announces a change and makes it, in the open transaction or in one of its own. `change` completes or throws.
    template <class Change>
    void modify(OCDChangeDescriptor::Kind kind, Change const& change)
    {
        Operation operation{*this, true};
        modifying(OCDChangeDescriptor{kind});
        change(m_values);
        operation.commit();
    }

    /// The values.
    Container const& values() const noexcept { return m_values; }

private:
    Container m_values;
};

/// Array of plain values; duplicates are allowed. An index past the end throws `std::out_of_range` and changes nothing.
/// An argument may refer to a value of the array itself.
template <class T>
class PrimitiveSequence final : public PrimitiveCollection<T, std::vector<T>> {
    using Base = PrimitiveCollection<T, std::vector<T>>;
    using Kind = OCDChangeDescriptor::Kind;
    using Values = std::vector<T>;

public:
    using typename Base::Old;
    /// The position of a value that is not there.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    PrimitiveSequence() = default;
    explicit PrimitiveSequence(Values values) : Base{std::move(values)} {}
    PrimitiveSequence(ModelElement::Impl& owner, unsigned long featureIndex) : Base{owner, featureIndex} {}

    /// The value at `index`.
    typename Values::const_reference at(std::size_t index) const { return this->values().at(index); }
    typename Values::const_reference operator[](std::size_t index) const { return at(index); }
    /// The position of the first equal value, or `npos`.
    std::size_t indexOf(T const& value) const
    {
        auto const found = std::find(this->begin(), this->end(), value);
        return found == this->end() ? npos : static_cast<std::size_t>(found - this->begin());
    }

    /// Appends a value.
    void push_back(T const& value)
    {
        this->modify(Kind::Add, [&](Values& values) { values.push_back(value); });
    }
    /// Inserts a value before `index`, which may be the end.
    void insert(std::size_t index, T const& value)
    {
        this->refuseUnmodifiable();
        requireIndex(index, this->size() + 1);
        T copy = value;   // so that shifting the rest only moves, which cannot throw
        this->modify(Kind::Add, [&](Values& values) {
            values.insert(values.begin() + static_cast<std::ptrdiff_t>(index), std::move(copy));
        });
    }
    /// Removes the value at `index`.
    void erase(std::size_t index)
    {
        this->refuseUnmodifiable();
        requireIndex(index, this->size());
        this->modify(Kind::Remove,
                     [&](Values& values) { values.erase(values.begin() + static_cast<std::ptrdiff_t>(index)); });
    }
    /// Removes the first equal value; false if there is none.
    bool remove(T const& value)
    {
        this->refuseUnmodifiable();
        std::size_t const index = indexOf(value);
        if (index == npos)
            return false;
        erase(index);
        return true;
    }
    /// Replaces the value at `index`.
    void replace(std::size_t index, T const& value)
    {
        this->refuseUnmodifiable();
        requireIndex(index, this->size());
        this->modify(Kind::Replace, [&](Values& values) { values[index] = value; });
    }
    /// Removes all values.
    void clear()
    {
        this->modify(Kind::Clear, [](Values& values) { values.clear(); });
    }

    void genericAdd(Value const& value) override { push_back(this->template itemIn<T>(value)); }
    void genericRemove(Value const& value) override { remove(this->template itemIn<T>(value)); }
    void genericEnsureAt(std::size_t index, Value const& value) override
    {
        T const wanted = this->template itemIn<T>(value);
        if (index < this->size())
            replace(index, wanted);
        else
            insert(index, wanted);
    }

    /// A detached sequence of `values`.
    static std::unique_ptr<PrimitiveSequence> detached(Values const& values)
    {
        return std::make_unique<PrimitiveSequence>(values);
    }

private:
    void requireIndex(std::size_t index, std::size_t limit) const
    {
        if (index >= limit)
            this->refuseIndex(index, this->size());
    }
};

}   // namespace tarn::zero
