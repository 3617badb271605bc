#include "tarn/zero/Builder.h"

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/meta/TypedElement.h"
#include "tarn0/messages/Messages.h"

#include <algorithm>
#include <stdexcept>

namespace tarn::zero {

namespace {

Transaction beginFor(ModelElement::Builder const& root)
{
    if (!root.model())
        throw std::logic_error{"a builder needs a model"};
    return root.model()->beginTransaction(false);
}

}   // namespace

ModelElement::Builder::Builder(unsigned long propertyCount) : m_set(propertyCount / wordBits + 1) {}

ModelElement::Builder::~Builder()
{
    if (m_orchestrator)
        m_orchestrator->removeBuilder(*this);
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

ModelElement::Builder::Orchestrator::Orchestrator(Builder* root)
    : m_model{root->model()}, m_transaction{beginFor(*root)}
{
    m_builders.emplace_back(root, ModelElement{});
    root->m_orchestrator = this;
}

ModelElement::Builder::Orchestrator::~Orchestrator()
{
    for (auto const& entry : m_builders)
        if (entry.first)
            entry.first->m_orchestrator = nullptr;
}

void ModelElement::Builder::Orchestrator::addBuilder(Builder* builder)
{
    if (builder->m_orchestrator == this)
        return;
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
    auto const found = std::find_if(m_builders.rbegin(), m_builders.rend(),   // mostly the one added last
                                    [&](auto const& entry) { return entry.first == builder; });
    if (found != m_builders.rend())
        found->second = element;
}

ModelElement ModelElement::Builder::Orchestrator::getCreatedElement(Builder* builder) const
{
    auto const found =
        std::find_if(m_builders.begin(), m_builders.end(), [&](auto const& entry) { return entry.first == builder; });
    return found == m_builders.end() ? ModelElement{} : found->second;
}

void ModelElement::Builder::Orchestrator::commit()
{
    for (std::size_t i = 0; i != m_builders.size(); ++i)   // a list that grows: builders bring others
        if (m_builders[i].first && !m_builders[i].second.get())
            m_builders[i].first->doCreate(true, boost::uuids::uuid{});
    for (auto const& entry : m_builders)
        if (entry.second)
            entry.second->didCreate();
    m_transaction.commit(boost::none);
}

}   // namespace tarn::zero
