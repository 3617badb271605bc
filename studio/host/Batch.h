#pragma once

#include "studio/host/ErrorHandler.h"
#include "studio/host/Export.h"
#include "tarn/zero/Transaction.h"

#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

namespace studio::host {

namespace detail {

class BatchChange;
struct OpenBatches;

}   // namespace detail

/// One open transaction of the shared model, for code that cannot be a lambda; see also `batch`. Inside another batch
/// or transaction it is a savepoint: its commit hands its changes to the outer one, its rollback undoes its own alone.
/// Changes are seen at once by whoever reads, and reported once, at the outermost commit.
///
/// Used on the thread of the shared model.
class STUDIO_HOST_EXPORT Batch {
public:
    /// Opens the batch. The handler receives a failure if the batch ends without `commit` and `rollBack`. *Throws* what
    /// `tarn::zero::Model::Impl::beginTransaction` throws.
    [[nodiscard]] explicit Batch(ErrorHandler onError = {});
    Batch(Batch const&) = delete;
    Batch& operator=(Batch const&) = delete;
    /// Rolls back if the batch was not ended by hand, and calls the error handler.
    ~Batch();

    /// Makes the changes final and ends the batch. *Notifies*: the outermost commit, before it returns. A listener may
    /// destroy this batch.
    ///
    /// *Throws*:
    /// - `std::logic_error` if the batch has ended, or if a batch or a transaction that was opened inside it is still
    ///   open; nothing has changed then;
    /// - what a listener throws: the changes are final and the batch has ended;
    /// - any other failure: the changes are undone and the batch has ended.
    void commit();
    /// Undoes the changes and ends the batch, together with all that was opened inside it and is still open. Does
    /// nothing if the batch has ended.
    void rollBack() noexcept;
    /// True until the batch was committed or rolled back, by hand or together with an outer batch or transaction.
    bool isOpen() const noexcept { return transaction && transaction->isOpen(); }

private:
    friend struct detail::OpenBatches;

    STUDIO_DATA_LOCAL static Batch* innermost() noexcept;
    STUDIO_DATA_LOCAL bool endProbe();
    STUDIO_DATA_LOCAL bool isInnermost();
    STUDIO_DATA_LOCAL void leave() noexcept;
    STUDIO_DATA_LOCAL void undo() noexcept;
    STUDIO_DATA_LOCAL static void undo(detail::BatchChange* last, detail::BatchChange const* before) noexcept;
    STUDIO_DATA_LOCAL static void release(detail::BatchChange* last) noexcept;

    ErrorHandler onError;
    std::optional<tarn::zero::Transaction> transaction;   // empty once the batch has left the open ones
    std::optional<tarn::zero::Transaction> probe;         // inside it: can be committed if nothing else is open inside
    Batch* outer;
    detail::BatchChange* changesBefore;   // the last one when the batch began
    bool isInTransaction;                 // opened inside a transaction that is no batch
    int exceptions;                       // under way when it began
    bool wasEnded = false;                // by `commit` or `rollBack`
};

/// Calls `f` in a batch and returns what it returns: a value, a reference or nothing. The changes are final when
/// `batch` returns. They are undone if `f` throws, and the exception is passed on. *Throws* further as `Batch::commit`.
template <class F>
std::invoke_result_t<F> batch(F&& f)
{
    using Result = std::invoke_result_t<F>;
    Batch open;
    if constexpr (std::is_void_v<Result>) {
        std::invoke(std::forward<F>(f));
        open.commit();
    } else if constexpr (std::is_reference_v<Result>) {
        Result&& result = std::invoke(std::forward<F>(f));
        open.commit();
        return static_cast<Result>(result);
    } else {
        Result result = std::invoke(std::forward<F>(f));
        open.commit();
        return result;
    }
}

}   // namespace studio::host
