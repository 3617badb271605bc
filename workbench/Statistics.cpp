#include "workbench/Statistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace workbench {

using std::chrono::nanoseconds;

void Statistics::add(Step const& step, StepResult const& result)
{
    times.push_back(result.time);
    operations += step.operations.size();
    notifications += result.notifications;
    silentSteps += result.notifications == 0 ? 1 : 0;
    if (result.changes.size() > mostChanges) {
        mostChanges = result.changes.size();
        mostInStep = times.size();
    }
    for (Change const& change : result.changes)
        ++changesOf[change.expression];
}

nanoseconds Statistics::total() const
{
    return std::accumulate(times.begin(), times.end(), nanoseconds{});
}

nanoseconds Statistics::within(double share) const
{
    if (times.empty())
        return {};
    std::vector<nanoseconds> sorted = times;
    std::sort(sorted.begin(), sorted.end());
    auto const rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(sorted.size())));
    return sorted[std::max<std::size_t>(rank, 1) - 1];
}

std::vector<std::size_t> Statistics::busiest(std::size_t limit) const
{
    std::vector<std::size_t> ranking(changesOf.size());
    std::iota(ranking.begin(), ranking.end(), std::size_t{0});
    std::stable_sort(ranking.begin(), ranking.end(),
                     [&](std::size_t left, std::size_t right) { return changesOf[left] > changesOf[right]; });
    auto const end = std::find_if(ranking.begin(), ranking.end(), [&](std::size_t i) { return changesOf[i] == 0; });
    ranking.erase(end, ranking.end());
    ranking.resize(std::min(ranking.size(), limit));
    return ranking;
}

}   // namespace workbench
