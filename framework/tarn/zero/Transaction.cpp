#include "tarn/zero/Transaction.h"

#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Value.h"
#include "tarn/zero/detail/Journal.h"

#include <stdexcept>
#include <utility>

namespace tarn::zero {

Transaction::~Transaction()
{
    if (m_model)
        m_model->rollBack(m_serial);
}

void Transaction::commit(boost::optional<Value> const&)
{
    if (!m_model)
        throw std::logic_error{"the transaction was committed before"};
    // The transaction has ended before listeners run: whatever one throws, the destructor finds no open level.
    m_model->commit(m_serial);
    m_model = Model{};
}

bool Transaction::isOpen() const noexcept
{
    return m_model && m_model->m_journal->isOpen(m_serial);
}

}   // namespace tarn::zero
