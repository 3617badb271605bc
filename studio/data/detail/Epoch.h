#pragma once

#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportData.h"

#include <cstdint>

namespace studio::data::detail {

/// Says whether what an engine or a view has cached about the structure of the shared model is still valid.
///
/// The shared model counts the changes of its structure (`Model::Impl::structureVersion`). An epoch has two numbers:
/// the version that it takes into account, and a number of its own. A cached result (`Cached`) has the number of the
/// epoch in which it was found. It is valid while
/// - the model is idle and its version is the one that the epoch takes into account, so that no report is missing, and
/// - the numbers are equal, so that no change since has touched the result.
///
/// Otherwise the result is looked up. Pending reports need no care: until the last one is processed, the versions
/// differ.
///
/// *An engine* caches that the leaves of a symbol are its whole path. A report that changes one of the leaves rebinds
/// the symbol, so a report as such (`follow`) leaves the epoch alone. A new epoch begins when a report may have changed
/// a path without touching its leaves:
/// - its version before is not the one taken into account: the structure changed without a report;
/// - it renames or moves a property, which leaves the leaves at its old place untouched;
/// - a property with a dot in its name is created or destroyed, which hides paths without being on them;
/// - a transaction is open while it is processed, so that links from properties wait for its end, or processing failed.
///
/// *A view* caches which property of a clone mirrors a property. Every change of structure begins a new epoch
/// (`catchUp`), and so does every clone, or property of one, that comes or goes.
class Epoch {
public:
    explicit Epoch(tarn::zero::Model::Impl const& sharedModel) noexcept
        : model{sharedModel}, version{sharedModel.structureVersion()}
    {}

    /// True if the model is idle and has the version that the epoch takes into account.
    bool isUpToDate() const noexcept { return !model.isInTransaction() && version == model.structureVersion(); }
    /// The number of the present epoch, from 1.
    std::uint64_t number() const noexcept { return epoch; }

    /// Takes into account what a report lists, which was processed.
    void follow(tarn::zero::ReportData const& report) noexcept
    {
        if (report.structureVersionBefore() != version || model.isInTransaction())
            restart();
        version = report.structureVersion();
    }
    /// Takes every change of structure into account by a new epoch, if there was one.
    void catchUp() noexcept
    {
        if (version != model.structureVersion())
            restart();
        version = model.structureVersion();
    }
    /// Begins a new epoch: no result found before is valid.
    void restart() noexcept { ++epoch; }

private:
    tarn::zero::Model::Impl const& model;
    std::uint64_t version;
    std::uint64_t epoch = 1;
};

/// A result and the epoch in which it was found.
template <class T>
class Cached {
public:
    /// Returns the result if it was found in the present epoch, otherwise null. It is valid if the epoch is up to date.
    T const* in(Epoch const& epoch) const noexcept { return found == epoch.number() ? &result : nullptr; }
    void set(T value, Epoch const& epoch) noexcept
    {
        result = value;
        found = epoch.number();
    }
    void reset() noexcept { found = 0; }

private:
    std::uint64_t found = 0;   // number of the epoch; 0 for none
    T result{};
};

}   // namespace studio::data::detail
