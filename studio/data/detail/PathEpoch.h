#pragma once

#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportData.h"

#include <cstdint>

namespace studio::data::detail {

/// Says whether what an engine found along a path is still valid.
///
/// The shared model counts the changes of its structure (`Model::Impl::structure`). The engine keeps two numbers: the
/// structure version that the last processed report left, and an *epoch*. A symbol keeps the epoch in which its
/// bindings were found to be its whole path. Its bindings are the whole path now if
/// - the model is idle and its structure version is that of the last processed report, so that no report is missing,
/// and
/// - the epochs are equal, so that every report since has left the path alone or has touched one of its bindings, in
///   which case the symbol was bound anew.
/// Else the path is walked. Reports that are still to come need no care: until the last one was processed, the versions
/// differ.
///
/// A new epoch begins when a report may have changed a path without touching its bindings:
/// - it does not begin at the version at which the one before ended: something changed that no report shows;
/// - it renames or moves a property, which leaves the bindings at its old place untouched;
/// - a property with a dot in its name comes or goes, which hides paths without being on them;
/// - a transaction is open while it is processed, so that back references wait for its end, or it was not processed to
///   its own end.
class PathEpoch {
public:
    explicit PathEpoch(tarn::zero::Model::Impl const& sharedModel) noexcept
        : model{sharedModel}, processed{sharedModel.structure()}
    {}

    /// True if the structure is the one that the last processed report left.
    bool isUpToDate() const noexcept { return !model.isInTransaction() && processed == model.structure(); }
    /// The number of the present epoch; 0 is none.
    std::uint64_t number() const noexcept { return epoch; }

    /// A report was processed.
    void follow(tarn::zero::ReportData const& report) noexcept
    {
        if (report.structureBefore() != processed || model.isInTransaction())
            restart();
        processed = report.structure();
    }
    /// Makes what was found before invalid.
    void restart() noexcept { ++epoch; }

private:
    tarn::zero::Model::Impl const& model;
    std::uint64_t processed;
    std::uint64_t epoch = 1;
};

}   // namespace studio::data::detail
