// One object of each kind that the formatters show; shown.py says what debuggers show of them.

#include "gel/Value.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/Model.h"
#include "tarn/zero/meta/Type.h"

#include <cstring>
#include <memory>
#include <string>

using namespace studio::data;

namespace {

/// Values inside something else.
struct Two {
    PropertyValue first;
    PropertyValue second;
};

/// The debugger stops here.
[[gnu::noinline]] void lookHere()
{
    asm volatile("" ::: "memory");
}

boost::uuids::uuid idEndingWith(unsigned char last)
{
    boost::uuids::uuid id{};
    *(id.begin() + 15) = last;
    return id;
}

}   // namespace

int main()
{
    boost::uuids::uuid const id = idEndingWith(0x2a);
    PropertyValue const nothing, number = 2.5, logical = true, text = "a \"b\"\nc", reference = id;
    [[maybe_unused]] Two const two{1, "two"};
    [[maybe_unused]] undefined const undefinedTag;
    gel::Value const noResult, result = "long enough to be kept apart";

    tarn::zero::Model const model = tarn::zero::Model::create(tarn::zero::ModelSpec{});
    ContextData const context = ContextData::create(model, idEndingWith(1));
    Property const title = Property::create(model, idEndingWith(2));
    title->setName("title");
    title->setValue("notes.txt");
    title->setOwner(context);
    Property const size = Property::create(model, idEndingWith(3));
    size->setName("size");
    size->setValue(3);
    size->setOwner(context);
    context->getActiveContextsMutable().push_back("editing");
    Property const none;
    Property const gone = Property::create(model, idEndingWith(4));
    gone->destroy();
    Property const standIn = Property::create(model, idEndingWith(5));
    standIn->convertToProxy(tarn::zero::meta::Property{}, standIn->getProxyId(), tarn::zero::ModelElement{});
    tarn::zero::ModelElement const plain = title;
    [[maybe_unused]] Property::Impl const& element = *title.operator->();
    [[maybe_unused]] ContextData::Impl const& contextElement = *context.operator->();

    auto const provider = ContextProvider::create();
    [[maybe_unused]] ContextProvider const& window = *provider;
    provider->addProperty("open", true);
    auto engine = std::make_unique<ExpressionEngine>(provider);
    auto const open = engine->acquireExpression("open", [](std::string const&, PropertyValue const&) {});
    auto const detached = engine->acquireExpression("1 + 1", [](std::string const&, PropertyValue const&) {});
    [[maybe_unused]] ExpressionHandle const& subscription = *open;
    auto view = ContextView::create(model);
    auto const watched = view->acquire(provider->getId(), {});
    [[maybe_unused]] ContextHandleImpl const& watch = *watched;

    // Variables that are not made yet look like this.
    alignas(ExpressionHandle) unsigned char noise[sizeof(ExpressionHandle)];
    std::memset(noise, 0xff, sizeof noise);
    [[maybe_unused]] auto const& noValue = reinterpret_cast<PropertyValue const&>(noise);
    [[maybe_unused]] auto const& noProperty = reinterpret_cast<Property const&>(noise);
    [[maybe_unused]] auto const& noHandle = reinterpret_cast<ExpressionHandle const&>(noise);
    tarn::zero::meta::Class const type = Property::metaClass();

    lookHere();
    engine.reset();
    view.reset();
    [[maybe_unused]] ExpressionHandle const& late = *detached;
    [[maybe_unused]] ContextHandleImpl const& lateWatch = *watched;
    lookHere();
}
