#pragma once

#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ChangeReport.h"
#include "tarn/zero/Listener.h"

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace studio::data {
class ContextHandleImpl;
class ContextProvider;
class ContextView;
}   // namespace studio::data

namespace workbench {

/// Compares a view, which has a handle on the root of a session, with the providers: every context that the root
/// reaches and every property. Keeps the first differences, a line each.
class Mirror : public tarn::zero::Listener {
public:
    explicit Mirror(std::shared_ptr<studio::data::ContextProvider> root);
    ~Mirror() override;

    /// Compares now. `when` is the beginning of each line.
    void compare(std::string const& when);

    std::size_t differences() const noexcept { return count; }
    std::vector<std::string> const& first() const noexcept { return lines; }

    // Of the last comparison:

    std::size_t contexts() const noexcept { return contextCount; }
    std::size_t properties() const noexcept { return propertyCount; }

    /// Records which clones have been updated from their source: from then on they have its active contexts.
    void transactionCommitted(tarn::zero::ShallowChangeReport<studio::data::ContextData> const& report);

private:
    void compare(std::string const& where, studio::data::ContextProvider const& source);
    void differs(std::string const& where, std::string const& how);

    static constexpr std::size_t KEPT = 10;

    std::shared_ptr<studio::data::ContextProvider> root;
    std::unique_ptr<studio::data::ContextView> view;
    std::unique_ptr<studio::data::ContextHandleImpl> handle;
    std::unordered_set<tarn::zero::ModelElement> modified;   // clones
    std::size_t count = 0;
    std::size_t contextCount = 0;
    std::size_t propertyCount = 0;
    std::vector<std::string> lines;
};

}   // namespace workbench
