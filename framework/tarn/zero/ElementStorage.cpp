#include "tarn/zero/ElementStorage.h"

#include "tarn/zero/ReportException.h"
#include "tarn/zero/Value.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

namespace tarn::zero {

ModelElement::Impl::Changes::Changes(boost::uuids::uuid const& uuid, Model const&, meta::Class const&,
                                     unsigned long propertyCount)
    : m_uuid{uuid}, m_propertyCount{static_cast<std::uint8_t>(propertyCount)}
{}

ModelElement::Impl::Changes::~Changes() = default;

void ModelElement::Impl::Changes::setOldContainer(ModelElement const& container, meta::Property const& feature)
{
    unsigned long const index = feature.index();
    if (container.get() && (index == 0 || !(feature == container->getPropertyByIndex(index))))
        reportException(tarn0::messages::InvalidValue{Impl::describe(feature) + " of " + container->describe()});
    setOldContainer(container.get(), index);
}

void ModelElement::Impl::Changes::setOldContainer(Impl* container, unsigned long featureIndex) noexcept
{
    if (isChanged(OFFSET_CONTAINMENT))
        return;
    m_oldContainer = ModelElement{container};
    m_oldContainerFeature = static_cast<std::uint8_t>(featureIndex);
    setChanged(OFFSET_CONTAINMENT);
}

Value ModelElement::Impl::Changes::getOldValue(meta::Property const& property, ReflectionPrivateTag) const
{
    return property ? Value{ValueMeta{property}} : Value{};
}

void ModelElement::Impl::Changes::assign(Changes const& other)
{
    m_uuid = other.m_uuid;
    m_bits = other.m_bits;
    m_oldContainer = other.m_oldContainer;
    m_oldContainerFeature = other.m_oldContainerFeature;
}

void ModelElement::Impl::Changes::resetChanges(boost::uuids::uuid const& uuid) noexcept
{
    m_uuid = uuid;
    m_bits = 0;
    if (m_oldContainer.get())
        m_oldContainer = ModelElement{};
}

void ModelElement::Impl::Storage::revertUnchanged(ModelElement const& element)
{
    if (!isChanged(OFFSET_CONTAINMENT) || oldContainer().get() != element->containerImpl())
        return;
    if (element->containerImpl() && element->m_containerFeature != oldContainerFeature())
        return;
    clearChanged(OFFSET_CONTAINMENT);
    if (unsigned long const index = element->containerIndex(); index != NO_INDEX)
        clearChanged(index);
}

void ModelElement::Impl::Storage::mergeInto(Storage& outer) noexcept
{
    if (!isChanged(OFFSET_CONTAINMENT))
        return;
    outer.setOldContainer(oldContainer().get(), oldContainerFeature());
    if (unsigned long const index = m_element->containerIndex(); index != NO_INDEX)
        outer.setChanged(index);
}

void ModelElement::Impl::Storage::undoInsertions(Impl&) noexcept {}
void ModelElement::Impl::Storage::undoErasures(Impl&) noexcept {}

void ModelElement::Impl::Storage::recycle() noexcept
{
    resetChanges(boost::uuids::uuid{});
    m_previous = nullptr;
    m_displaced = nullptr;
    m_silentBits = 0;
    m_created = false;
    m_destroyed = false;
    m_madeProxy = false;
    m_element = ModelElement{};   // last: may destroy the element
}

}   // namespace tarn::zero
