#include "tarn/zero/Value.h"

#include "support/Elements.h"
#include "support/Printers.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/Type.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tarn::zero {
namespace {

using namespace support;

ValueMeta slot(unsigned long index)
{
    return ValueMeta{Property::Impl::propertyAt(index)};
}

TEST(ValueBox, GivesBackWhatItHoldsToWhoKnowsTheType)
{
    Value const text{slot(Property::Impl::NAME), std::string{"x"}};
    EXPECT_EQ(text.getValue<std::string>(), "x");
    EXPECT_EQ(text.peekValue<PropertyValue>(), nullptr);
    EXPECT_EQ(thrownBy([&] { text.getValue<PropertyValue>(); }), "CannotCastIncompatibleTypes");
    EXPECT_EQ(thrownBy([&] { text.checkCompatible<char const*>(); }), "CannotCastIncompatibleTypes");
    EXPECT_EQ(thrownBy([&] { text.checkCompatible<std::string>(); }), "");
    try {
        text.getValue<bool>();
    } catch (foundation::core::except::Exception<tarn0::messages::CannotCastIncompatibleTypes> const& exception) {
        EXPECT_EQ(exception.message().heldType(), text.meta().type()->getQualifiedName());
    }
}

TEST(ValueBox, EmptyReadsAsADefaultOfItsOwnType)
{
    struct Row {
        Value value;
        char const* asText;
        char const* asAny;
    };
    char const* const wrong = "CannotCastIncompatibleTypes";
    for (Row const& row : {Row{Value{}, "", ""}, Row{Value{slot(Property::Impl::NAME)}, "", wrong},
                           Row{Value{slot(Property::Impl::VALUE)}, wrong, ""}}) {
        EXPECT_TRUE(row.value.isEmpty());
        EXPECT_EQ(row.value.hash(), 0u);
        EXPECT_EQ(row.value.peekValue<PropertyValue>(), nullptr);
        EXPECT_EQ(thrownBy([&] { EXPECT_EQ(row.value.getValue<std::string>(), ""); }), row.asText);
        EXPECT_EQ(thrownBy([&] { EXPECT_TRUE(row.value.getValue<PropertyValue>().isUndefined()); }), row.asAny);
    }
}

TEST(ValueBox, CopiesAreIndependentAndMovesLeaveEmpty)
{
    std::vector<int> const numbers{1, 2};
    Value first{ValueMeta{}, numbers};
    Value second = first;
    EXPECT_NE(first.peekValue<std::vector<int>>(), second.peekValue<std::vector<int>>());
    first = Value{ValueMeta{}, 7};
    Value const third = std::move(second);
    EXPECT_TRUE(second.isEmpty());   // NOLINT: moved from
    first = third;
    Value& self = first;
    first = self;
    EXPECT_EQ(first.getValue<std::vector<int>>(), numbers);
    EXPECT_EQ(Value::genericCloner<PropertyValue>(nullptr), nullptr);
    EXPECT_EQ(Value::genericHasher<std::string>(nullptr), 0u);
    Value::genericDeleter<std::string>(nullptr);
}

TEST(ValueBox, HashOfAListOfUnhashableItemsDependsOnItsLengthAlone)
{
    auto const hash = [](auto payload) { return Value{ValueMeta{}, payload}.hash(); };
    EXPECT_EQ(hash(PropertyValue("a")), 0u);
    EXPECT_EQ(hash(std::string{"a"}), std::hash<std::string>{}("a"));
    using List = std::vector<PropertyValue>;
    EXPECT_EQ(hash(List{}), 0u);
    EXPECT_EQ(hash(List{1, 2}), hash(List{"x", false}));
    EXPECT_NE(hash(List{1}), hash(List{1, 1}));
    std::size_t seed = 0;
    boost::hash_combine(seed, std::size_t{0});
    EXPECT_EQ(hash(List{1}), seed);
    EXPECT_NE(hash(std::vector<std::string>{"a", "b"}), hash(std::vector<std::string>{"b", "a"}));
}

TEST(ValueBox, HoldsElementsAndKeepsThem)
{
    Model const model = newModel();
    ContextData context = newContext(model);
    Value const box{slot(Property::Impl::OWNER), context};
    ContextData::Impl* const impl = context.operator->();
    context->destroy();
    context = ContextData{};
    EXPECT_EQ(box.getValue<ContextData>().operator->(), impl);
    EXPECT_EQ(thrownBy([&] { box.getValue<Property>(); }), "CannotCastIncompatibleTypes");
}

}   // namespace
}   // namespace tarn::zero
