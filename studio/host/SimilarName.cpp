#include "studio/host/SimilarName.h"

#include "studio/host/detail/Messages.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace studio::host {

namespace {

/// The number of insertions, removals, replacements and swaps of neighbours between two names, which are alike whatever
/// the case of their letters.
std::size_t distance(std::string_view left, std::string_view right)
{
    auto const lower = [](char letter) { return letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter; };
    std::vector<std::size_t> above(right.size() + 1);
    std::iota(above.begin(), above.end(), std::size_t{0});
    std::vector<std::size_t> beforeAbove = above;
    for (std::size_t i = 0; i != left.size(); ++i) {
        std::vector<std::size_t> row{i + 1};
        for (std::size_t j = 0; j != right.size(); ++j) {
            bool const isSame = lower(left[i]) == lower(right[j]);
            std::size_t least = std::min({above[j + 1] + 1, row[j] + 1, above[j] + (isSame ? 0 : 1)});
            if (i != 0 && j != 0 && left[i] == right[j - 1] && left[i - 1] == right[j])
                least = std::min(least, beforeAbove[j - 1] + 1);
            row.push_back(least);
        }
        beforeAbove = std::exchange(above, std::move(row));
    }
    return above.back();
}

}   // namespace

SimilarName::SimilarName(std::string_view unknown) : name{unknown}, least{unknown.size() / 3 + 1} {}

void SimilarName::add(std::string_view known)
{
    if (std::max(known.size(), name.size()) - std::min(known.size(), name.size()) > least)
        return;
    std::size_t const differences = distance(name, known);
    auto const beginsAlike = [&](std::string_view other) { return !other.empty() && other.front() == name.front(); };
    if (differences < least || (differences == least && !best.empty() && !beginsAlike(best) && beginsAlike(known))) {
        least = differences;
        best = known;
    }
}

std::string SimilarName::question() const
{
    return best.empty() ? std::string{} : "; did you mean " + detail::inQuotes(best) + '?';
}

}   // namespace studio::host
