#include "tarn/zero/meta/NamedElement.h"

#include "fl/i18n/Unicode.h"
#include "tarn/zero/collections/ReferenceCollection.h"

#include <vector>

namespace tarn::zero::meta {

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
