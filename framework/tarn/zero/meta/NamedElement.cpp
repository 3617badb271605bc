#include "tarn/zero/meta/NamedElement.h"

#include "fl/i18n/Unicode.h"
#include "tarn/zero/meta/detail/MetaElements.h"

#include <vector>

namespace tarn::zero::meta {

NamedElement::NamedElement(Impl* impl) noexcept : ModelElement{impl} {}

Class NamedElement::metaClass()
{
    return detail::metaClassOf<NamedElement>();
}

NamedElement::Impl* NamedElement::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

NamedElement::Impl::~Impl() = default;

ModelElement::Impl* NamedElement::Impl::classImpl() noexcept
{
    return detail::kernelClass<NamedElement>.load(std::memory_order_acquire);
}

void NamedElement::Impl::setName(std::u16string const& name)
{
    assign(NAME, m_name, name);
}

std::u16string NamedElement::Impl::getQualifiedName() const
{
    std::vector<std::u16string const*> names;
    for (ModelElement::Impl const* place = this; place; place = place->containerImpl())
        if (auto const* const named = dynamic_cast<NamedElement::Impl const*>(place); named && !named->m_name.empty())
            names.push_back(&named->m_name);
    std::u16string qualified;
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        (qualified.empty() ? qualified : qualified += u'.') += **name;
    return qualified;
}

std::string NamedElement::Impl::nameInMessages() const
{
    return fl::i18n::ustring_to_utf8_lossy(getQualifiedName());
}

void NamedElement::Impl::moveInto(ReferenceCollection* place)
{
    refuseProxy();
    ModelElement const self{this};
    if (place && place->containsElement(self))
        return;
    if (place)
        return place->addElement(self);
    Transaction transaction = begin();
    makeUncontained();
    transaction.commit(boost::none);
}

}   // namespace tarn::zero::meta
