#include "tarn/zero/ModelElement.h"

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/meta/Type.h"

namespace tarn::zero {

void takeReference(ModelElement::Impl* impl) noexcept
{
    impl->addRef();
}

void dropReference(ModelElement::Impl* impl) noexcept
{
    impl->removeRef();
}

meta::Class ModelElement::metaClass()
{
    return meta::detail::metaClassOf<ModelElement>();
}

void ModelElement::addRef() const noexcept
{
    if (get())
        get()->addRef();
}

void ModelElement::removeRef() const noexcept
{
    if (get())
        get()->removeRef();
}

ModelElement::operator bool() const noexcept
{
    return get() && get()->isAlive();
}

boost::uuids::uuid ModelElement::Uuid() const noexcept
{
    return get() ? get()->identifier() : boost::uuids::uuid{};
}

bool ModelElement::isA(meta::Class const& type) const noexcept
{
    return get() && Impl::conforms(get()->classPointer(), type.get());
}

}   // namespace tarn::zero
