#pragma once

#include "studio/host/Batch.h"

#include <memory>

namespace studio::host::detail {

/// A change beside the model that follows the model when a batch rolls back. Destroyed when the outermost batch has
/// ended, whether it was undone or not: what it holds is released then.
class BatchChange {
public:
    BatchChange() = default;
    BatchChange(BatchChange const&) = delete;
    BatchChange& operator=(BatchChange const&) = delete;
    virtual ~BatchChange() = default;

    /// Undoes the change, once. The model has been rolled back, and all later changes are undone.
    virtual void undo() noexcept = 0;

private:
    friend class studio::host::Batch;
    friend struct OpenBatches;

    BatchChange* previous = nullptr;
    bool isUndone = false;
};

/// The batches that are open, for objects beside the model that are changed in them.
struct OpenBatches {
    /// True while a batch is open.
    static bool any() noexcept;
    /// Keeps a change until the open batches end. *Requires* an open batch.
    static void remember(std::unique_ptr<BatchChange> change) noexcept;
    /// *Throws* `std::logic_error` if `batch` was opened inside a transaction that is no batch: such a transaction may
    /// roll back, and no change beside the model is undone then.
    static void refuseTransaction(Batch const& batch);
};

}   // namespace studio::host::detail
