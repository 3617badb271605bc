#include "tarn/zero/ValueMeta.h"

#include "tarn/zero/meta/Type.h"

namespace tarn::zero {

ValueMeta::ValueMeta(meta::Property const& property)
    : m_type{property ? property->getType() : meta::Type{}}, m_collection{property && property->isCollection()}
{}

ValueMeta::ValueMeta(meta::Type const& type) : m_type{type} {}

meta::Type ValueMeta::type() const
{
    return meta::Type{static_cast<meta::Type::Impl*>(m_type.get())};
}

}   // namespace tarn::zero
