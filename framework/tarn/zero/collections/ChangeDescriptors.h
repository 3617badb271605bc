#pragma once

#include "tarn/zero/ModelElement.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace tarn::zero {

/// A change of an owned collection that is about to be made.
class STUDIO_DATA_EXPORT OCDChangeDescriptor {
public:
    /// The kinds of change.
    enum class Kind {
        Add,
        Remove,
        Replace,
        Clear,
        GiveUp   ///< any change: an observer must read the whole collection
    };

    /// A change of kind `kind`.
    explicit OCDChangeDescriptor(Kind kind) noexcept : m_kind{kind} {}
    virtual ~OCDChangeDescriptor() = default;

    /// The kind of the change.
    Kind kind() const noexcept { return m_kind; }

private:
    Kind m_kind;
};

/// Record of one change of an element sequence.
class STUDIO_DATA_EXPORT OCDChangeOfModelElementSequence {
public:
    /// A change of kind `kind`, at position `index`, of `element`.
    OCDChangeOfModelElementSequence(OCDChangeDescriptor::Kind kind, std::size_t index, ModelElement element) noexcept
        : m_kind{kind}, m_index{index}, m_element{std::move(element)}
    {}

    /// The kind of the change.
    OCDChangeDescriptor::Kind kind() const noexcept { return m_kind; }
    /// The position of the change.
    std::size_t index() const noexcept { return m_index; }
    /// The element added, removed or replaced.
    ModelElement const& element() const noexcept { return m_element; }

private:
    OCDChangeDescriptor::Kind m_kind;
    std::size_t m_index;
    ModelElement m_element;
};

/// Position and element of a change of an element sequence: the position that the element will have, or has until then.
/// Announced before each change of one element. *Cost*: lives on the stack; only `createChange` allocates.
class STUDIO_DATA_EXPORT OCDChangeDescriptorOfModelElementSequence : public OCDChangeDescriptor {
public:
    /// A change of kind `kind`, at position `index`, of `element`.
    OCDChangeDescriptorOfModelElementSequence(Kind kind, std::size_t index, ModelElement element) noexcept
        : OCDChangeDescriptor{kind}, m_index{index}, m_element{std::move(element)}
    {}

    /// The position of the change.
    std::size_t index() const noexcept { return m_index; }
    /// The element added, removed or replaced.
    ModelElement const& element() const noexcept { return m_element; }
    /// A copy of the change, to keep beyond the announcement.
    [[nodiscard]] std::unique_ptr<OCDChangeOfModelElementSequence> createChange() const
    {
        return std::make_unique<OCDChangeOfModelElementSequence>(kind(), m_index, m_element);
    }

private:
    std::size_t m_index;
    ModelElement m_element;
};

}   // namespace tarn::zero
