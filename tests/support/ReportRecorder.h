#pragma once

#include "support/Elements.h"
#include "tarn/zero/ReportData.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// Hears of every commit of one model and writes down what it is told, one piece for each of its two overloads:
/// "+a ~b(name=x value=1) -c; ~C(active=x,y properties=a,b)". A `+` was created, a `~` modified, with what it held
/// before, a `-` destroyed. The old map shows the names that its elements have now.
class ReportRecorder : public tarn::zero::Listener {
public:
    using Reports =
        tarn::zero::ReportList<tarn::zero::DeepChangeReport<Property>, tarn::zero::ShallowChangeReport<ContextData>>;
    using Data = std::shared_ptr<tarn::zero::ReportData>;

    explicit ReportRecorder(Model const& model) : ReportRecorder{model, {}, nullptr} {}
    /// One of several that write into one text, each piece after the writer's name.
    ReportRecorder(Model const& model, std::string name, std::string& heard)
        : ReportRecorder{model, std::move(name), &heard}
    {}
    ~ReportRecorder() override { model->removeListener(this); }

    /// What was heard since the last time.
    std::string take() { return std::exchange(*heard, {}); }
    /// The context's name in the texts, instead of "context".
    void call(ContextData const& context, std::string const& known) { contextNames[context.Uuid()] = known; }

    void transactionCommitted(tarn::zero::DeepChangeReport<Property> const& report)
    {
        write(report);
        if (auto const call = onProperties)   // a copy: the call may destroy this
            call(report.data());
    }
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
    {
        write(report);
        if (auto const call = onContexts)
            call(report.data());
    }
    void listenerRemoved() override { ++removals; }

    /// What the test wants done after each piece.
    std::function<void(Data const&)> onProperties;
    std::function<void(Data const&)> onContexts;
    int removals = 0;

    /// What `data` says that `element` held before, as in the texts.
    std::string old(Data const& data, tarn::zero::ModelElement const& element) const
    {
        auto const entry = tarn::zero::ReportEntry{*data->storageOf(*element.get())};
        std::string text;
        for (unsigned long index = 1; index <= 3; ++index)
            if (entry.isChanged(index))
                text += (text.empty() ? "" : " ") + oldFeature(data, element, index);
        return text;
    }

private:
    ReportRecorder(Model const& model, std::string name, std::string* shared)
        : model{model}, name{std::move(name)}, heard{shared ? shared : &own}
    {
        model->addDeepListener(this);
    }

    template <class Report>
    void write(Report const& report)
    {
        std::string text;
        auto const list = [&](char sign, tarn::zero::ReportRange const& range) {
            for (tarn::zero::ReportEntry const entry : range) {
                text += (text.empty() ? "" : " ") + std::string(1, sign) + called(entry);
                if (sign == '~')
                    text += '(' + old(report.data(), entry) + ')';
            }
        };
        list('+', report.created());
        list('~', report.modified());
        list('-', report.destroyed());
        *heard += (heard->empty() ? "" : "; ") + (name.empty() ? "" : name + ':') + text;
    }

    std::string called(tarn::zero::ModelElement const& element) const
    {
        if (Property::Impl const* const property = tarn::zero::elementCast<Property>(element))
            return property->getName().empty() ? "unnamed" : property->getName();
        if (!element.get())
            return "none";
        auto const found = contextNames.find(element.Uuid());
        return found == contextNames.end() ? "context" : found->second;
    }

    std::string oldFeature(Data const& data, tarn::zero::ModelElement const& element, unsigned long index) const
    {
        using Strings = tarn::zero::CollectionRef<ContextData::Impl::ActiveContexts>;
        using Map = tarn::zero::CollectionRef<ContextData::PropertyMap>;
        tarn::zero::Value const value = data->getOldValue(element, element->getPropertyByIndex(index));
        std::string items;
        auto const item = [&](std::string const& text) { items += (items.empty() ? "" : ",") + text; };
        if (auto const* const text = value.peekValue<std::string>())
            return "name=" + *text;
        if (auto const* const any = value.peekValue<PropertyValue>())
            return "value=" + any->asString();
        if (auto const* const owner = value.peekValue<ContextData>())
            return "owner=" + called(*owner);
        if (auto const* const strings = value.peekValue<Strings>()) {
            for (std::string const& text : *strings)
                item(text);
            return "active=" + items;
        }
        for (Property const& property : *value.peekValue<Map>())
            item(called(property));
        return "properties=" + items;
    }

    Model model;
    std::string name;
    std::string own;
    std::string* heard;
    std::map<boost::uuids::uuid, std::string> contextNames;
};

}   // namespace support
