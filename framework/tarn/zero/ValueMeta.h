#pragma once

#include "tarn/zero/ModelElement.h"

namespace tarn::zero {

/// Description of the slot of a value: its type, and whether the value is unmanaged, that is outside any element (a
/// detached collection, a result).
class STUDIO_DATA_EXPORT ValueMeta {
public:
    /// No slot: a value of unknown type.
    ValueMeta() noexcept = default;
    explicit ValueMeta(meta::Property const& property);
    explicit ValueMeta(meta::Type const& type);

    /// Marks the value as unmanaged.
    void setUnmanaged() noexcept { m_unmanaged = true; }
    /// True for an unmanaged value.
    bool isUnmanaged() const noexcept { return m_unmanaged; }

    /// The slot's type; null if unknown.
    meta::Type type() const;
    /// True if the slot holds a collection of values of `type()`.
    bool isCollection() const noexcept { return m_collection; }

private:
    ModelElement m_type;
    bool m_collection = false;
    bool m_unmanaged = false;
};

}   // namespace tarn::zero
