#pragma once

#include "foundation/Export.h"
#include "tarn/zero/Fwd.h"

#include <cstddef>

namespace tarn::zero {

/// Access to a collection whose type is known only at run time. Values are passed as `Value`; one of the wrong type
/// throws `CannotAddIncompatibleTypes`.
class STUDIO_DATA_EXPORT GenericCollectionInterface {
public:
    virtual ~GenericCollectionInterface() = default;

    /// True for a sequence.
    virtual bool isSequenceInterface() const noexcept { return false; }
    /// True for a map.
    virtual bool isMapInterface() const noexcept { return false; }
    /// True for a map that may hold several elements with one key.
    virtual bool isMultimapInterface() const noexcept { return false; }

    virtual void genericAdd(Value const& value) = 0;
    /// Removes a value; no effect if the collection does not contain it.
    virtual void genericRemove(Value const& value) = 0;
    /// Moves or adds `value` to position `index` of a sequence; of a map, adds it if missing.
    virtual void genericEnsureAt(std::size_t index, Value const& value) = 0;
    virtual bool genericEmpty() const noexcept = 0;
};

/// Interface of all sequences.
class STUDIO_DATA_EXPORT GenericSequenceInterface : public GenericCollectionInterface {
public:
    bool isSequenceInterface() const noexcept override { return true; }
};

/// Interface of all maps.
class STUDIO_DATA_EXPORT GenericMapInterface : public GenericCollectionInterface {
public:
    bool isMapInterface() const noexcept override { return true; }
};

/// Interface of sequences of plain values.
class STUDIO_DATA_EXPORT GenericPrimitiveInterface : public GenericSequenceInterface {};

}   // namespace tarn::zero
