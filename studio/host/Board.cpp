#include "studio/host/Board.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/EngineObserver.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"
#include "tarn/zero/ModelImpl.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace studio::host {

Snapshot::Snapshot(std::uint64_t number, std::vector<Entry> values, std::shared_ptr<void const> kept) noexcept
    : ownNumber{number}, entries{std::move(values)}, texts{std::move(kept)}
{}

data::PropertyValue const* Snapshot::find(std::string_view text) const noexcept
{
    auto const found =
        std::lower_bound(entries.begin(), entries.end(), text,
                         [](Entry const& entry, std::string_view wanted) { return entry.text < wanted; });
    return found != entries.end() && found->text == text ? &found->value : nullptr;
}

/// The subscriptions, on the owner's thread, and the last snapshot, under a lock.
class Board::Publisher final : public data::EngineObserver {
public:
    Publisher(data::ExpressionEngine& watched, std::vector<std::string> wanted);
    ~Publisher() override;

    void roundsEnded() override;
    std::shared_ptr<Snapshot const> current() const;

private:
    bool isEngineAlive();
    void publish();

    data::ExpressionEngine& engine;
    std::shared_ptr<std::vector<std::string> const> texts;          // ascending
    std::vector<std::unique_ptr<data::ExpressionHandle>> handles;   // one per text
    bool isCalled = false;                                          // since the last snapshot

    mutable std::mutex mutex;   // for the pointer alone. std::atomic<std::shared_ptr> is missing in some libraries
    std::shared_ptr<Snapshot const> last;
};

Board::Publisher::Publisher(data::ExpressionEngine& watched, std::vector<std::string> wanted) : engine{watched}
{
    if (engine.getReleasePolicy() != data::ReleasePolicy::KeepsShared)
        throw std::invalid_argument{"a board needs an engine whose releases keep shared symbols"};
    if (data::ContextProvider::sharedModel()->isInTransaction())
        throw std::logic_error{"a board is made inside an open transaction"};
    std::sort(wanted.begin(), wanted.end());
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    texts = std::make_shared<std::vector<std::string> const>(std::move(wanted));
    for (std::string const& text : *texts)
        handles.push_back(engine.acquireExpression(
            text, [this](std::string const&, data::PropertyValue const&) { isCalled = true; }));
    publish();
    if (!handles.empty())
        engine.addObserver(*this);
}

Board::Publisher::~Publisher()
{
    if (isEngineAlive())
        engine.removeObserver(*this);
}

/// A handle whose engine was destroyed makes no calls.
bool Board::Publisher::isEngineAlive()
{
    isCalled = false;
    try {
        if (!handles.empty())
            handles.front()->notify();
    } catch (...) {
        return true;   // no memory for the call
    }
    return isCalled;
}

void Board::Publisher::roundsEnded()
{
    // A round may run inside a transaction, which may still roll back.
    if (isCalled && !data::ContextProvider::sharedModel()->isInTransaction())
        publish();
}

void Board::Publisher::publish()
{
    std::vector<Snapshot::Entry> entries;
    entries.reserve(texts->size());
    for (std::size_t i = 0; i != texts->size(); ++i)
        entries.push_back({(*texts)[i], handles[i]->getValue()});
    auto const isSame = [](Snapshot::Entry const& left, Snapshot::Entry const& right) {
        return left.value == right.value;
    };
    bool const isUnchanged = last && std::equal(entries.begin(), entries.end(), last->begin(), isSame);   // once more
    std::shared_ptr<Snapshot const> next =
        isUnchanged ? last : std::make_shared<Snapshot const>(last ? last->number() + 1 : 1, std::move(entries), texts);
    isCalled = false;
    std::lock_guard const lock{mutex};
    last.swap(next);
}

std::shared_ptr<Snapshot const> Board::Publisher::current() const
{
    std::lock_guard const lock{mutex};
    return last;
}

Board::Board(data::ExpressionEngine& engine, std::vector<std::string> const& texts)
    : publisher{std::make_unique<Publisher>(engine, texts)}
{}

Board::~Board() = default;

std::shared_ptr<Snapshot const> Board::current() const
{
    return publisher->current();
}

}   // namespace studio::host
