#include "tarn/zero/Model.h"

#include "tarn/zero/ModelImpl.h"

#include <utility>

namespace tarn::zero {

Model::Model(Impl* impl) noexcept : m_impl{impl}
{
    addRef();
}

Model::Model(Model const& other) noexcept : Model{other.m_impl} {}

Model& Model::operator=(Model const& other) noexcept
{
    return *this = Model{other};
}

Model& Model::operator=(Model&& other) noexcept
{
    if (this != &other) {
        removeRef();
        m_impl = std::exchange(other.m_impl, nullptr);
    }
    return *this;
}

Model::~Model()
{
    removeRef();
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
    if (m_impl)
        m_impl->addRef();
}

void Model::removeRef() const noexcept
{
    if (m_impl)
        m_impl->removeRef();
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
