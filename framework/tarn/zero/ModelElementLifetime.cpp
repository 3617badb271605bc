// How an element enters its model, is destroyed, and is revived by a rollback.
#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/detail/Journal.h"

#include <stdexcept>

namespace tarn::zero {

void ModelElement::Impl::enter(ModelElement const& given)
{
    if (!given)
        throw std::logic_error{"a null or destroyed element cannot enter a model"};
    ModelElement const element{given};   // the hook may change the collection that holds the argument
    Transaction transaction = element->begin();
    element->notifyCreated();
    element->didCreate();
    transaction.commit(boost::none);
}

void ModelElement::Impl::notifyCreated()
{
    refuseChange();
    bool const wasSilent = m_entered;
    m_model->journal().created(*this, true);
    if (!wasSilent)
        return;
    announceContents();
    didCreate();
}

void ModelElement::Impl::enterSilently()
{
    refuseChange();
    m_model->journal().created(*this, false);
}

void ModelElement::Impl::undoCreation() noexcept
{
    if (m_model)
        m_model->journal().undoCreation(*this);
}

void ModelElement::Impl::destroy()
{
    if (!m_alive)
        return;
    ModelElement const keep{this};
    if (needsNoSavepoint(endsInOneStep())) {
        OwnTransaction const joined{*this};     // *Throws* on a frozen model
        m_model->journal().reserveFor(*this);   // allocate first: nothing after the first change may throw
        return destroyRecursively(true, true, true);
    }
    Transaction transaction = m_model->beginDestruction();
    destroyRecursively(true, true, true);
    transaction.commit(boost::none);
}

void ModelElement::Impl::destroyRecursively(bool detach, bool runHooks, bool notify)
{
    if (!m_alive || m_destroying)
        return;
    ModelElement const keep{this};
    beginDestroying();   // so that a hook that destroys the element returns here
    try {
        if (runHooks)
            aboutToDestroy();
        if (m_container && (detach || !m_container->m_destroying))   // the hook may have moved it
            _inverseRemoveThis(m_container, m_containerFeature);
        doDestroy(runHooks, notify);
    } catch (...) {
        m_destroying = false;   // the transaction rolls back the rest
        throw;
    }
}

void ModelElement::Impl::beginDestroying()
{
    refuseDead();
    if (!isInTransaction())
        throw std::logic_error{"a destruction needs an open transaction: " + describe()};
    m_destroying = true;
}

void ModelElement::Impl::notifyDestroying()
{
    if (!m_model || (m_alive && !m_destroying))
        throw std::logic_error{"the element is not being destroyed: " + describe()};
    m_model->refuseFrozen();
    m_model->journal().destroyed(*this);
}

void ModelElement::Impl::doDestroy(bool, bool notify)
{
    if (notify)
        notifyDestroying();
    invalidate();
}

void ModelElement::Impl::invalidate()
{
    m_alive = false;
    if (m_container && !m_holdsContainer) {
        m_container->addRef();
        m_holdsContainer = true;
    }
}

void ModelElement::Impl::revive() noexcept
{
    m_alive = true;
    m_destroying = false;
    if (m_holdsContainer)
        m_container->removeRef();
    m_holdsContainer = false;
}

}   // namespace tarn::zero
