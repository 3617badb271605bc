#include "tarn/zero/Value.h"

#include "support/Elements.h"
#include "support/Printers.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/Type.h"

#include <boost/container_hash/hash.hpp>
#include <gtest/gtest.h>

#include <functional>
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

/// Returns what reading the value as a `T` throws.
template <class T>
std::string readAs(Value const& value)
{
    return thrownBy([&] { value.getValue<T>(); });
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

TEST(ValueBox, ReadsAsWhatItsSlotAndItsPayloadAre)
{
    World w;
    using Map = CollectionRef<ContextData::PropertyMap>;
    using Texts = CollectionRef<ContextData::Impl::ActiveContexts>;
    using Numbers = CollectionRef<PrimitiveSequence<int>>;
    ValueMeta const text = slot(Property::Impl::NAME), owner = slot(Property::Impl::OWNER);
    ValueMeta const texts{ContextData::Impl::propertyAt(1)}, map{ContextData::Impl::propertyAt(2)};
    Texts const loose{*std::make_unique<ContextData::Impl::ActiveContexts>(std::vector<std::string>{"q"}).release()};
    EXPECT_EQ(readAs<int>({text, 5}), wrong) << "payload of another type than the slot";
    EXPECT_EQ(readAs<std::string>({text, 5}), wrong) << "slot of another type than the payload";
    EXPECT_EQ(readAs<ModelElement>({owner, ModelElement{w.c}}), "") << "plain handle";
    EXPECT_EQ(readAs<ModelElement>({owner, ModelElement{w.a}}), wrong) << "plain handle to another class";
    EXPECT_EQ(readAs<std::string>({texts, std::string{"x"}}), "") << "one item";
    EXPECT_EQ(readAs<std::vector<std::string>>({texts, std::vector<std::string>{}}), "") << "several items";
    EXPECT_EQ(readAs<Numbers>({texts, Numbers{}}), wrong) << "items of another type";
    EXPECT_EQ(readAs<std::string>({texts, loose}), wrong) << "collection as an item";
    EXPECT_EQ(readAs<Texts>(Value{map}), wrong) << "empty, as another collection";
    EXPECT_EQ(Value{texts}.getValue<Texts>().size(), 0u) << "empty, as a collection";
    EXPECT_TRUE(Value{map}.getValue<Map>()->isDetached()) << "empty, as elements";
    EXPECT_EQ(boxed(loose).getValue<Texts>()->at(0), "q") << "without a slot";
    Value box{map, w.c.properties()};
    Map const held = box.getValue<Map>();
    box = Value{};
    EXPECT_EQ(held->find("a"), w.a);
    w = World{};
    EXPECT_TRUE(!held->owner() && held.size() == 0) << "the handle keeps the element, whose model ended";
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
