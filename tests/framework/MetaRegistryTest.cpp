#include "tarn/zero/meta/MetaRegistry.h"

#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/meta/AbstractMetaPackage.h"
#include "tarn/zero/meta/PropertySerializerRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <utility>

namespace tarn::zero::meta {
namespace {

using namespace tarn0::messages;
using foundation::core::except::Exception;
using testing::ElementsAre;

template <class Msg>
using Failure = Exception<Msg, std::exception>;

boost::uuids::uuid const FRESH{};

MetaRegistry& registry()
{
    return MetaRegistry::getInstance();
}

// ---- what every schema may rely on

TEST(MetaRegistry, KnowsTheKernelTypesByBothNames)
{
    struct Row {
        std::u16string name, qualifiedName;   // empty: unknown
        std::type_info const* valueType;
        bool isPrimitive;
    };
    Row const rows[] = {{u"StdString", u"StdString", &typeid(std::string), true},
                        {u"std::string", u"StdString", &typeid(std::string), true},
                        {u"Boolean", u"Boolean", &typeid(bool), true},
                        {u"Model", u"Model", &typeid(Model), true},
                        {u"ModelElement", u"ModelElement", &typeid(ModelElement), false},
                        {u"tarn::zero::meta::Argument", u"meta.Argument", &typeid(Argument), false},
                        {u"Class", u"", nullptr, false},
                        {u"\xD800", u"", nullptr, false}};
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.name));
        Type const type = registry().getType(row.name);
        EXPECT_EQ(registry().valueTypeOf(type), row.valueType);
        EXPECT_EQ(bool(registry().getPrimitiveType(row.name)), row.isPrimitive);
        EXPECT_EQ(type ? type->getQualifiedName() : u"", row.qualifiedName);
    }
    PrimitiveType const text = registry().getPrimitiveType(u"StdString");
    EXPECT_TRUE(registry().isCorrectTypeForTypeId(text, "std::string"));
    EXPECT_FALSE(registry().isCorrectTypeForTypeId(text, "Boolean"));
    EXPECT_FALSE(registry().isCorrectTypeForTypeId(PrimitiveType{}, "unheard of"));
    EXPECT_FALSE(internal::isEnumType(text));
}

/// The classes of a new element of that kind, as one letter each.
template <class H>
std::string classes()
{
    Model const model = Model::create(ModelSpec{});
    H const element = H::create(model, FRESH);
    EXPECT_EQ(element->getMetaClass(), H::metaClass());
    std::pair<char, char16_t const*> const all[] = {
        {'M', u"ModelElement"},       {'N', u"meta.NamedElement"},   {'T', u"meta.Type"},
        {'v', u"meta.PrimitiveType"}, {'S', u"meta.StructuredType"}, {'O', u"meta.OperatableType"},
        {'c', u"meta.Class"},         {'i', u"meta.Interface"},      {'E', u"meta.TypedElement"},
        {'p', u"meta.Property"},      {'o', u"meta.Operation"},      {'a', u"meta.Argument"},
        {'P', u"meta.Package"}};
    std::string letters;
    for (auto const& [letter, name] : all)
        if (element.isA(Class{elementCast<Class>(registry().getType(name))}))
            letters += letter;
    return letters;
}

TEST(MetaRegistry, MetaElementsAreElementsWithClassesOfTheirOwn)
{
    EXPECT_EQ(classes<Class>(), "MNTSOc");
    EXPECT_EQ(classes<Interface>(), "MNTSOi");
    EXPECT_EQ(classes<PrimitiveType>(), "MNTv");
    EXPECT_EQ(classes<Property>(), "MNEp");
    EXPECT_EQ(classes<Operation>(), "MNEo");
    EXPECT_EQ(classes<Argument>(), "MNEa");
    EXPECT_EQ(classes<Package>(), "MNP");
    EXPECT_EQ(Property{}.index(), 0u);
}

TEST(MetaRegistry, IsWritableOnlyWhileThawed)
{
    Type const text = registry().getType(u"StdString");
    EXPECT_THROW(text->setName(u"Text"), Failure<ModelFrozen>);
    EXPECT_THROW(Package::create(registry().model(), FRESH), Failure<ModelFrozen>);
    Model::Thawer const thawer = registry().freezer().thaw();
    Transaction const rolledBack = registry().model()->beginTransaction(true);
    EXPECT_NO_THROW(text->setName(u"Text"));
}

// ---- registering

/// Tells whether the registry still has it.
class Watched final : public CollectionInstantiator {
public:
    enum class Colour { Red };

    Watched() { ++s_alive; }
    ~Watched() override { --s_alive; }
    std::type_info const& valueType() const noexcept override { return typeid(Colour); }
    bool isEnum() const noexcept override { return true; }
    Value createSequence(Type const&) const override { return {}; }
    Value createMap(Type const&) const override { return {}; }

    static int s_alive;
};
int Watched::s_alive = 0;

/// A package with one value type, registered in a transaction.
class Registered : public testing::Test, protected AbstractMetaPackage {
protected:
    ~Registered() override
    {
        unregisterRootPackage(URI);
        if (root)
            root->destroy();
    }

    void makeElements()
    {
        root = createPackage(u"", URI);
        Package const inner = createPackage(u"colours", URI + u"/colours");
        inner->setParentPackage(root);
        colour = PrimitiveType::create(registry().model(), FRESH);
        colour->setOwningPackage(inner);
        enter(colour);
    }
    static void enter(Type const& type)
    {
        registry().registerType(type, std::make_unique<Watched>());
        registry().registerTypeNames(type, "colours.Colour", "colours::Colour");
    }
    void makePackage()
    {
        Transaction transaction = registry().model()->beginTransaction(true);
        makeElements();
        transaction.commit(boost::none);
        registerRootPackage(root);
        expectKnown(colour);
        EXPECT_EQ(registry().findRootPackage(URI), root);
    }

    void expectKnown(Type const& type) const
    {
        EXPECT_EQ(registry().getType(u"colours.Colour"), type);
        EXPECT_EQ(registry().getType(u"colours::Colour"), type);
    }
    void expectForgotten() const
    {
        expectKnown(Type{});
        EXPECT_EQ(Watched::s_alive, 0);
        EXPECT_FALSE(registry().valueTypeOf(colour) || registry().findRootPackage(URI));
        EXPECT_TRUE(registry().getType(u"StdString"));
    }

    std::u16string const URI = u"http://schema.invalid/colours";
    Model::Thawer const m_thawer = registry().freezer().thaw();
    Package root;
    PrimitiveType colour;
};

TEST_F(Registered, IsForgottenWithItsRootPackage)
{
    makePackage();
    EXPECT_EQ(*registry().valueTypeOf(colour), typeid(Watched::Colour));
    EXPECT_TRUE(internal::isEnumType(colour));
    registry().unregisterRootPackage(u"http://schema.invalid/unknown");
    expectKnown(colour);
    registry().unregisterRootPackage(URI);
    expectForgotten();
    EXPECT_TRUE(root);   // destroying it is up to the package
}

TEST_F(Registered, IsForgottenWhenItDiesForGood)
{
    makePackage();
    {
        Transaction const rolledBack = registry().model()->beginTransaction(true);
        root->destroy();
        expectKnown(Type{});
    }
    expectKnown(colour);
    EXPECT_EQ(registry().findRootPackage(URI), root);
    root->destroy();
    expectForgotten();
}

TEST_F(Registered, LeavesNothingWhenItsTransactionRollsBack)
{
    std::size_t const before = registry().model()->elements().size();
    {
        Transaction const rolledBack = registry().model()->beginTransaction(true);
        makeElements();
        expectKnown(colour);
    }
    registry().forgetDeadTypes();
    expectForgotten();
    EXPECT_EQ(registry().model()->elements().size(), before);
}

TEST_F(Registered, KeepsTheFirstOfANameUntilThatDies)
{
    makePackage();
    PrimitiveType const second = PrimitiveType::create(registry().model(), FRESH);
    enter(second);
    expectKnown(colour);
    colour->destroy();
    expectKnown(Type{});
    registry().registerTypeNames(second, "colours.Colour", "colours::Colour");
    expectKnown(second);
    second->destroy();
    root->destroy();
    expectForgotten();
}

TEST_F(Registered, RefusesIndexesThatNoElementCanRemember)
{
    Property const property = createProperty(u"p", ValueFlags::Single, false, "c3756432-d277-3c50-9501-1cdc00c51e2d");
    for (int const index : {-1, 0, 64})
        EXPECT_THROW(setPropertyIndex(property, index), std::out_of_range);
    setPropertyIndex(property, 63);
    EXPECT_EQ(property.index(), 63u);
    property->destroy();
    EXPECT_THROW(createClass(u"C", "C", false, false, "5cafa685-a2da"), std::runtime_error);
}

TEST(MetaRegistry, MakesElementsOfClassesThatHaveAFactory)
{
    auto const make = [](Type const& type) {
        return registry().createElement(type, Model::create(ModelSpec{}), FRESH);
    };
    EXPECT_EQ(make(registry().getType(u"meta.Package"))->getMetaClass(), Package::metaClass());
    EXPECT_THROW(make(registry().getType(u"StdString")), Failure<InvalidValue>);
    EXPECT_THROW(make(registry().getType(u"meta.Type")), Failure<InvalidValue>);
    EXPECT_THROW(make(Type{}), Failure<NoSuchType>);
}

TEST(MetaRegistry, MakesDetachedCollections)
{
    Type const text = registry().getType(u"StdString");
    Value const texts = registry().collectionInstantiator(text)->createSequence(text);
    auto const* const sequence = texts.peekValue<CollectionRef<PrimitiveSequence<std::string>>>();
    ASSERT_TRUE(sequence && texts.meta().isUnmanaged());
    (*sequence)->push_back("a");
    EXPECT_THAT(**sequence, ElementsAre("a"));
    EXPECT_THROW(registry().collectionInstantiator(text)->createMap(text), Failure<InvalidValue>);

    Type const package = registry().getType(u"meta.Package");
    Value const packages = registry().collectionInstantiator(package)->createSequence(package);
    EXPECT_TRUE(packages.peekValue<CollectionRef<ElementSequence<Package>>>());
    Type const root = ModelElement::metaClass();
    EXPECT_THROW(registry().collectionInstantiator(root)->createSequence(root), Failure<InvalidValue>);
}

// ---- serializers

/// Numbers as that many strokes.
class Strokes final : public DefaultPropertySerializer<int> {
public:
    using DefaultPropertySerializer::DefaultPropertySerializer;
    std::u16string doSerializeValue(int const& value) override
    {
        return std::u16string(static_cast<std::size_t>(value), u'|');
    }
    int doParseValue(std::u16string const& text) override { return static_cast<int>(text.size()); }
};

TEST(PropertySerializer, WrapsWhatTheValueTypeWritesAndReads)
{
    Type const type = registry().getType(u"Boolean");   // any will do
    Strokes strokes{type};
    EXPECT_EQ(strokes.serializeValue(strokes.parseValue(u"|||")), u"|||");
    EXPECT_EQ(strokes.serializeValue(strokes.parseOptionalValue(u"||")), u"||");
    EXPECT_EQ(strokes.serializeValue(strokes.createDefaultValue()) + strokes.serializeValue(Value{}), u"");
    EXPECT_EQ(strokes.parseValue(u"|").meta().type(), type);
    EXPECT_FALSE(strokes.createEmptyOptionalValue().getValue<boost::optional<int>>());
    EXPECT_THROW(strokes.serializeValue(Value{ValueMeta{}, std::string{"x"}}), Failure<CannotCastIncompatibleTypes>);

    std::vector<Value> const values{strokes.parseValue(u"||"), strokes.parseValue(u"|"), strokes.parseValue(u"||")};
    Value const sequence = strokes.combineAsUnmanagedSequenceValue(values);
    EXPECT_TRUE(sequence.meta().isUnmanaged());
    EXPECT_THAT(sequence.getValue<std::vector<int>>(), ElementsAre(2, 1, 2));
    EXPECT_THAT(strokes.combineAsUnmanagedSetValue(values).getValue<std::set<int>>(), ElementsAre(1, 2));
    EXPECT_THROW(strokes.combineAsUnmanagedSequenceValue({Value{ValueMeta{}, 2.0}}),
                 Failure<CannotCastIncompatibleTypes>);
}

TEST(PropertySerializerRegistry, KeepsTheFirstOfATypeUntilItIsUnlinked)
{
    Type const type = registry().getType(u"Boolean");
    PropertySerializerRegistry& serializers = PropertySerializerRegistry::getInstance();
    PropertySerializerRegistry::LockGuard const lock{serializers};
    auto first = std::make_unique<Strokes>(type);
    PropertySerializer* const kept = first.get();
    serializers.registerPropertySerializer(type, std::move(first));
    serializers.registerPropertySerializer(type, std::make_unique<Strokes>(type));
    EXPECT_EQ(serializers.findPropertySerializer(type), kept);
    EXPECT_EQ(serializers.unlinkPropertySerializer(type).get(), kept);
    EXPECT_FALSE(serializers.findPropertySerializer(type));
    EXPECT_FALSE(serializers.unlinkPropertySerializer(type));
    EXPECT_THROW(serializers.registerPropertySerializer(Type{}, std::make_unique<Strokes>(type)),
                 Failure<InvalidValue>);
}

}   // namespace
}   // namespace tarn::zero::meta
