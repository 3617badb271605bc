#include "tarn0/messages/Messages.h"

#include "foundation/core/except/Exception.h"
#include "rook/factory/full/StdShareable.h"
#include "tarn/zero/ReportException.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

TEST(ReportedMessage, IsCaughtClonedAndRethrownAsItselfWithItsArguments)
{
    using Failure = foundation::core::except::Exception<tarn0::messages::CannotAddIncompatibleTypes>;
    std::unique_ptr<Failure> kept;
    try {
        tarn::zero::reportException(tarn0::messages::CannotAddIncompatibleTypes{u"A\u00E9", {0xD800, u'B'}});
    } catch (std::exception const& caught) {
        kept = dynamic_cast<Failure const&>(caught).clone();
    }
    ASSERT_TRUE(kept);
    try {
        kept->rethrow();
    } catch (Failure const& again) {
        kept.reset();
        EXPECT_EQ(again.message().givenType(), u"A\u00E9");
        EXPECT_STREQ(again.GetID(), "CannotAddIncompatibleTypes");
        EXPECT_EQ(again.GetBaseMsgIDObj(),
                  (tarn0::messages::MessageId{"tarn0:messages", "CannotAddIncompatibleTypes"}));
        EXPECT_NE(std::string(again.what()).find("\"A\xC3\xA9\""), std::string::npos) << again.what();
        EXPECT_NE(std::string(again.what()).find("\"\uFFFDB\""), std::string::npos) << again.what();
    }
}

TEST(ReportedMessage, KeyIsTheClassName)
{
    using namespace tarn0::messages;
    struct Case {
        MessageId id;
        char const* name;
    };
    for (auto const& [id, name] : {
             Case{CannotModifyProxy{}.id(), "CannotModifyProxy"},
             Case{UniquenessConstraint{}.id(), "UniquenessConstraint"},
             Case{CannotCastIncompatibleTypes{u"T"}.id(), "CannotCastIncompatibleTypes"},
             Case{CannotAddIncompatibleTypes{u"T", u"U"}.id(), "CannotAddIncompatibleTypes"},
             Case{CannotAddNonExistentObject{}.id(), "CannotAddNonExistentObject"},
             Case{CannotAddSecondObject{}.id(), "CannotAddSecondObject"},
             Case{CannotCreateCrossModelAssociation{}.id(), "CannotCreateCrossModelAssociation"},
             Case{InvalidValue{}.id(), "InvalidValue"},
             Case{NoSuchType{u"T"}.id(), "NoSuchType"},
             Case{CircularContainment{}.id(), "CircularContainment"},
             Case{ModelFrozen{}.id(), "ModelFrozen"},
         })
        EXPECT_EQ(id, (MessageId{"tarn0:messages", name})) << name;
}

struct Wrapped : rook::factory::full::StdShareable {
    char const* getTypeName() const override { return "Wrapped"; }
    char const* getFullyQualifiedRookTypeName() const override { return "test.Wrapped"; }
};

TEST(Retract, TellsTheInstalledHostTheAddressOfEveryDestroyedObject)
{
    using namespace rook::factory::full;
    std::vector<void const*> retracted;
    auto const note = [](void* data, Wrappable* object) noexcept {
        static_cast<std::vector<void const*>*>(data)->push_back(object);
    };
    RetractHook const before = installRetractHook({note, &retracted});

    auto shared = std::make_shared<Wrapped>();
    Wrappable* const address = shared.get();
    EXPECT_EQ(address->nativeOwnershipTaken(1), 0);
    EXPECT_EQ(shared->shared_from_this(), shared);
    retract(nullptr);
    EXPECT_TRUE(retracted.empty());
    shared.reset();
    EXPECT_FALSE(retracted.empty());
    for (void const* object : retracted)
        EXPECT_EQ(object, static_cast<void const*>(address));

    installRetractHook(before);
    std::size_t const heard = retracted.size();
    std::make_shared<Wrapped>();
    EXPECT_EQ(retracted.size(), heard);
}

}   // namespace
