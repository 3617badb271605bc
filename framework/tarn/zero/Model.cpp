#include "tarn/zero/Model.h"

#include "tarn/zero/ModelImpl.h"

#include <utility>

namespace tarn::zero {

void takeReference(Model::Impl* impl) noexcept
{
    impl->addRef();
}

void dropReference(Model::Impl* impl) noexcept
{
    impl->removeRef();
}

Model Model::create(ModelSpec const& wanted)
{
    return Model{new Impl{wanted}};
}

Model Model::create(ModelConstellation const& constellation)
{
    return create(constellation.mainModel());
}

void Model::addRef() const noexcept
{
    if (get())
        get()->addRef();
}

void Model::removeRef() const noexcept
{
    if (get())
        get()->removeRef();
}

Model::Freezer::Freezer(Model model) : m_model{std::move(model)}
{
    ++m_model->m_freezers;
}

Model::Freezer::~Freezer()
{
    --m_model->m_freezers;
}

Model::Thawer Model::Freezer::thaw()
{
    return Thawer{m_model};
}

Model::Thawer::Thawer(Model model) noexcept : m_model{std::move(model)}
{
    ++m_model->m_thawers;
}

Model::Thawer::~Thawer()
{
    if (m_model)
        --m_model->m_thawers;
}

}   // namespace tarn::zero
