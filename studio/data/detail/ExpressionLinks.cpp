#include "studio/data/detail/ExpressionLinks.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/model/ContextDataImpl.h"
#include "tarn/zero/ModelImpl.h"

namespace studio::data::detail {

void ExpressionLinks::set(Binding& binding, Property::Impl* property) noexcept
{
    if (!property) {
        static_cast<PropertyBackref&>(binding).unlink();
    } else if (binding.property() != property) {
        if (Binding* const present = linkedTo(*property))
            static_cast<PropertyBackref*>(present)->unlink();
        binding.link(*property);
    }
    static_cast<BindingHook<OfLinks>&>(binding).unlink();
}

void ExpressionLinks::update(Property::Impl& property, Binding* binding, bool isLatest) noexcept
{
    Binding* const present = linkedTo(property);
    if (present && present == binding && property.isAlive())
        return;
    if (present) {
        static_cast<PropertyBackref*>(present)->unlink();
        if (!isLatest)
            markStale(*present);
    }
    if (!binding)
        return;
    if (!isLatest)
        return markStale(*binding);
    // A copy of a context may be in the model under the same UUID: link only what providers find.
    tarn::zero::ModelElement const context = ContextProvider::sharedModel()->findElement(binding->context->id, 1);
    if (property.isAlive() && context.get() == property.ownerImpl())
        set(*binding, &property);
}

void ExpressionLinks::revalidate() noexcept
{
    while (!stale.empty()) {
        Binding& binding = stale.front();
        tarn::zero::ModelElement const element = ContextProvider::sharedModel()->findElement(binding.context->id, 1);
        auto* const context = tarn::zero::elementCast<ContextData>(element);
        // A proxy refuses to show its properties. It has no provider, so no path goes through it.
        bool const isReadable = context && !context->isProxy();
        set(binding, isReadable ? context->getProperties().findImpl(binding.name) : nullptr);
    }
}

/// Returns the binding that a property is linked to; null if there is none.
ExpressionLinks::Binding* ExpressionLinks::linkedTo(Property::Impl const& property) const noexcept
{
    return static_cast<Binding*>(PropertyBackref::find(property, owner, std::size_t(-1)).backref);
}

}   // namespace studio::data::detail
