#include "tarn/zero/meta/BuiltinTypes.h"

#include "fl/i18n/Unicode.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/detail/SchemaUuid.h"

#include <memory>
#include <string>

namespace tarn::zero::meta {

namespace {

template <class T>
void registerBuiltinType(MetaRegistry& registry, Package const& owner, std::string const& name,
                         std::string const& scopedName)
{
    std::u16string const unicodeName = fl::i18n::utf8_to_ustring(name);
    PrimitiveType const type =
        PrimitiveType::create(registry.model(), detail::schemaUuid(owner->getUri() + u'#' + unicodeName));
    type->setName(unicodeName);
    type->setTypeId(name);
    type->setOwningPackage(owner);
    registry.registerType(type, std::make_unique<CollectionInstantiatorOf<T>>());
    registry.registerTypeNames(type, name, scopedName);
}

}   // namespace

void registerBuiltinTypes(MetaRegistry& registry, Package const& owner)
{
    registerBuiltinType<std::string>(registry, owner, "StdString", "std::string");
    registerBuiltinType<bool>(registry, owner, "Boolean", "bool");
    registerBuiltinType<Model>(registry, owner, "Model", "tarn::zero::Model");
}

}   // namespace tarn::zero::meta
