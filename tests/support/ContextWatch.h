#pragma once

#include "studio/data/ContextProvider.h"
#include "support/ReportRecorder.h"

namespace support {

/// Records every commit of the shared model.
struct ContextWatch : ReportRecorder {
    ContextWatch() : ReportRecorder{studio::data::ContextProvider::sharedModel()} {}
};

/// Returns the id of a provider whose construction failed: looking it up throws `std::bad_weak_ptr`.
inline boost::uuids::uuid deadEntry()
{
    boost::uuids::uuid id{};
    ContextWatch watch;
    watch.onContexts = [&](auto const& data) {
        for (tarn::zero::ReportEntry const entry : tarn::zero::ShallowChangeReport<ContextData>{data}.created())
            id = entry.element().Uuid();
        throw id;
    };
    try {
        static_cast<void>(studio::data::ContextProvider::create());
    } catch (boost::uuids::uuid const&) {}
    return id;
}

}   // namespace support
