#pragma once

#include "shell/Files.h"
#include "studio/data/EngineObserver.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/host/Batch.h"
#include "studio/host/ContextTree.h"
#include "studio/inspect/Watcher.h"
#include "workbench/Contexts.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace shell {

/// A live model: contexts, an engine over them that has every expression of the session, and a watcher.
class Workspace final : private studio::data::EngineObserver {
public:
    /// The change of a value from before a command to after it.
    struct Change {
        std::string text;
        studio::data::PropertyValue before;
        studio::data::PropertyValue after;
    };

    /// Makes the contexts as they are at the start of the session.
    explicit Workspace(std::shared_ptr<Material const> material);
    ~Workspace() override;

    Material const& material() const noexcept { return *source; }
    std::shared_ptr<Material const> const& sharedMaterial() const noexcept { return source; }
    studio::host::ContextTree& tree() noexcept { return owned; }
    std::shared_ptr<studio::data::ContextProvider> const& root() const noexcept { return owned.root(); }
    studio::data::ExpressionEngine const& engine() const noexcept { return expressions; }
    studio::inspect::Watcher const& watcher() const noexcept { return recorder; }

    /// Subscribes to a text, so that its changes are shown. *Throws* `gel::ParseError`.
    void watch(std::string const& text);
    /// Returns false if `watch` was not called for the text.
    bool unwatch(std::string const& text);
    /// The texts of `watch`.
    std::set<std::string> const& watched() const noexcept { return shown; }

    /// The number of steps that were made.
    std::size_t step() const noexcept { return stepsMade; }
    /// Makes the next step. *Requires* that there is one.
    void makeStep();

    /// Opens a batch. *Requires* that none is open.
    void beginBatch();
    /// Adds a command to the name of the open batch.
    void addToBatch(std::string_view command);
    /// Ends the open batch: its changes are final or undone. The batch, with its first commands, is the maker of the
    /// commit.
    void endBatch(bool isFinal);
    bool isInBatch() const noexcept { return open.has_value(); }

    /// Sets the name under which `makerOf` returns the maker of later commits.
    void announce(std::string command) { current = std::move(command); }
    /// Returns the step or command that made a commit; empty if it is not known, or the commit is too old to be kept.
    std::string makerOf(std::uint64_t commit) const;
    /// Returns a text in which the ids of contexts are replaced by `context N`, with the number that the session gives
    /// them, or by `@PATH` for contexts of the tree.
    std::string withNames(std::string const& text) const;
    /// Returns the changes of values since `forgetChanges`, by text.
    std::vector<Change> changes() const;
    void forgetChanges() noexcept { before.clear(); }
    /// Makes `changes` return how the values differ from those of another workspace.
    void compareWith(Workspace const& former);

private:
    std::map<std::string, std::string> namesOfContexts() const;
    void subscribe(std::string const& text);
    void roundBegins(tarn::zero::ReportData const* report) noexcept override;

    std::shared_ptr<Material const> source;
    studio::host::ContextTree owned;
    workbench::Contexts contexts;
    studio::data::ExpressionEngine expressions;
    studio::inspect::Watcher recorder;
    std::map<std::string, studio::data::PropertyValue> values;   // as the callbacks received them
    std::map<std::string, studio::data::PropertyValue> before;   // of those that have changed since `forgetChanges`
    std::map<std::string, std::unique_ptr<studio::data::ExpressionHandle>> handles;
    std::set<std::string> shown;
    std::set<std::string> recorded;                // the texts of the session
    std::map<std::uint64_t, std::string> makers;   // of as many commits as the watcher keeps
    std::string current;
    std::string batched;   // the first commands of the batch
    std::size_t batchedCount = 0;
    std::size_t stepsMade = 0;
    std::optional<studio::host::Batch> open;
};

}   // namespace shell
