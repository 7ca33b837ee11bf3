#include "scripts/ExchangeSort.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace
{

/// Numbers that compare as the names do. Comparing numbers is what makes the many comparisons of an
/// exchange sort affordable.
std::vector<int> ranksOf(const QList<QString> &names)
{
    std::vector<int> order(static_cast<size_t>(names.size()));
    std::iota(order.begin(), order.end(), 0);
    const auto compare = [&names](int a, int b) {
        return QString::compare(names[a], names[b], Qt::CaseInsensitive);
    };
    std::sort(order.begin(), order.end(), [&](int a, int b) { return compare(a, b) < 0; });

    std::vector<int> ranks(order.size());
    int rank = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        if (i > 0 && compare(order[i - 1], order[i]) < 0)
            ++rank;
        ranks[static_cast<size_t>(order[i])] = rank;
    }
    return ranks;
}

} // namespace

std::vector<int> exchangeSorted(const QList<QString> &names)
{
    std::vector<int> ranks = ranksOf(names);
    std::vector<int> sortedRanks = ranks;
    std::sort(sortedRanks.begin(), sortedRanks.end());
    std::vector<int> order(ranks.size());
    std::iota(order.begin(), order.end(), 0);

    for (size_t i = 0; i < ranks.size(); ++i) {
        // Once the place has the rank that ends up there, nothing smaller is left to swap with.
        for (size_t j = i + 1; ranks[i] > sortedRanks[i]; ++j) {
            if (ranks[i] <= ranks[j])
                continue;
            std::swap(ranks[i], ranks[j]);
            std::swap(order[i], order[j]);
        }
    }
    return order;
}
