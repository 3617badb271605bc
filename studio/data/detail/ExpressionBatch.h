#pragma once

#include "studio/data/Expression.h"
#include "studio/data/ExpressionEngine.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace studio::data {

/// What one report has an engine do. Reused, so that a steady stream of reports allocates nothing.
struct ExpressionEngine::Batch {
    struct Reader {
        std::uint64_t number;   // of the expression: they are sorted without a look at them
        Expression* expression;
    };

    Batch() = default;
    Batch(Batch const&) = delete;
    Batch& operator=(Batch const&) = delete;
    ~Batch() { clear(); }

    void add(Expression& reader)
    {
        readers.push_back({reader.number, &reader});
        intrusive_ptr_add_ref(&reader);
    }
    void sort()
    {
        auto const earlier = [](Reader const& left, Reader const& right) { return left.number < right.number; };
        if (!std::is_sorted(readers.begin(), readers.end(), earlier))
            std::sort(readers.begin(), readers.end(), earlier);
    }
    void clear() noexcept
    {
        symbols.clear();
        for (Reader const& reader : readers)
            intrusive_ptr_release(reader.expression);
        readers.clear();
    }

    std::vector<Symbol*> symbols;   // to bind anew; valid until the first callback
    std::vector<Reader> readers;    // to evaluate, in order of acquisition; pinned
};

/// Learns if the engine goes while others run.
struct ExpressionEngine::Presence {
    explicit Presence(ExpressionEngine& owner) noexcept : engine{owner}, outer{std::exchange(owner.running, this)} {}
    Presence(Presence const&) = delete;
    Presence& operator=(Presence const&) = delete;
    ~Presence()
    {
        if (!engineGone)
            engine.running = outer;
    }

    ExpressionEngine& engine;
    Presence* outer;
    bool engineGone = false;
};

/// One report that an engine is working on: takes a batch and gives it back.
struct ExpressionEngine::Frame : Presence {
    explicit Frame(ExpressionEngine& owner) : Presence{owner}, batch{take(owner)} {}
    ~Frame()
    {
        if (engineGone)
            return;
        batch->clear();
        engine.spareBatches.push_back(std::move(batch));   // there is room: it was made when the batch was
    }

    static std::unique_ptr<Batch> take(ExpressionEngine& engine)
    {
        auto& spare = engine.spareBatches;
        if (spare.empty()) {
            spare.reserve(engine.batchCount + 1);   // giving it back must not need memory
            auto made = std::make_unique<Batch>();
            ++engine.batchCount;
            return made;
        }
        std::unique_ptr<Batch> batch = std::move(spare.back());
        spare.pop_back();
        return batch;
    }

    std::unique_ptr<Batch> batch;
};

}   // namespace studio::data
