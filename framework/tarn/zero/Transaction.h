#pragma once

#include "tarn/zero/Model.h"

#include <boost/optional/optional.hpp>

#include <cstdint>

namespace tarn::zero {

/// One open transaction of a model. Opened inside another one it is a savepoint: its commit merges its old values into
/// the outer one, its rollback restores the state at its own beginning and the outer one may go on. Destroyed without a
/// commit it rolls back, together with all transactions opened inside it that are still open.
class STUDIO_DATA_EXPORT Transaction {
public:
    Transaction(Transaction&& other) noexcept : m_model{std::move(other.m_model)}, m_serial{other.m_serial} {}
    Transaction& operator=(Transaction&&) = delete;
    /// Rolls back unless committed; throws nothing.
    ~Transaction();

    /// Makes the changes final.
    ///
    /// *Notifies*: an outermost commit that changed anything, after the state is final and the model idle. Every
    /// listener gets the report before the call returns, older reports first.
    /// *Throws*:
    /// - `std::logic_error`, changing nothing, if it was committed before or an inner transaction is still open;
    /// - any failure before the state is final (the destructor then rolls back);
    /// - after that the first exception of a listener, unchanged, once all have been called (the change stays).
    /// *Cost*: linear in what was touched. A steady stream of like transactions allocates nothing.
    void commit(boost::optional<Value> const& result);
    /// True until it is committed, or rolled back together with an outer transaction.
    bool isOpen() const noexcept;

private:
    friend class Model::Impl;

    Transaction(Model model, std::uint64_t serial) noexcept : m_model{std::move(model)}, m_serial{serial} {}

    Model m_model;            // null once committed or moved from
    std::uint64_t m_serial;   // names the level, so that a stale transaction cannot end another one
};

}   // namespace tarn::zero
