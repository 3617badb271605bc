#include "tarn/zero/meta/Package.h"

namespace tarn::zero::meta {

Package Package::Impl::getParentPackage() const noexcept
{
    return Package{static_cast<Package::Impl*>(containerImpl())};
}

void Package::Impl::setParentPackage(Package const& parent)
{
    moveInto(parent.get() ? &parent->getPackagesMutable() : nullptr);
}

}   // namespace tarn::zero::meta
