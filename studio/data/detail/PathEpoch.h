#pragma once

#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportData.h"

#include <cstdint>

namespace studio::data::detail {

/// Validates the cached bindings of paths.
///
/// The shared model counts the changes of its structure (`Model::Impl::structureVersion`). The engine keeps two
/// numbers: the structure version after the last processed report, and an *epoch*. A symbol keeps the epoch in which
/// its bindings were found to be its whole path. They are the whole path now if
/// - the model is idle and its structure version is that after the last processed report, so that no report is missing,
///   and
/// - the epochs are equal, so that every report since has left the path alone or has touched one of its bindings, in
///   which case the symbol was rebound.
///
/// Otherwise the path is walked. Pending reports need no care: until the last one is processed, the versions differ.
///
/// A new epoch begins when a report may have changed a path without touching its bindings:
/// - its version before is not the one after the last processed report: the structure changed without a report;
/// - it renames or moves a property, which leaves the bindings at its old place untouched;
/// - a property with a dot in its name is created or destroyed, which hides paths without being on them;
/// - a transaction is open while it is processed, so that back references wait for its end, or processing it failed.
class PathEpoch {
public:
    explicit PathEpoch(tarn::zero::Model::Impl const& sharedModel) noexcept
        : model{sharedModel}, processed{sharedModel.structureVersion()}
    {}

    /// True if the structure version is the one after the last processed report and the model is idle.
    bool isUpToDate() const noexcept { return !model.isInTransaction() && processed == model.structureVersion(); }
    /// The number of the present epoch; 0 stands for none.
    std::uint64_t number() const noexcept { return epoch; }

    /// Records that a report was processed.
    void follow(tarn::zero::ReportData const& report) noexcept
    {
        if (report.structureVersionBefore() != processed || model.isInTransaction())
            restart();
        processed = report.structureVersion();
    }
    /// Begins a new epoch: bindings found before are no longer valid.
    void restart() noexcept { ++epoch; }

private:
    tarn::zero::Model::Impl const& model;
    std::uint64_t processed;
    std::uint64_t epoch = 1;
};

}   // namespace studio::data::detail
