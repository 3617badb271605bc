#include "tarn/zero/Builder.h"

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

#include <algorithm>
#include <stdexcept>

namespace tarn::zero {

namespace {

Model const& modelOf(ModelElement::Builder const* root)
{
    if (!root)
        throw std::invalid_argument{"an orchestrator needs a builder"};
    if (!root->model())
        throw std::logic_error{"a builder needs a model"};
    return root->model();
}

}   // namespace

ModelElement::Builder::Builder(unsigned long propertyCount) : m_set(propertyCount / wordBits + 1) {}

ModelElement::Builder::~Builder()
{
    if (m_orchestrator)
        m_orchestrator->removeBuilder(*this);
}

void ModelElement::Builder::setModel(Model const& model)
{
    if (m_orchestrator && !(model == m_model))
        throw std::logic_error{"a builder makes its element in the model of its orchestrator"};
    m_model = model;
}

ModelElement ModelElement::Builder::create(boost::uuids::uuid const& uuid)
{
    return doCreate(true, uuid);
}

std::uint64_t ModelElement::Builder::setOrAdd(meta::Property const& property, Value const&)
{
    reportException(tarn0::messages::InvalidValue{"a value for " + Impl::describe(property)});
}

std::uint64_t ModelElement::Builder::setOrAdd(meta::Property const& property, std::unique_ptr<Builder>&)
{
    reportException(tarn0::messages::InvalidValue{"a builder for " + Impl::describe(property)});
}

bool ModelElement::Builder::isSet(unsigned long index) const noexcept
{
    return index / wordBits < m_set.size() && (m_set[index / wordBits] >> index % wordBits & 1u) != 0;
}

std::uint64_t ModelElement::Builder::markSet(unsigned long index)
{
    std::uint64_t const bit = std::uint64_t{1} << index % wordBits;
    m_set[index / wordBits] |= bit;
    return bit;
}

void ModelElement::Builder::clearSet(unsigned long index) noexcept
{
    m_set[index / wordBits] &= ~(std::uint64_t{1} << index % wordBits);
}

void ModelElement::Builder::noteFailure() noexcept
{
    if (m_orchestrator)
        m_orchestrator->m_failed = true;
}

ModelElement::Builder::Orchestrator::Orchestrator(Builder* root)
    : m_model{modelOf(root)}, m_transaction{m_model->beginTransaction(false)}
{
    addBuilder(root);
}

ModelElement::Builder::Orchestrator::~Orchestrator()
{
    for (auto const& entry : m_builders)
        if (entry.first)
            entry.first->m_orchestrator = nullptr;
}

void ModelElement::Builder::Orchestrator::addBuilder(Builder* builder)
{
    if (!builder)
        throw std::invalid_argument{"an orchestrator needs a builder"};
    if (builder->m_orchestrator == this)
        return;
    if (builder->m_orchestrator || m_ended)
        throw std::logic_error{"a builder belongs to one orchestrator, from before that has made all elements"};
    m_builders.emplace_back(builder, ModelElement{});
    builder->setModel(m_model);
    builder->m_orchestrator = this;
}

void ModelElement::Builder::Orchestrator::removeBuilder(Builder const& builder) noexcept
{
    for (auto& entry : m_builders)
        if (entry.first == &builder)
            entry.first = nullptr;
}

void ModelElement::Builder::Orchestrator::setCreatedElement(Builder* builder, ModelElement const& element)
{
    auto const found = std::find_if(m_builders.rbegin(), m_builders.rend(),   // usually the one added last
                                    [&](auto const& entry) { return entry.first == builder; });
    if (!builder || found == m_builders.rend() || found->second.get() || m_ended)
        throw std::logic_error{"a builder makes one element for its orchestrator: " + Impl::describe(element)};
    found->second = element;
}

ModelElement ModelElement::Builder::Orchestrator::getCreatedElement(Builder* builder) const
{
    auto const found =
        std::find_if(m_builders.begin(), m_builders.end(), [&](auto const& entry) { return entry.first == builder; });
    return !builder || found == m_builders.end() ? ModelElement{} : found->second;
}

void ModelElement::Builder::Orchestrator::commit()
{
    for (std::size_t i = 0; i != m_builders.size() && !m_ended; ++i)   // the list grows: builders add others
        if (m_builders[i].first && !m_builders[i].second.get())
            m_builders[i].first->doCreate(true, boost::uuids::uuid{});
    if (m_failed || m_ended)
        throw std::logic_error{"an orchestrator commits once, and only what no builder failed to make"};
    m_ended = true;
    for (auto const& entry : m_builders)
        if (entry.second && entry.second->isAnnounced())
            entry.second->didCreate();
    m_transaction.commit(boost::none);
}

}   // namespace tarn::zero
