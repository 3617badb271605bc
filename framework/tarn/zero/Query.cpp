#include "tarn/zero/Query.h"

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/meta/Type.h"

namespace tarn::zero {

AbstractQuery::~AbstractQuery() = default;

std::vector<ModelElement> AbstractQuery::find(QueryConstraint const& constraint) const
{
    std::vector<ModelElement> found;
    if (m_model)
        for (ModelElement& element : m_model->elements())
            if (constraint.matches(element))
                found.push_back(std::move(element));
    return found;
}

bool isOfClass(ModelElement const& element, ModelElement const& type, SearchClassMatchMode mode) noexcept
{
    if (!element.get() || !type.get())
        return false;
    ModelElement::Impl const* const own = element->classPointer();
    return mode == SearchClassMatchMode::ExactClass ? own == type.get() : ModelElement::Impl::conforms(own, type.get());
}

}   // namespace tarn::zero
