#include "tarn/zero/meta/AbstractMetaPackage.h"

#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/detail/SchemaUuid.h"

#include <boost/uuid/string_generator.hpp>

#include <stdexcept>

namespace tarn::zero::meta {

namespace {

constexpr int LARGEST_INDEX = 63;

/// Creates a named element, completed by `settings(element)`, or nothing.
template <class H, class Settings>
H make(std::u16string const& name, boost::uuids::uuid const& uuid, Settings const& settings)
{
    Model const& model = MetaRegistry::getInstance().model();
    Transaction transaction = model->beginTransaction(true);
    H element = H::create(model, uuid);
    element->setName(name);
    settings(element);
    transaction.commit(boost::none);
    return element;
}

}   // namespace

AbstractMetaPackage::~AbstractMetaPackage() = default;

Package AbstractMetaPackage::createPackage(std::u16string const& name, std::u16string const& uri) const
{
    return make<Package>(name, detail::schemaUuid(uri), [&](Package const& made) { made->setUri(uri); });
}

Class AbstractMetaPackage::createClass(std::u16string const& name, std::string const& typeId, bool isAbstract,
                                       bool isFinal, std::string const& uuid) const
{
    return make<Class>(name, parseUuid(uuid), [&](Class const& made) {
        made->setTypeId(typeId);
        made->setIsAbstract(isAbstract);
        made->setIsFinal(isFinal);
    });
}

Property AbstractMetaPackage::createProperty(std::u16string const& name, ValueFlags flags, bool isComposite,
                                             std::string const& uuid) const
{
    return make<Property>(name, parseUuid(uuid), [&](Property const& made) {
        made->setValueFlags(flags);
        made->setIsComposite(isComposite);
    });
}

Operation AbstractMetaPackage::createOperation(std::u16string const& name, boost::uuids::uuid const& uuid) const
{
    return make<Operation>(name, uuid, [](Operation const&) {});
}

Argument AbstractMetaPackage::createArgument(std::u16string const& name, boost::uuids::uuid const& uuid) const
{
    return make<Argument>(name, uuid, [](Argument const&) {});
}

void AbstractMetaPackage::setPropertyIndex(Property const& property, int index) const
{
    if (index < 1 || index > LARGEST_INDEX)
        throw std::out_of_range{"the index of a property must be 1 to 63, not " + std::to_string(index) + ": " +
                                property->describe()};
    property->setIndex(static_cast<unsigned long>(index));
}

void AbstractMetaPackage::registerRootPackage(Package const& package) const
{
    MetaRegistry::getInstance().registerRootPackage(package);
}

void AbstractMetaPackage::unregisterRootPackage(std::u16string const& uri) const
{
    MetaRegistry::getInstance().unregisterRootPackage(uri);
}

boost::uuids::uuid AbstractMetaPackage::parseUuid(std::string const& text)
{
    return boost::uuids::string_generator{}(text);
}

}   // namespace tarn::zero::meta
