#pragma once

#include "tarn/zero/Model.h"

#include <boost/optional/optional.hpp>

#include <cstdint>

namespace tarn::zero {

/// One open transaction of a model. Opened while another is open it is a savepoint inside that one: its commit hands
/// its old values outward, its roll back restores the state at its own beginning and the outer one may go on. Destroyed
/// without a commit it rolls back, with every transaction that was opened inside it and is still open.
class STUDIO_DATA_EXPORT Transaction {
public:
    Transaction(Transaction&& other) noexcept : m_model{std::move(other.m_model)}, m_serial{other.m_serial} {}
    Transaction& operator=(Transaction&&) = delete;
    /// Rolls back what was not committed; throws nothing.
    ~Transaction();

    /// Makes the changes final.
    ///
    /// *Notifies*: the outermost commit, if anything changed, after the state is final and the model idle: every
    /// listener gets the report before the call returns, older reports first.
    /// *Throws* `std::logic_error`, touching nothing, if it was committed before or an inner transaction is still open;
    /// whatever stands in the way before the state is final (then the destructor rolls back); after that the first
    /// exception of a listener, unchanged, when all have been served (the change stays).
    /// *Cost*: what was touched. A steady stream of like transactions allocates nothing.
    void commit(boost::optional<Value> const& result);

private:
    friend class Model::Impl;

    Transaction(Model model, std::uint64_t serial) noexcept : m_model{std::move(model)}, m_serial{serial} {}

    Model m_model;            // null once committed or moved from
    std::uint64_t m_serial;   // names the level, so that a stale transaction cannot end another one
};

}   // namespace tarn::zero
