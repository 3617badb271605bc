#include "tarn/zero/meta/Package.h"

#include "tarn/zero/meta/detail/MetaElements.h"

namespace tarn::zero::meta {

Package::Package(Impl* impl) noexcept : NamedElement{impl} {}

Package Package::create(Model const& model, boost::uuids::uuid const& uuid)
{
    return detail::MetaElement<Package>::createIn(model, uuid);
}

Class Package::metaClass()
{
    return detail::metaClassOf<Package>();
}

Package::Impl* Package::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

Package::Impl::Impl(Model const& model, boost::uuids::uuid const& uuid)
    : NamedElement::Impl{model, uuid},
      m_importedPackages{*this, IMPORTED_PACKAGES},
      m_packages{*this, PACKAGES, true},
      m_types{*this, TYPES, true}
{}

Package::Impl::~Impl() = default;

ModelElement::Impl* Package::Impl::classImpl() noexcept
{
    return detail::kernelClass<Package>.load(std::memory_order_acquire);
}

void Package::Impl::setUri(std::u16string const& uri)
{
    assign(URI, m_uri, uri);
}

Package Package::Impl::getParentPackage() const noexcept
{
    return Package{static_cast<Package::Impl*>(containerImpl())};
}

void Package::Impl::setParentPackage(Package const& parent)
{
    moveInto(parent.get() ? &parent->getPackagesMutable() : nullptr);
}

}   // namespace tarn::zero::meta
