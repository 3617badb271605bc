#include "tarn/zero/Value.h"

#include "support/Elements.h"
#include "support/Printers.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/Type.h"

#include <boost/container_hash/hash.hpp>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::zero {
namespace {

using namespace support;
using namespace tarn0::messages;

ValueMeta slot(unsigned long index)
{
    return ValueMeta{Property::Impl::propertyAt(index)};
}

char const* const wrong = "CannotCastIncompatibleTypes";

TEST(ValueBox, GivesBackWhatItHoldsToWhoKnowsTheType)
{
    Value const text{slot(Property::Impl::NAME), std::string{"x"}};
    EXPECT_EQ(text.getValue<std::string>(), "x");
    EXPECT_EQ(text.peekValue<PropertyValue>(), nullptr);
    EXPECT_EQ(thrownBy([&] { text.checkCompatible<char const*>(); }), wrong);
    EXPECT_EQ(thrownBy([&] { text.checkCompatible<std::string>(); }), "");
    try {
        text.getValue<bool>();
        ADD_FAILURE() << "given";
    } catch (foundation::core::except::Exception<CannotCastIncompatibleTypes> const& exception) {
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
    for (Row const& row : {Row{Value{}, "", ""}, Row{Value{slot(Property::Impl::NAME)}, "", wrong},
                           Row{Value{slot(Property::Impl::VALUE)}, wrong, ""}}) {
        EXPECT_TRUE(row.value.isEmpty() && row.value.hash() == 0 && !row.value.peekValue<PropertyValue>());
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

TEST(ValueBox, KeepsElements)
{
    World w;
    Value const box{slot(Property::Impl::OWNER), w.c};
    ContextData::Impl* const impl = w.c.operator->();
    w = World{};
    EXPECT_EQ(box.getValue<ContextData>().operator->(), impl);
    EXPECT_EQ(thrownBy([&] { box.getValue<Property>(); }), wrong);
}

// ---- what is thrown

TEST(ReportedMessage, IsCaughtClonedAndRethrownAsItselfWithItsArguments)
{
    using Failure = foundation::core::except::Exception<CannotAddIncompatibleTypes>;
    std::unique_ptr<Failure> kept;
    try {
        reportException(CannotAddIncompatibleTypes{u"A\u00E9", {0xD800, u'B'}});
    } catch (std::exception const& caught) {
        kept = dynamic_cast<Failure const&>(caught).clone();
    }
    ASSERT_TRUE(kept);
    try {
        kept->rethrow();
    } catch (Failure const& again) {
        kept.reset();
        EXPECT_EQ(again.message().givenType(), u"A\u00E9");
        EXPECT_EQ(again.GetBaseMsgIDObj(), (MessageId{"tarn0:messages", "CannotAddIncompatibleTypes"}));
        EXPECT_NE(std::string(again.what()).find("\"A\xC3\xA9\""), std::string::npos) << again.what();
        EXPECT_NE(std::string(again.what()).find("\"\uFFFDB\""), std::string::npos) << again.what();
    }
}

}   // namespace
}   // namespace tarn::zero
