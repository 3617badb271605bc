#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/meta/Package.h"
#include "tarn0/messages/Messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarn::zero::meta {
namespace {

using namespace tarn0::messages;
using testing::ElementsAre;

template <class Msg>
using Failure = foundation::core::except::Exception<Msg, std::exception>;

boost::uuids::uuid const FRESH{};

/// A schema in a model of its own, which nobody freezes.
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

    Model model = Model::create(ModelSpec{});
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

TEST_F(Schema, RefusesCircles)
{
    EXPECT_THROW(outer->setParentPackage(inner), Failure<CircularContainment>);
    EXPECT_THROW(outer->setParentPackage(outer), Failure<CircularContainment>);
    Class const derived = Class::create(model, FRESH);
    derived->setSuperclass(type);
    EXPECT_THROW(type->setSuperclass(derived), Failure<CircularContainment>);
    EXPECT_THROW(type->setSuperclass(type), Failure<CircularContainment>);
    type->setIsFinal(true);
    EXPECT_THROW(Class::create(model, FRESH)->setSuperclass(type), Failure<InvalidValue>);
    EXPECT_TRUE(outer->isTopLevel());
    EXPECT_FALSE(type->getSuperclass());
}

TEST_F(Schema, RollingBackRestoresEverySetting)
{
    {
        Transaction const rolledBack = model->beginTransaction(true);
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
    }
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
    EXPECT_THROW(key->setName(u"x"), std::logic_error);
    EXPECT_THROW(Class::create(model, FRESH)->setOwningPackage(inner), std::logic_error);
}   // under a leak checker: and nothing holds on to anything

}   // namespace
}   // namespace tarn::zero::meta
