#pragma once

#include "tarn/zero/ReportData.h"

#include <cstdint>

namespace studio::data::detail {

/// How far an engine has followed the structure of the shared model, report by report. What was found along a path
/// still holds if every report since was followed, and none of them touched the path.
class ExpressionTrail {
public:
    /// A report was worked off: all paths that may lead elsewhere since are known.
    void follow(tarn::zero::ReportData const& report) noexcept
    {
        if (report.structureBefore() != end)
            beginning = report.structure();
        end = report.structure();
    }
    /// Something changed that only a new walk tells.
    void breakOff() noexcept { end = 0; }
    /// True if what was found in structure `found`, along a path that was not touched since, holds in structure `now`.
    bool leads(std::uint64_t found, std::uint64_t now) const noexcept { return now == end && found >= beginning; }

private:
    std::uint64_t beginning = 0;
    std::uint64_t end = 0;   // of the last report; 0 is no structure
};

}   // namespace studio::data::detail
