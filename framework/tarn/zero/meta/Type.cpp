#include "tarn/zero/meta/Type.h"

#include "tarn/zero/ReportException.h"
#include "tarn/zero/meta/Package.h"
#include "tarn0/messages/Messages.h"

namespace tarn::zero::meta {

Package Type::Impl::getOwningPackage() const noexcept
{
    return Package{static_cast<Package::Impl*>(containerImpl())};
}

void Type::Impl::setOwningPackage(Package const& package)
{
    moveInto(package.get() ? &package->getTypesMutable() : nullptr);
}

void Class::Impl::setSuperclass(Class const& superclass)
{
    if (conforms(superclass.get(), this))
        reportException(tarn0::messages::CircularContainment{describe() + " in " + superclass->describe()});
    if (superclass.get() && superclass->isFinal())
        reportException(
            tarn0::messages::InvalidValue{"final " + superclass->describe() + " as the superclass of " + describe()});
    assign(SUPERCLASS, m_superclass, superclass);
}

}   // namespace tarn::zero::meta
