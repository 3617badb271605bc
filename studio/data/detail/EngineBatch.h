#pragma once

#include "studio/data/Expression.h"
#include "studio/data/detail/ExpressionSymbol.h"
#include "studio/data/detail/FreeList.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace studio::data::detail {

/// The symbols and expressions that one report affects.
struct EngineBatch {
    struct Reader {
        std::uint64_t number;   // of the expression; a copy, so that sorting does not touch the expressions
        Expression* expression;
    };

    EngineBatch() = default;
    EngineBatch(EngineBatch const&) = delete;
    EngineBatch& operator=(EngineBatch const&) = delete;
    ~EngineBatch() { clear(); }

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

    std::vector<ExpressionSymbol*> symbols;   // to rebind; valid until the first callback
    std::vector<Reader> readers;              // to evaluate, in order of acquisition; pinned
};

/// Lends a batch to each report that is being processed. Batches are used again, so that a steady stream of reports
/// allocates nothing.
using EngineBatches = FreeList<EngineBatch, 16>;

/// Stack guard: takes a batch and returns it.
struct BatchLease {
    explicit BatchLease(EngineBatches& lender) : batches{lender}, batch{lender.take()} {}
    BatchLease(BatchLease const&) = delete;
    BatchLease& operator=(BatchLease const&) = delete;
    ~BatchLease()
    {
        batch->clear();
        batches.keep(std::move(batch));
    }

    EngineBatches& batches;
    std::unique_ptr<EngineBatch> batch;
};

}   // namespace studio::data::detail
