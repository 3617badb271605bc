#pragma once

#include "studio/data/EngineObserver.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace studio::data::detail {

/// The observers of an engine in order of registration. An observer may add and remove any during its call: those that
/// are added are not called in the same pass, those that are removed are skipped.
class EngineObservers {
public:
    void add(EngineObserver& observer) { list.push_back(&observer); }
    void remove(EngineObserver& observer) noexcept
    {
        auto const found = std::find(list.begin(), list.end(), &observer);
        if (found != list.end())
            *found = nullptr;
        closeGaps();
    }
    void clear() noexcept
    {
        std::fill(list.begin(), list.end(), nullptr);
        closeGaps();
    }
    bool empty() const noexcept { return list.empty(); }

    template <class Call>
    void each(Call const& call)
    {
        struct Pass {
            explicit Pass(EngineObservers& walked) noexcept : observers{walked} { ++observers.passes; }
            ~Pass()
            {
                --observers.passes;
                observers.closeGaps();
            }
            EngineObservers& observers;
        };
        Pass const pass{*this};
        for (std::size_t i = 0, count = list.size(); i != count; ++i)
            if (EngineObserver* const observer = list[i])
                call(*observer);
    }

private:
    void closeGaps() noexcept
    {
        if (passes == 0)
            list.erase(std::remove(list.begin(), list.end(), nullptr), list.end());
    }

    std::vector<EngineObserver*> list;   // null where removed during a pass
    std::size_t passes = 0;
};

}   // namespace studio::data::detail
