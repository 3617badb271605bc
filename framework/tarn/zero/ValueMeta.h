#pragma once

#include "tarn/zero/ModelElement.h"

namespace tarn::zero {

/// The description of the slot that a value sits in: its type, and whether it stands for one unmanaged value outside of
/// any element (a detached collection, a result).
class STUDIO_DATA_EXPORT ValueMeta {
public:
    /// No slot: a value of no known type.
    ValueMeta() noexcept = default;
    explicit ValueMeta(meta::Property const& property);
    explicit ValueMeta(meta::Type const& type);

    /// Marks the value as one outside of any element.
    void setUnmanaged() noexcept { m_unmanaged = true; }
    /// True for such a value.
    bool isUnmanaged() const noexcept { return m_unmanaged; }

    /// The slot's type; null when it is not known.
    meta::Type type() const;
    /// True if the slot holds a collection of values of that type.
    bool isCollection() const noexcept { return m_collection; }

private:
    ModelElement m_type;
    bool m_collection = false;
    bool m_unmanaged = false;
};

}   // namespace tarn::zero
