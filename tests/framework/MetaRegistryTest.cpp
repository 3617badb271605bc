#include "tarn/zero/meta/MetaRegistry.h"

#include "support/Elements.h"
#include "tarn/zero/meta/AbstractMetaPackage.h"
#include "tarn/zero/meta/PropertySerializerRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace tarn::zero::meta {
namespace {

using support::boxed;
using support::commit;
using support::newModel;
using support::rollBack;
using support::thrownBy;
using testing::ElementsAre;

boost::uuids::uuid const FRESH{};

MetaRegistry& registry()
{
    return MetaRegistry::getInstance();
}

// ---- a schema in a model of its own, which nobody freezes

class Schema : public testing::Test {
protected:
    Schema()
    {
        inner->setName(u"inner");
        type->setName(u"Thing");
        key->setName(u"key");
        inner->setParentPackage(outer);
        type->setOwningPackage(inner);
        key->setOwningType(type);
        operation->setOwningType(type);
        argument->setOperation(operation);
    }

    Model model = newModel();
    Package outer = Package::create(model, FRESH);
    Package inner = Package::create(model, FRESH);
    Class type = Class::create(model, FRESH);
    Property key = Property::create(model, FRESH);
    Operation operation = Operation::create(model, FRESH);
    Argument argument = Argument::create(model, FRESH);
};

TEST_F(Schema, NamesAreQualifiedByWhatContainsThemAndMovingLeavesTheOldPlace)
{
    EXPECT_EQ(key->getQualifiedName(), u"inner.Thing.key");   // the outer package has no name
    outer->setName(u"outer");
    EXPECT_EQ(type->getQualifiedName(), u"outer.inner.Thing");
    inner->setParentPackage(Package{});
    EXPECT_EQ(type->getQualifiedName(), u"inner.Thing");
    for (int time = 0; time != 2; ++time) {   // the second time it is there already
        type->setOwningPackage(outer);
        EXPECT_EQ(inner->getTypes().size(), 0u);
        EXPECT_THAT(outer->getTypes(), ElementsAre(Type{type}));
        EXPECT_EQ(type->getOwningPackage(), outer);
    }
    key->setOwningType(StructuredType{});
    EXPECT_EQ(type->getProperties().size(), 0u);
    EXPECT_FALSE(key->getOwningType());
}

TEST_F(Schema, RefusesEveryChangeOfADeadElement)
{
    auto const refuses = [&](char const* how) {
        int at = 0;
        for (auto const& change : std::vector<std::function<void()>>{
                 [&] { inner->setName(u"n"); }, [&] { inner->setUri(u"u"); }, [&] { inner->setParentPackage({}); },
                 [&] { type->setName(u"Thing"); }, [&] { type->setTypeId("t"); }, [&] { type->setOwningPackage({}); },
                 [&] { type->setSuperclass({}); }, [&] { type->setIsFinal(true); }, [&] { key->setOwningType({}); },
                 [&] { key->setIndex(3); }, [&] { key->setType(type); }, [&] { operation->setIsStatic(true); },
                 [&] { operation->setOwningType({}); }, [&] { argument->setIsInput(true); },
                 [&] { argument->setOperation({}); }, [&] { outer->getImportedPackagesMutable().clear(); },
                 [&] { operation->notifyCreated(); }}) {
            EXPECT_EQ(thrownBy(change), "logic_error") << how << ", change " << at;
            ++at;
        }
    };
    Transaction transaction = model->beginTransaction(true);
    outer->destroy();
    refuses("destroyed");
    model = Model{};
    transaction.commit(boost::none);
    refuses("model ended");
}

TEST_F(Schema, RefusesCircles)
{
    Class const derived = Class::create(model, FRESH);
    derived->setSuperclass(type);
    for (Package const& below : {inner, outer})
        EXPECT_EQ(thrownBy([&] { outer->setParentPackage(below); }), "CircularContainment");
    for (Class const& below : {derived, type})
        EXPECT_EQ(thrownBy([&] { type->setSuperclass(below); }), "CircularContainment");
    type->setIsFinal(true);
    EXPECT_EQ(thrownBy([&] { Class::create(model, FRESH)->setSuperclass(type); }), "InvalidValue");
    EXPECT_TRUE(outer->isTopLevel() && !type->getSuperclass());
}

TEST_F(Schema, RollingBackRestoresEverySetting)
{
    rollBack(model, [&] {
        key->setName(u"other");
        key->setType(type);
        key->setIsOrdered(true);
        key->setLower(7);
        key->setUpper(9);
        key->setOpposite(key);
        key->setQualifiedBy(key);
        key->setIsQualificationUnique(true);
        key->setIsUnique(true);
        key->setDefaultValue(std::u16string{u"text"});
        key->setValueFlags(ValueFlags::KeyedElements);
        key->setIsComposite(true);
        key->setIndex(5);
        key->setOwningType(StructuredType{});
        operation->setIsAbstract(true);
        operation->setIsStatic(true);
        operation->setIsPublic(false);
        operation->getArgumentsMutable().clear();
        argument->setIsInput(true);
        type->setTypeId("id");
        type->setIsAbstract(true);
        outer->setUri(u"uri");
        outer->getImportedPackagesMutable().push_back(VersionInfo{});
        inner->destroy();
    });
    EXPECT_EQ(key->getQualifiedName(), u"inner.Thing.key");
    EXPECT_FALSE(key->getType() || key->isOrdered() || key->getLower() != 0 || key->getUpper() != 1);
    EXPECT_FALSE(key->getOpposite() || key->getQualifiedBy() || key->isQualificationUnique() || key->isUnique());
    EXPECT_FALSE(key->getDefaultValue() || key->isCollection() || key->isComposite() || key.index() != 0);
    EXPECT_FALSE(operation->isAbstract() || operation->isStatic() || !operation->isPublic() || argument->isInput());
    EXPECT_THAT(operation->getArguments(), ElementsAre(argument));
    EXPECT_EQ(type->getTypeId() + (type->isAbstract() ? "abstract" : ""), "");
    EXPECT_EQ(outer->getUri(), u"");
    EXPECT_EQ(outer->getImportedPackages().size(), 0u);
    EXPECT_THAT(outer->getPackages(), ElementsAre(inner));
    EXPECT_EQ(model->findElement(argument.Uuid(), 1), argument);
}

TEST_F(Schema, DiesWithItsPackageHoweverItIsKnotted)
{
    Property const other = Property::create(model, FRESH);
    other->setOwningType(type);
    other->setType(type);
    other->setOpposite(key);
    key->setOpposite(other);
    key->setQualifiedBy(key);
    outer->destroy();
    EXPECT_FALSE(outer || inner || type || key || other || operation || argument);
    EXPECT_TRUE(model->elements().empty());
    EXPECT_EQ(key->getQualifiedName(), u"inner.Thing.key");   // dead elements tell what they were
    EXPECT_EQ(thrownBy([&] { key->setName(u"x"); }), "logic_error");
    EXPECT_EQ(thrownBy([&] { Class::create(model, FRESH)->setOwningPackage(inner); }), "logic_error");
}   // under a leak checker: and nothing holds on to anything

// ---- the registry, as every schema finds it

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
    EXPECT_FALSE(registry().isCorrectTypeForTypeId(PrimitiveType{}, "unheard of") || internal::isEnumType(text));

    EXPECT_EQ(thrownBy([&] { text->setName(u"Text"); }), "ModelFrozen");
    EXPECT_EQ(thrownBy([] { static_cast<void>(Package::create(registry().model(), FRESH)); }), "ModelFrozen");
    Model::Thawer const thawer = registry().freezer().thaw();
    rollBack(registry().model(), [&] { text->setName(u"Text"); });
}

/// The class of a new element of that kind and those above it.
template <class H>
std::u16string ancestry()
{
    H const element = H::create(newModel(), FRESH);
    EXPECT_EQ(element->getMetaClass(), H::metaClass());
    std::u16string names;
    for (Class type = element->getMetaClass(); type; type = type->getSuperclass()) {
        EXPECT_TRUE(element.isA(type));
        names += type->getName() + (type->getSuperclass() ? u" " : u"");
    }
    return names;
}

TEST(MetaRegistry, MetaElementsAreElementsWithClassesOfTheirOwn)
{
    EXPECT_EQ(ancestry<Class>(), u"Class OperatableType StructuredType Type NamedElement ModelElement");
    EXPECT_EQ(ancestry<Interface>(), u"Interface OperatableType StructuredType Type NamedElement ModelElement");
    EXPECT_EQ(ancestry<PrimitiveType>(), u"PrimitiveType Type NamedElement ModelElement");
    EXPECT_EQ(ancestry<Property>(), u"Property TypedElement NamedElement ModelElement");
    EXPECT_EQ(ancestry<Operation>(), u"Operation TypedElement NamedElement ModelElement");
    EXPECT_EQ(ancestry<Argument>(), u"Argument TypedElement NamedElement ModelElement");
    EXPECT_EQ(ancestry<Package>(), u"Package NamedElement ModelElement");
    EXPECT_FALSE(Package::create(newModel(), FRESH).isA(Type::metaClass()) || Property{}.index() != 0);
}

TEST(MetaRegistry, MakesElementsAndDetachedCollectionsByType)
{
    Type const text = registry().getType(u"StdString"), package = registry().getType(u"meta.Package"),
               root = ModelElement::metaClass();
    auto const make = [](Type const& type) { return registry().createElement(type, newModel(), FRESH); };
    EXPECT_EQ(make(package)->getMetaClass(), Package::metaClass());
    for (Type const& type : {text, registry().getType(u"meta.Type")})
        EXPECT_EQ(thrownBy([&] { make(type); }), "InvalidValue");
    EXPECT_EQ(thrownBy([&] { make(Type{}); }), "NoSuchType");

    Value const texts = registry().collectionInstantiator(text)->createSequence(text);
    auto const* const sequence = texts.peekValue<CollectionRef<PrimitiveSequence<std::string>>>();
    ASSERT_TRUE(sequence && texts.meta().isUnmanaged());
    (*sequence)->push_back("a");
    EXPECT_THAT(**sequence, ElementsAre("a"));
    Value const packages = registry().collectionInstantiator(package)->createSequence(package);
    EXPECT_TRUE(packages.peekValue<CollectionRef<ElementSequence<Package>>>());
    EXPECT_EQ(thrownBy([&] { static_cast<void>(registry().collectionInstantiator(text)->createMap(text)); }),
              "InvalidValue");
    EXPECT_EQ(thrownBy([&] { static_cast<void>(registry().collectionInstantiator(root)->createSequence(root)); }),
              "InvalidValue");
}

// ---- registering

/// Tells whether the registry still has it.
struct Watched final : CollectionInstantiator {
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

/// A package that registers what a test says.
class Registered : public testing::Test, protected AbstractMetaPackage {
protected:
    static PrimitiveType newType() { return PrimitiveType::create(registry().model(), FRESH); }
    static void enter(Type const& type)
    {
        registry().registerType(type, std::make_unique<Watched>());
        registry().registerTypeNames(type, "colours.Colour", "colours::Colour");
    }
    static void expectKnown(Type const& type, Package const& root)
    {
        EXPECT_TRUE(registry().getType(u"colours.Colour") == type && registry().getType(u"colours::Colour") == type);
        EXPECT_EQ(registry().findRootPackage(URI), root);
    }

    static constexpr char16_t const* URI = u"http://schema.invalid/colours";
    Model::Thawer const m_thawer = registry().freezer().thaw();
};

TEST_F(Registered, KeepsTheFirstOfANameUntilThatDiesForGood)
{
    Package root;
    PrimitiveType const first = newType(), second = newType();
    commit(registry().model(), [&] {
        root = createPackage(u"", URI);
        first->setOwningPackage(root);
        enter(first);
    });
    registerRootPackage(root);
    enter(second);
    EXPECT_TRUE(internal::isEnumType(first) && *registry().valueTypeOf(first) == typeid(Watched::Colour));
    rollBack(registry().model(), [&] {
        root->destroy();
        expectKnown(Type{}, Package{});
    });
    registry().unregisterRootPackage(u"http://schema.invalid/unknown");
    expectKnown(first, root);
    first->destroy();
    expectKnown(Type{}, root);
    registry().registerTypeNames(second, "colours.Colour", "colours::Colour");
    expectKnown(second, root);
    second->setOwningPackage(root);
    registry().unregisterRootPackage(URI);
    expectKnown(Type{}, Package{});
    EXPECT_TRUE(!registry().valueTypeOf(second) && Watched::s_alive == 0 && registry().getType(u"StdString"));
    EXPECT_TRUE(root && second);   // destroying them is up to the package
    root->destroy();
}

TEST_F(Registered, RefusesIndexesThatNoElementCanRemember)
{
    Property const property = createProperty(u"p", ValueFlags::Single, false, "c3756432-d277-3c50-9501-1cdc00c51e2d");
    for (int const index : {-1, 0, 64})
        EXPECT_EQ(thrownBy([&] { setPropertyIndex(property, index); }), "out_of_range");
    setPropertyIndex(property, 63);
    EXPECT_EQ(property.index(), 63u);
    property->destroy();
    EXPECT_THROW(static_cast<void>(createClass(u"C", "C", false, false, "5cafa685-a2da")), std::runtime_error);
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
    Model const model = newModel();
    Type const type = PrimitiveType::create(model, FRESH);   // its C++ type is not known
    Strokes strokes{type};
    EXPECT_EQ(strokes.serializeValue(strokes.parseValue(u"|||")), u"|||");
    EXPECT_EQ(strokes.serializeValue(strokes.parseOptionalValue(u"||")), u"||");
    EXPECT_EQ(strokes.serializeValue(strokes.createDefaultValue()) + strokes.serializeValue(Value{}), u"");
    EXPECT_EQ(strokes.parseValue(u"|").meta().type(), type);
    EXPECT_FALSE(strokes.createEmptyOptionalValue().getValue<boost::optional<int>>());
    EXPECT_EQ(thrownBy([&] { strokes.serializeValue(boxed(std::string{"x"})); }), "CannotCastIncompatibleTypes");

    std::vector<Value> const values{strokes.parseValue(u"||"), strokes.parseValue(u"|"), strokes.parseValue(u"||")};
    Value const sequence = strokes.combineAsUnmanagedSequenceValue(values);
    EXPECT_TRUE(sequence.meta().isUnmanaged());
    EXPECT_THAT(sequence.getValue<std::vector<int>>(), ElementsAre(2, 1, 2));
    EXPECT_THAT(strokes.combineAsUnmanagedSetValue(values).getValue<std::set<int>>(), ElementsAre(1, 2));
    EXPECT_EQ(thrownBy([&] { strokes.combineAsUnmanagedSequenceValue({boxed(2.0)}); }), "CannotCastIncompatibleTypes");
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
    EXPECT_EQ(thrownBy([&] { serializers.registerPropertySerializer(Type{}, std::make_unique<Strokes>(type)); }),
              "InvalidValue");
}

}   // namespace
}   // namespace tarn::zero::meta
