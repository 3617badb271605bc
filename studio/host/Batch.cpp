#include "studio/host/Batch.h"

#include "studio/data/ContextProvider.h"
#include "studio/host/detail/OpenBatches.h"
#include "tarn/zero/ModelImpl.h"

#include <exception>
#include <memory>
#include <stdexcept>

namespace studio::host {

using detail::BatchChange;
using detail::OpenBatches;
using tarn::zero::Transaction;

namespace {

// The innermost open batch, and the last change in the open batches.
constinit Batch* s_innermost = nullptr;
constinit BatchChange* s_lastChange = nullptr;

tarn::zero::Model::Impl& model()
{
    return *data::ContextProvider::sharedModel().get();
}

}   // namespace

Batch::Batch(ErrorHandler handler)
    : onError{std::move(handler)},
      outer{innermost()},
      changesBefore{s_lastChange},
      exceptions{std::uncaught_exceptions()}
{
    isInTransaction = outer ? outer->isInTransaction || !outer->isInnermost() : model().isInTransaction();
    transaction.emplace(model().beginTransaction(true));
    probe.emplace(model().beginTransaction(true));
    s_innermost = this;
}

Batch::~Batch()
{
    undo();
    if (wasEnded || !onError)
        return;
    onError({"a batch",
             {},
             nullptr,
             std::uncaught_exceptions() > exceptions
                 ? "an exception ended a batch: its changes are undone"
                 : "a batch ended without commit() or rollBack(): its changes are undone"});
}

void Batch::commit()
{
    if (!isOpen())
        throw std::logic_error{"the batch has ended before"};
    if (innermost() != this || !endProbe())
        throw std::logic_error{"a batch cannot be committed while a batch or a transaction inside it is open"};

    // The batch has ended before listeners run: they may destroy it.
    std::optional<Transaction> last{std::move(*transaction)};
    bool const isNested = outer != nullptr;
    BatchChange const* const before = changesBefore;
    BatchChange* const changes = isNested ? s_lastChange : std::exchange(s_lastChange, nullptr);
    wasEnded = true;
    leave();
    struct Release {
        ~Release() { release(changes); }
        BatchChange* changes;   // those of an inner batch stay until the outermost one has ended
    } const atEnd{isNested ? nullptr : changes};
    try {
        last->commit(boost::none);
    } catch (...) {
        // A commit that fails leaves its transaction open. After one that succeeded another may be open, which a
        // listener began.
        bool const mayBeOpen = model().isInTransaction();
        last.reset();
        if (isNested || (mayBeOpen && !model().isInTransaction()))
            undo(changes, before);
        throw;
    }
}

void Batch::rollBack() noexcept
{
    wasEnded = true;
    undo();
}

void Batch::undo() noexcept
{
    if (!transaction)
        return;
    while (s_innermost != this)
        s_innermost->leave();
    BatchChange const* const before = changesBefore;
    bool const isNested = outer != nullptr;
    leave();
    // Taken off first: what is released may open batches of its own.
    BatchChange* const changes = isNested ? s_lastChange : std::exchange(s_lastChange, nullptr);
    undo(changes, before);
    if (!isNested)
        release(changes);
}

/// Ends the batch for its users, and its transaction if that was not moved away.
void Batch::leave() noexcept
{
    s_innermost = outer;
    outer = nullptr;
    probe.reset();
    transaction.reset();
}

/// Returns the innermost open batch; null if there is none. Undoes those whose transaction was rolled back together
/// with one around it that is no batch.
Batch* Batch::innermost() noexcept
{
    while (s_innermost && !s_innermost->isOpen())
        s_innermost->undo();
    return s_innermost;
}

/// Commits the probe. False, and nothing has changed, if a batch or a transaction that was opened inside is still open.
bool Batch::endProbe()
{
    try {
        probe->commit(boost::none);
        return true;
    } catch (std::logic_error const&) {
        return false;
    }
}

bool Batch::isInnermost()
{
    if (!endProbe())
        return false;
    probe.emplace(model().beginTransaction(true));
    return true;
}

/// Undoes the changes after `before`, the last one first, except those that are undone.
void Batch::undo(BatchChange* last, BatchChange const* before) noexcept
{
    for (BatchChange* change = last; change != before; change = change->previous)
        if (!std::exchange(change->isUndone, true))
            change->undo();
}

/// Destroys the changes, the last one first.
void Batch::release(BatchChange* last) noexcept
{
    while (last)
        std::unique_ptr<BatchChange>{std::exchange(last, last->previous)}.reset();
}

bool OpenBatches::any() noexcept
{
    return Batch::innermost() != nullptr;
}

void OpenBatches::remember(std::unique_ptr<BatchChange> change) noexcept
{
    change->previous = s_lastChange;
    s_lastChange = change.release();
}

void OpenBatches::refuseTransaction(Batch const& batch)
{
    if (batch.isInTransaction)
        throw std::logic_error{"a tree cannot be changed inside a transaction that is not a batch: it would not be "
                               "notified of a rollback"};
}

}   // namespace studio::host
