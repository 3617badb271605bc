#include "workbench/Mirror.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "tarn/zero/ModelImpl.h"
#include "workbench/Text.h"

#include <algorithm>
#include <set>
#include <utility>

namespace workbench {

using studio::data::ContextData;
using studio::data::ContextProvider;
using studio::data::ContextView;
using studio::data::Property;
using studio::data::PropertyValue;

Mirror::Mirror(std::shared_ptr<ContextProvider> provider)
    : root{std::move(provider)},
      view{ContextView::create(tarn::zero::Model{})},
      handle{view->acquire(root->getId(), nullptr)}
{
    root->getModel()->addDeepListener(this);   // after the view, so that it is notified after it
}

Mirror::~Mirror()
{
    root->getModel()->removeListener(this);
}

void Mirror::compare(std::string const& when)
{
    contextCount = propertyCount = 0;
    for (auto clone = modified.begin(); clone != modified.end();)
        clone = *clone ? std::next(clone) : modified.erase(clone);

    std::set<boost::uuids::uuid> seen{root->getId()};
    std::vector<std::pair<std::string, std::shared_ptr<ContextProvider>>> waiting{{"the root", root}};
    while (!waiting.empty()) {
        auto const [path, source] = std::move(waiting.back());
        waiting.pop_back();
        compare(when + ", " + path, *source);
        for (std::string const& name : source->getPropertyNames())
            if (auto child = source->getChildContextProvider(name); child && seen.insert(child->getId()).second)
                waiting.emplace_back(path == "the root" ? name : path + '.' + name, std::move(child));
    }
}

void Mirror::compare(std::string const& where, ContextProvider const& source)
{
    ++contextCount;
    ContextData const clone = view->getData(source.getId());
    if (!clone)
        return differs(where, "is not mirrored");
    auto const& copies = clone->getProperties();
    std::vector<std::string> const names = source.getPropertyNames();
    for (std::string const& name : names) {
        ++propertyCount;
        PropertyValue const& expected = source.findProperty(name)->getValue();
        Property::Impl const* const found = copies.findImpl(name);
        if (!found)
            differs(where, name + " is missing");
        else if (!(found->getValue() == expected) && expected == expected)
            differs(where, name + ": expected " + shown(expected) + ", found " + shown(found->getValue()));
    }
    for (Property const& copy : copies)
        if (!source.findProperty(copy->getName()))
            differs(where, copy->getName() + " is no more");

    // A fresh clone has none until its source is modified.
    auto const& active = clone->getActiveContexts();
    bool const fresh = active.empty() && modified.count(clone) == 0;
    std::vector<std::string> const expected = source.getActiveContexts();
    if (!fresh && !std::equal(active.begin(), active.end(), expected.begin(), expected.end()))
        differs(where, "the active contexts differ");
}

void Mirror::transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
{
    for (tarn::zero::ReportEntry const entry : report.modified())
        if (ContextData const clone = view->getData(entry.element().Uuid()))
            modified.insert(clone);
}

void Mirror::differs(std::string const& where, std::string const& how)
{
    if (++count <= KEPT)
        lines.push_back(oneLine(where, 80) + ": " + oneLine(how, 200));
}

}   // namespace workbench
