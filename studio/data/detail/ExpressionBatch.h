#pragma once

#include "studio/data/Expression.h"
#include "studio/data/ExpressionEngine.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace studio::data {

/// The symbols and expressions that one report affects. Reused, so that a steady stream of reports allocates nothing.
struct ExpressionEngine::Batch {
    struct Reader {
        std::uint64_t number;   // of the expression; a copy, so that sorting does not touch the expressions
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

    std::vector<Symbol*> symbols;   // to rebind; valid until the first callback
    std::vector<Reader> readers;    // to evaluate, in order of acquisition; pinned
};

/// Stack guard: reports to a function that calls out whether the engine was destroyed meanwhile.
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

/// Stack guard of one report being processed: takes a batch from the spare ones and returns it.
struct ExpressionEngine::Frame : Presence {
    explicit Frame(ExpressionEngine& owner) : Presence{owner}, batch{take(owner)} {}
    ~Frame()
    {
        if (engineGone)
            return;
        batch->clear();
        engine.spareBatches.push_back(std::move(batch));   // has capacity: reserved when the batch was made
    }

    static std::unique_ptr<Batch> take(ExpressionEngine& engine)
    {
        auto& spare = engine.spareBatches;
        if (spare.empty()) {
            spare.reserve(engine.batchCount + 1);   // so that returning it never allocates
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
