#include "studio/data/model/MetaPackageStudio_data.h"

#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "support/Allocations.h"
#include "support/Processes.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/PropertySerializerRegistry.h"
#include "tarn0/messages/Messages.h"

#include <boost/lexical_cast.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <tuple>

namespace studio::data {

namespace zero = tarn::zero;
namespace meta = tarn::zero::meta;

/// Instances beside the one of the process, which they neither publish nor disturb at exit.
class MetaPackageTest {
public:
    static MetaPackageStudio_data* make() { return new MetaPackageStudio_data; }
    static void destroy(MetaPackageStudio_data* package) { delete package; }
};

namespace {

using NoSuchType = foundation::core::except::Exception<tarn0::messages::NoSuchType, std::exception>;
using testing::ElementsAre;
using testing::ExitedWithCode;

char const* const ROOT_UUID = "5cafa685-a2da-390e-9641-85a7523c81f7";
std::u16string const ROOT_URI = std::u16string{meta::SCHEMA_HOST} + u"/tarn0/studio_data/1.0";

meta::MetaRegistry& registry()
{
    return meta::MetaRegistry::getInstance();
}

zero::ModelElement find(char const* uuid)
{
    return registry().model()->findElement(boost::lexical_cast<boost::uuids::uuid>(uuid), 1);
}

template <class H>
H findAs(char const* uuid)
{
    return H{zero::elementCast<H>(find(uuid))};
}

std::u16string nameOf(meta::NamedElement const& element)
{
    return element.get() ? element->getQualifiedName() : std::u16string{};
}

// ---- the schema, as stored models know it

TEST(MetaPackage, HasItsPackages)
{
    EXPECT_EQ(&MetaPackageStudio_data::getInstance(), &MetaPackageStudio_data::getInstance());
    meta::Package const root = registry().findRootPackage(ROOT_URI);
    ASSERT_TRUE(root && root == find(ROOT_UUID) && root->getPackages().size() == 1);
    meta::VersionInfo imported;
    imported.setFamily(u"meta");
    EXPECT_THAT(root->getImportedPackages(), ElementsAre(imported));
    meta::Package const studio = root->getPackages().at(0);
    EXPECT_EQ(studio->getUri(), ROOT_URI + u"/studio");
    ASSERT_EQ(studio->getPackages().size(), 1u);
    meta::Package const data = studio->getPackages().at(0);
    EXPECT_EQ(data->getUri(), ROOT_URI + u"/studio.data");
    EXPECT_EQ(data->getQualifiedName(), u"studio.data");
    EXPECT_THAT(data->getTypes(), ElementsAre(ContextData::metaClass(), Property::metaClass(),
                                              registry().getType(u"studio.data.PropertyValue")));
}

TEST(MetaPackage, HasItsProperties)
{
    zero::Model const model = zero::Model::create(zero::ModelSpec{});
    ContextData const context = ContextData::create(model, {});
    Property const property = Property::create(model, {});
    using enum meta::ValueFlags;
    struct Row {
        zero::ModelElement element;
        unsigned long index;
        char const* uuid;
        std::u16string name;
        meta::ValueFlags flags;
        std::u16string type;
        std::u16string opposite = {}, qualifiedBy = {};
    };
    Row const rows[] = {
        {context, 1, "c3756432-d277-3c50-9501-1cdc00c51e2d", u"ContextData.activeContexts", OrderedValues,
         u"StdString"},
        {context, 2, "855ded9b-1a58-3c34-9139-cf2b7e39e297", u"ContextData.properties", KeyedElements,
         u"studio.data.Property", u"studio.data.Property.owner", u"studio.data.Property.name"},
        {property, 1, "8460da61-c9f9-369b-872c-9b0ba5ef9828", u"Property.name", Single, u"StdString"},
        {property, 2, "4d3a5145-05d2-3cc3-879e-ca60228d0628", u"Property.value", Single, u"studio.data.PropertyValue"},
        {property, 3, "d92fc30d-fce4-346d-986c-7afd630033cb", u"Property.owner", Single, u"studio.data.ContextData",
         u"studio.data.ContextData.properties"}};
    for (Row const& row : rows) {
        SCOPED_TRACE(row.uuid);
        meta::Property const found = row.element->getPropertyByIndex(row.index);
        ASSERT_EQ(found, find(row.uuid));
        EXPECT_EQ(found->getQualifiedName(), u"studio.data." + row.name);
        EXPECT_EQ(found.index(), row.index);
        EXPECT_EQ(found->getValueFlags(), row.flags);
        EXPECT_EQ(found->isComposite(), row.flags == KeyedElements);
        EXPECT_EQ(nameOf(found->getType()), row.type);
        EXPECT_EQ(found->isOrdered(), row.flags != KeyedElements);
        EXPECT_EQ(found->isUnique(), row.flags != OrderedValues);
        EXPECT_EQ(nameOf(found->getOpposite()), row.opposite);
        EXPECT_EQ(nameOf(found->getQualifiedBy()), row.qualifiedBy);
        EXPECT_TRUE(found->isQualificationUnique() && !found->getDefaultValue());
    }
    for (unsigned long const none : {0ul, 4ul, 1000ul, zero::ModelElement::Impl::NO_INDEX}) {
        EXPECT_FALSE(context->getPropertyByIndex(none) || property->getPropertyByIndex(none));
        EXPECT_FALSE(MetaPackageStudio_data::contextDataProperty(none) ||
                     MetaPackageStudio_data::propertyProperty(none));
    }
    EXPECT_FALSE(context->getPropertyByIndex(3));
}

TEST(MetaPackage, HasItsClassesAndOperations)
{
    MetaPackageStudio_data::getInstance();
    struct Row {
        std::u16string type, scoped;
        char const *uuid, *cloneTo, *model, *cloneUUID;
    };
    Row const rows[] = {{u"studio.data.ContextData", u"studio::data::ContextData",
                         "41062a53-2003-33ce-b973-744a819d2bf1", "5b62344b-ac02-3efa-9d30-5ca85795de4f",
                         "dd1f3c1e-8fad-3080-8dc5-511640a42d36", "9eb4e297-4f9a-35ec-83d9-5f6c1327ec9b"},
                        {u"studio.data.Property", u"studio::data::Property", "12acc4e4-a131-3f1c-a11f-18d031a04f91",
                         "41d8e36c-79ed-3903-90ae-da0fe6ce0355", "59c6e654-395a-3369-bebd-5ae8b64a29ce",
                         "f216201a-595e-3c5a-9a3d-49625ee020db"}};
    for (Row const& row : rows) {
        SCOPED_TRACE(row.uuid);
        auto const type = findAs<meta::Class>(row.uuid);
        ASSERT_TRUE(type && type == registry().getType(row.type) && type == registry().getType(row.scoped));
        EXPECT_EQ(type->getQualifiedName(), row.type);
        EXPECT_EQ(std::u16string(type->getTypeId().begin(), type->getTypeId().end()), row.type);
        EXPECT_EQ(type->getSuperclass(), zero::ModelElement::metaClass());
        EXPECT_FALSE(type->isAbstract() || type->isFinal());
        EXPECT_TRUE(registry().createElement(type, zero::Model::create(zero::ModelSpec{}), {}).isA(type));

        auto const cloneTo = findAs<meta::Operation>(row.cloneTo);
        ASSERT_TRUE(cloneTo);
        EXPECT_EQ(cloneTo->getQualifiedName(), row.type + u".cloneTo");
        EXPECT_TRUE(cloneTo->isPublic() && !cloneTo->isAbstract() && !cloneTo->isStatic());
        EXPECT_TRUE(cloneTo->getType() == type && cloneTo->getLower() == 1 && cloneTo->getUpper() == 1);
        auto const model = findAs<meta::Argument>(row.model), cloneUUID = findAs<meta::Argument>(row.cloneUUID);
        EXPECT_THAT(cloneTo->getArguments(), ElementsAre(model, cloneUUID));
        for (auto const& [argument, name, held] :
             {std::tuple{model, u"model", u"Model"}, std::tuple{cloneUUID, u"cloneUUID", u"Boolean"}}) {
            EXPECT_TRUE(argument->getName() == name && nameOf(argument->getType()) == held);
            EXPECT_TRUE(argument->isInput() && argument->getLower() == 1 && argument->getUpper() == 1);
        }
    }
}

TEST(MetaPackage, SerializesPropertyValues)
{
    MetaPackageStudio_data::getInstance();
    meta::PrimitiveType const type = registry().getPrimitiveType(u"studio::data::PropertyValue");
    ASSERT_EQ(type, find("ff213765-2c5d-37bc-a365-124aa1abb674"));
    EXPECT_EQ(*registry().valueTypeOf(type), typeid(PropertyValue));
    EXPECT_EQ(type->getTypeId(), "studio.data.PropertyValue");
    meta::PropertySerializer* const serializer =
        meta::PropertySerializerRegistry::getInstance().findPropertySerializer(type);
    ASSERT_TRUE(serializer);
    EXPECT_EQ(serializer->serializeValue(serializer->parseOptionalValue(u"2")), u"2.0");
}

// ---- coming and going: each in a process of its own, where nothing has been made yet

/// Ends the process, at once, with a code that tells where.
#define REQUIRE(condition)                                                   \
    if (!(condition)) {                                                      \
        std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
        std::_Exit(1);                                                       \
    }

bool isForgotten()
{
    bool const byName = registry().getType(u"studio.data.ContextData") ||
                        registry().getType(u"studio::data::Property") ||
                        registry().getType(u"studio.data.PropertyValue");
    return !byName && !find(ROOT_UUID) && !registry().findRootPackage(ROOT_URI);
}

/// A stale root is replaced, and what replaced it is forgotten with it.
void replaceAStaleRoot()
{
    ContextData const context = ContextData::create(zero::Model::create(zero::ModelSpec{}), {});
    meta::Package const first = registry().findRootPackage(ROOT_URI);
    std::size_t const elements = registry().model()->elements().size();
    MetaPackageStudio_data* const second = MetaPackageTest::make();
    meta::Package const replacement = registry().findRootPackage(ROOT_URI);
    meta::Type const value = registry().getType(u"studio.data.PropertyValue");
    REQUIRE(!first && replacement && find(ROOT_UUID) == replacement);
    REQUIRE(registry().model()->elements().size() == elements);
    REQUIRE(registry().getType(u"studio.data.Property") != Property::metaClass());
    REQUIRE(zero::isInstance<ContextData>(context));   // of the instance that the process began with

    MetaPackageTest::destroy(second);
    REQUIRE(isForgotten() && !value && !replacement);
    REQUIRE(!meta::PropertySerializerRegistry::getInstance().findPropertySerializer(value));
    std::exit(0);
}

/// A missing type leaves nothing, and the next call tries again.
void failForWantOfAType()
{
    zero::Model const& model = registry().model();
    {
        zero::Model::Thawer const thawer = registry().freezer().thaw();
        registry().getType(u"StdString")->destroy();
    }
    std::size_t const elements = model->elements().size();
    zero::Model const own = zero::Model::create(zero::ModelSpec{});
    for (int attempt = 0; attempt != 2; ++attempt) {
        try {
            ContextData::create(own, {});
            std::_Exit(1);
        } catch (NoSuchType const& failure) {
            REQUIRE(failure.message().typeName() == u"StdString");
        }
        REQUIRE(isForgotten() && model->elements().size() == elements && own->elements().empty());
        REQUIRE(!MetaPackageStudio_data::contextDataClassImpl());
    }

    meta::PrimitiveType text;
    {
        zero::Model::Thawer const thawer = registry().freezer().thaw();
        text = meta::PrimitiveType::create(model, {});
        registry().registerType(text, std::make_unique<meta::CollectionInstantiatorOf<std::string>>());
        registry().registerTypeNames(text, "StdString", "std::string");
    }
    REQUIRE(ContextData::create(own, {}) && !isForgotten());
    REQUIRE(Property::Impl::propertyAt(1)->getType() == text);
    std::exit(0);
}

/// Makes the instance again and again, each time with one allocation more that succeeds; `check` comes in between.
template <class Make, class Check>
void failEachAllocation(Make const& make, Check const& check)
{
    std::size_t failures = 0;
    for (bool failed = true; failed; ++failures) {
        support::FailingAllocation const failing{failures};
        try {
            make();
        } catch (std::bad_alloc const&) {}
        failed = failing.happened();
        REQUIRE(!failed || check());
    }
    REQUIRE(failures > 20);
}

/// Want of memory leaves nothing, wherever it strikes.
void failEveryAllocation()
{
    failEachAllocation([] { meta::MetaRegistry::getInstance(); }, [] { return true; });
    std::size_t const elements = registry().model()->elements().size();
    failEachAllocation([] { MetaPackageStudio_data::getInstance(); },
                       [&] {
                           return !MetaPackageStudio_data::contextDataClassImpl() && isForgotten() &&
                                  registry().model()->elements().size() == elements;
                       });
    REQUIRE(!isForgotten() && Property::Impl::propertyAt(2) == find("4d3a5145-05d2-3cc3-879e-ca60228d0628"));
    std::exit(0);
}

/// Destroyed after the package, if made before it.
struct Late {
    zero::Model model = zero::Model::create(zero::ModelSpec{});
    ContextData context;

    ~Late()
    {
        REQUIRE(isForgotten());
        REQUIRE(!ContextData::metaClass().get() && !Property::metaClass().get());
        REQUIRE(!MetaPackageStudio_data::propertyProperty(1).get());
        REQUIRE(context && !zero::isInstance<ContextData>(context) && !context.isA(zero::ModelElement::metaClass()));
        REQUIRE(!context->getPropertyByIndex(1));
        ContextData::create(model, {})->destroy();
        context->destroy();
        REQUIRE(!context);
        std::_Exit(7);
    }
};

/// Contexts may outlive the package.
void exitInTheHardOrder()
{
    static Late late;
    late.context = ContextData::create(late.model, {});
    Property const property = Property::create(late.model, {});
    property->setOwner(late.context);
    std::exit(0);
}

/// Clean-ups run in order, while the package is whole.
void cleanUp()
{
    static int s_calls = 0;
    static struct AtLast {
        ~AtLast() { std::_Exit(s_calls == 123 ? 7 : 1); }
    } s_atLast;
    MetaPackageStudio_data& package = MetaPackageStudio_data::getInstance();
    package.addCleanup([&] {
        s_calls = s_calls * 10 + 1;
        REQUIRE(ContextData::metaClass() && !isForgotten());
        package.addCleanup([] { s_calls = s_calls * 10 + 3; });
    });
    package.addCleanup([] { s_calls = s_calls * 10 + 2; });
    std::exit(0);
}

/// A cleanup function that throws ends the process.
void cleanUpBadly()
{
    MetaPackageStudio_data::getInstance().addCleanup([] { throw std::runtime_error{"no"}; });
    std::exit(0);
}

TEST(MetaPackageProcess, EndsAsItShould)
{
    support::useFreshProcesses();
    EXPECT_EXIT(replaceAStaleRoot(), ExitedWithCode(0), "");
    EXPECT_EXIT(failForWantOfAType(), ExitedWithCode(0), "");
    EXPECT_EXIT(failEveryAllocation(), ExitedWithCode(0), "");
    EXPECT_EXIT(exitInTheHardOrder(), ExitedWithCode(7), "");
    EXPECT_EXIT(cleanUp(), ExitedWithCode(7), "");
    EXPECT_DEATH(cleanUpBadly(), "");
}

}   // namespace
}   // namespace studio::data
