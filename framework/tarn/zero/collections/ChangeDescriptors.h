#pragma once

#include "tarn/zero/ModelElement.h"

#include <cstddef>
#include <memory>

namespace tarn::zero {

/// A change of an owned collection, about to be made.
class STUDIO_DATA_EXPORT OCDChangeDescriptor {
public:
    /// What a change does.
    enum class Kind {
        Add,
        Remove,
        Replace,
        Clear,
        GiveUp   ///< any change at all: who follows changes one by one must look at the whole again
    };

    /// A change of that kind.
    explicit OCDChangeDescriptor(Kind kind) noexcept : m_kind{kind} {}
    virtual ~OCDChangeDescriptor();

    /// What it does.
    Kind kind() const noexcept { return m_kind; }

private:
    Kind m_kind;
};

/// What one change did to a sequence of elements.
class STUDIO_DATA_EXPORT OCDChangeOfModelElementSequence {
public:
    /// A change of that kind, at that place, of that element.
    OCDChangeOfModelElementSequence(OCDChangeDescriptor::Kind kind, std::size_t index, ModelElement element) noexcept;

    /// What it did.
    OCDChangeDescriptor::Kind kind() const noexcept { return m_kind; }
    /// Where.
    std::size_t index() const noexcept { return m_index; }
    /// With which element.
    ModelElement const& element() const noexcept { return m_element; }

private:
    OCDChangeDescriptor::Kind m_kind;
    std::size_t m_index;
    ModelElement m_element;
};

/// The place and the element of a change of a sequence: where the element will stand, or stands until then. Announced
/// by sequences of elements before each change of one element. *Cost*: made on the stack; only `createChange`
/// allocates.
class STUDIO_DATA_EXPORT OCDChangeDescriptorOfModelElementSequence : public OCDChangeDescriptor {
public:
    /// A change of that kind, at that place, of that element.
    OCDChangeDescriptorOfModelElementSequence(Kind kind, std::size_t index, ModelElement element) noexcept;
    ~OCDChangeDescriptorOfModelElementSequence() override;

    /// Where.
    std::size_t index() const noexcept { return m_index; }
    /// With which element.
    ModelElement const& element() const noexcept { return m_element; }
    /// The change as a record to keep beyond the announcement.
    std::unique_ptr<OCDChangeOfModelElementSequence> createChange() const;

private:
    std::size_t m_index;
    ModelElement m_element;
};

}   // namespace tarn::zero
