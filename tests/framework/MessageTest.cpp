#include "tarn0/messages/Messages.h"

#include "foundation/core/except/Exception.h"
#include "tarn/zero/ReportException.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace tarn0::messages;

TEST(ReportedMessage, IsCaughtClonedAndRethrownAsItselfWithItsArguments)
{
    using Failure = foundation::core::except::Exception<CannotAddIncompatibleTypes>;
    std::unique_ptr<Failure> kept;
    try {
        tarn::zero::reportException(CannotAddIncompatibleTypes{u"A\u00E9", {0xD800, u'B'}});
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

TEST(ReportedMessage, KeyIsTheClassName)
{
    auto const expect = [](Message const& message, char const* name) {
        EXPECT_EQ(message.id(), (MessageId{"tarn0:messages", name}));
    };
    expect(CannotModifyProxy{}, "CannotModifyProxy");
    expect(UniquenessConstraint{}, "UniquenessConstraint");
    expect(CannotCastIncompatibleTypes{u"T"}, "CannotCastIncompatibleTypes");
    expect(CannotAddNonExistentObject{}, "CannotAddNonExistentObject");
    expect(CannotAddSecondObject{}, "CannotAddSecondObject");
    expect(CannotCreateCrossModelAssociation{}, "CannotCreateCrossModelAssociation");
    expect(InvalidValue{}, "InvalidValue");
    expect(NoSuchType{u"T"}, "NoSuchType");
    expect(CircularContainment{}, "CircularContainment");
    expect(ModelFrozen{}, "ModelFrozen");
}

}   // namespace
