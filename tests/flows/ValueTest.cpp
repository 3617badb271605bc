#include "tarn/zero/Value.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ModelImpl.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

// A value crosses from a program into the library and back. Either has descriptions of its own of types that both use.
namespace tarn::zero {
namespace {

using studio::data::ContextData;
using studio::data::Property;

struct Own {
    int number = 0;
};

TEST(Value, IsOfTheSameTypeInAProgramAndInTheLibrary)
{
    auto const tag = ModelElement::Impl::PUBLIC_ACCESS;
    Model const model = Model::create(ModelSpec{});
    ContextData const data = ContextData::create(model, {});
    // As plain elements: the library's functions are called, not copies of them that the program makes.
    ModelElement const property = Property::create(model, {});
    ModelElement const context = data;
    meta::Property const name = Property::Impl::propertyAt(Property::Impl::NAME);
    meta::Property const active = ContextData::Impl::propertyAt(1);

    property->setPropertyValue(name, Value{ValueMeta{name}, std::string{"made here"}}, tag);
    Value const made = property->getPropertyValue(name, tag);
    EXPECT_EQ(made.getValue<std::string>(), "made here") << "a text that the library boxed";
    ASSERT_TRUE(made.peekValue<std::string>());
    EXPECT_FALSE(made.peekValue<Own>() || made.isCompatible<Own>() || made.isCompatible<std::u16string>());

    data->getActiveContextsMutable().push_back("a");
    Value const texts = context->getPropertyValue(active, tag);
    EXPECT_EQ(texts.getValue<CollectionRef<ContextData::Impl::ActiveContexts>>()->size(), 1u);
    Value const list{ValueMeta{active}, std::vector<std::string>{"a", "b"}};
    EXPECT_EQ(list.getValue<std::vector<std::string>>().size(), 2u) << "the slot's type is the library's";
    EXPECT_FALSE(list.isCompatible<std::set<std::string>>());

    Value const own{ValueMeta{}, Own{5}};
    EXPECT_EQ(Value{own}.getValue<Own>().number, 5);
    EXPECT_FALSE(Value(ValueMeta{name}, Own{5}).isCompatible<Own>());
}

}   // namespace
}   // namespace tarn::zero
