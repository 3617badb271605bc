// What a setter does: it announces the change to the open transaction, or to one of its own.
#include "tarn/zero/ElementStorage.h"
#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/detail/Journal.h"

#include <utility>

namespace tarn::zero {

void ModelElement::Impl::notifyModifying(unsigned long index)
{
    refuseChange();
    m_model->journal().touch(*this, index);
}

Transaction ModelElement::Impl::begin() const
{
    refuseDead();
    return m_model->beginTransaction(false);
}

ModelElement::Impl::OwnTransaction::OwnTransaction(Impl const& element) : m_model{nullptr}
{
    element.refuseDead();
    Model::Impl& model = *element.m_model;
    if (element.needsNoSavepoint(true)) {
        model.refuseFrozen();
    } else {
        m_serial = model.open();
        m_model = &model;
    }
}

void ModelElement::Impl::OwnTransaction::commit()
{
    if (!m_model)
        return;
    std::shared_ptr<ReportData> report = m_model->seal(m_serial);
    Model::Impl& model = *std::exchange(m_model, nullptr);
    if (report)
        model.publish(std::move(report));
}

void ModelElement::Impl::OwnTransaction::rollBack() noexcept
{
    m_model->rollBack(m_serial);
}

bool ModelElement::Impl::isInTransaction() const noexcept
{
    return m_model && m_model->isInTransaction();
}

void ModelElement::Impl::recordContainer()
{
    unsigned long const index = containerIndex();
    notifyModifying(index == NO_INDEX ? Changes::OFFSET_CONTAINMENT : index);
}

void ModelElement::Impl::recordContainerSilently()
{
    unsigned long const index = containerIndex();
    recordSilently(index == NO_INDEX ? Changes::OFFSET_CONTAINMENT : index);
}

void ModelElement::Impl::recordSilently(unsigned long index)
{
    refuseChange();
    m_model->journal().touchSilently(*this, index);
}

}   // namespace tarn::zero
