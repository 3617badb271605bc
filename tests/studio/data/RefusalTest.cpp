#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/MetaPackageStudio_data.h"
#include "studio/data/model/PropertyImpl.h"
#include "support/Elements.h"
#include "support/Refusals.h"
#include "tarn/zero/collections/ElementSequence.h"

#include <boost/uuid/uuid_io.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace studio::data {
namespace {

using support::uuid;

std::string id(int last)
{
    return "(00000000-0000-0000-0000-00000000000" + std::to_string(last) + ")";
}

Property makeProperty(tarn::zero::Model const& model, std::uint8_t last, std::string const& name)
{
    Property const property = Property::create(model, uuid(last));
    property->setName(name);
    return property;
}

TEST(Refusal, NamesWhatWasRefusedAndOnWhichElement)
{
    using namespace tarn::zero;
    Model const model = support::newModel();
    Model const other = support::newModel();
    ContextData const context = ContextData::create(model, uuid(1));
    Property const title = makeProperty(model, 2, "title");
    title->setOwner(context);
    Property const size = makeProperty(model, 3, "size");
    size->setOwner(context);
    Property const twin = makeProperty(model, 4, "title");
    Property const stranger = makeProperty(other, 5, "far");
    Property const standIn = makeProperty(model, 6, "elsewhere");
    standIn->convertToProxy(meta::Property{}, standIn->getProxyId(), ModelElement{});
    Property const gone = makeProperty(model, 7, "gone");
    gone->destroy();
    ContextData const dead = ContextData::create(model, uuid(8));
    dead->destroy();
    auto& properties = context->getPropertiesMutable();
    auto& active = context->getActiveContextsMutable();
    auto const sequence = ElementSequence<Property>::detached({title});
    meta::Property const owner = MetaPackageStudio_data::propertyProperty(Property::Impl::OWNER);

    std::string const titleText = "Property \"title\" " + id(2);
    std::string const twinText = "Property \"title\" " + id(4);
    std::string const contextText = "ContextData " + id(1);
    std::string const inProperties = " in studio.data.ContextData.properties of " + contextText;
    struct Row {
        std::function<void()> refused;
        std::string what;
    };
    Row const rows[] = {
        {[&] { standIn->setValue(1); },
         "The element stands for one of another model and cannot be modified here: proxy Property \"elsewhere\" " +
             id(6)},
        {[&] { gone->setValue(1); }, "the element was destroyed: destroyed Property \"gone\" " + id(7)},
        {[&] { dead->getActiveContextsMutable().push_back("x"); },
         "the element was destroyed: destroyed ContextData " + id(8)},
        {[&] { size->setName("title"); }, "Another element is already entered under this key: Property \"size\" " +
                                              id(3) + " as \"title\" in " + contextText},
        {[&] { twin->setOwner(context); },
         "Another element is already entered under this key: " + twinText + " in " + contextText},
        {[&] { properties.add(twin); },
         "Another element is already entered under this key: " + twinText + inProperties},
        {[&] { properties.add(Property{}); },
         "A null or destroyed element cannot be added to a collection: null" + inProperties},
        {[&] { properties.add(gone); },
         "A null or destroyed element cannot be added to a collection: destroyed Property "
         "\"gone\" " +
             id(7) + inProperties},
        {[&] { properties.add(stranger); },
         "The two elements belong to different models: Property \"far\" " + id(5) + inProperties},
        {[&] { properties.addElement(context); },
         "Something of type \"studio.data.ContextData\" cannot be added to a collection of \"studio.data.Property\": " +
             contextText + inProperties},
        {[&] { sequence->add(title); },
         "The sequence already holds this element: " + titleText + " in a collection of its own"},
        {[&] { active.erase(3); },
         "index past the end of a sequence: 3 of 0 in studio.data.ContextData.activeContexts of " + contextText},
        {[&] { context->createIntoProperties(Property::BuilderWrapper{nullptr}, {}); },
         "The value is not valid here: a property without a builder in " + contextText},
        {[&] { context->setPropertyValue(owner, Value{}, ModelElement::Impl::PUBLIC_ACCESS); },
         "The value is not valid here: Property \"studio.data.Property.owner\" (" +
             boost::uuids::to_string(owner.Uuid()) + ") of " + contextText},
        {[&] { title->notifyModifying(Property::Impl::VALUE); }, "a change needs an open transaction: " + titleText},
        {[&] { title->checkCircularContainment(title); },
         "An element cannot be contained by itself or by one of its own contents: " + titleText + " in " + titleText},
        {[&] { context->cloneTo(Model{}, false); }, "a copy needs a model: " + contextText},
    };
    for (auto const& [refused, what] : rows) {
        std::string const told = support::refusalOf(refused);
        EXPECT_EQ(told.substr(0, what.size()), what) << told;
        EXPECT_TRUE(told.size() == what.size() || told.substr(what.size()) == ".") << told;
    }
    Model::Freezer const frozen{model};
    EXPECT_EQ(support::refusalOf([&] { title->setValue(1); }), "The model is frozen and cannot be modified.");
    EXPECT_EQ(title->getValue(), PropertyValue{});
    EXPECT_EQ(properties.size(), 2u);
}

}   // namespace
}   // namespace studio::data
