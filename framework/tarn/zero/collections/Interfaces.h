#pragma once

#include "foundation/Export.h"
#include "tarn/zero/Fwd.h"

#include <cstddef>

namespace tarn::zero {

/// What can be done with a collection whose type is known only at run time. Values are given as `Value`; one of the
/// wrong type throws `CannotAddIncompatibleTypes`.
class STUDIO_DATA_EXPORT GenericCollectionInterface {
public:
    virtual ~GenericCollectionInterface();

    /// True for a sequence.
    virtual bool isSequenceInterface() const noexcept { return false; }
    /// True for a map.
    virtual bool isMapInterface() const noexcept { return false; }
    /// True for a map that holds several elements under one key.
    virtual bool isMultimapInterface() const noexcept { return false; }

    virtual void genericAdd(Value const& value) = 0;
    /// Ignores a value that is not in the collection.
    virtual void genericRemove(Value const& value) = 0;
    /// Makes `value` stand at `index` of a sequence, moving or adding it; a map only makes sure that it holds it.
    virtual void genericEnsureAt(std::size_t index, Value const& value) = 0;
    virtual bool genericEmpty() const noexcept = 0;
};

/// Any sequence.
class STUDIO_DATA_EXPORT GenericSequenceInterface : public GenericCollectionInterface {
public:
    bool isSequenceInterface() const noexcept override { return true; }
};

/// Any map.
class STUDIO_DATA_EXPORT GenericMapInterface : public GenericCollectionInterface {
public:
    bool isMapInterface() const noexcept override { return true; }
};

/// A sequence of plain values rather than of elements.
class STUDIO_DATA_EXPORT GenericPrimitiveInterface : public GenericSequenceInterface {};

}   // namespace tarn::zero
