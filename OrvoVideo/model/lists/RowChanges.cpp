#include "OrvoVideo/model/lists/RowChanges.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>
#include <unordered_map>

namespace orvo {

namespace {

using Kind = RowChange::Kind;

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

/// Beyond this many rows out of order, replacing them is cheaper than moving them one by one.
constexpr std::size_t maxMoves = 1000;

/// The range in which two lists differ: the rows before `begin` and the last `tail` rows have the same identities in the
/// same order.
struct Middle {
    std::size_t begin;
    std::size_t endBefore;
    std::size_t endAfter;

    std::size_t before() const { return endBefore - begin; }
    std::size_t after() const { return endAfter - begin; }
};

Middle middleOf(const RowComparison& lists)
{
    const std::size_t shorter = std::min(lists.before, lists.after);
    std::size_t begin = 0;
    while (begin < shorter && lists.same(begin, begin))
        ++begin;
    std::size_t tail = 0;
    while (tail < shorter - begin && lists.same(lists.before - 1 - tail, lists.after - 1 - tail))
        ++tail;
    return {begin, lists.before - tail, lists.after - tail};
}

void addRange(std::vector<RowChange>& steps, Kind kind, std::size_t row)
{
    if (!steps.empty() && steps.back().kind == kind && steps.back().last + 1 == row)
        steps.back().last = row;
    else
        steps.push_back({kind, row, row});
}

/// Adds the change steps. `origin` has the old row of every new row, or `none`.
void addChanges(
    std::vector<RowChange>& steps, const RowComparison& lists, const Middle& middle, const std::vector<std::size_t>& origin)
{
    for (std::size_t row = 0; row < lists.after; ++row) {
        std::size_t from = row;
        if (row >= middle.endAfter)
            from = row - lists.after + lists.before;
        else if (row >= middle.begin)
            from = origin[row - middle.begin];
        if (from != none && lists.differs(from, row))
            addRange(steps, Kind::change, row);
    }
}

/// Returns, for every row of the middle after, the row before with the same identity. Returns nullopt if an identity occurs
/// twice.
std::optional<std::vector<std::size_t>> originsOf(const RowComparison& lists, const Middle& middle)
{
    std::unordered_multimap<std::size_t, std::size_t> rows;
    rows.reserve(middle.before());
    for (std::size_t i = middle.begin; i < middle.endBefore; ++i)
        rows.emplace(lists.hashBefore(i), i);

    std::vector<std::size_t> origin(middle.after(), none);
    std::vector<bool> taken(middle.before());
    for (std::size_t j = middle.begin; j < middle.endAfter; ++j) {
        const auto [first, last] = rows.equal_range(lists.hashAfter(j));
        for (auto row = first; row != last; ++row) {
            if (!lists.same(row->second, j))
                continue;
            const std::size_t place = row->second - middle.begin;
            if (origin[j - middle.begin] != none || taken[place])
                return std::nullopt;
            taken[place] = true;
            origin[j - middle.begin] = row->second;
        }
    }
    return origin;
}

/// Marks a longest ascending subsequence.
std::vector<bool> longestAscending(const std::vector<std::size_t>& values)
{
    std::vector<std::size_t> ends; // ends[n]: the index of the smallest value that ends a subsequence of n + 1.
    std::vector<std::size_t> previous(values.size(), none);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto place = std::ranges::lower_bound(ends, values[i], {}, [&](std::size_t end) { return values[end]; });
        if (place != ends.begin())
            previous[i] = *(place - 1);
        if (place == ends.end())
            ends.push_back(i);
        else
            *place = i;
    }
    std::vector<bool> marked(values.size());
    for (std::size_t i = ends.empty() ? none : ends.back(); i != none; i = previous[i])
        marked[i] = true;
    return marked;
}

/// The moves that sort `order`, the target places of the present rows. Returns nullopt if there are too many.
std::optional<std::vector<RowChange>> movesFor(std::vector<std::size_t> order, std::size_t begin)
{
    const auto stays = longestAscending(order);
    std::vector<std::size_t> moving;
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (!stays[i])
            moving.push_back(order[i]);
    }
    if (moving.size() > maxMoves)
        return std::nullopt;
    std::ranges::sort(moving);

    std::vector<std::size_t> sorted = order;
    std::ranges::sort(sorted);
    std::vector<RowChange> steps;
    for (const std::size_t value : moving) {
        const auto from = static_cast<std::size_t>(std::ranges::find(order, value) - order.begin());
        order.erase(order.begin() + static_cast<std::ptrdiff_t>(from));
        // All smaller values are already in order: this row belongs directly after its neighbour.
        const auto rank = std::ranges::lower_bound(sorted, value) - sorted.begin();
        std::size_t to = 0;
        if (rank > 0)
            to = static_cast<std::size_t>(
                     std::ranges::find(order, sorted[static_cast<std::size_t>(rank - 1)]) - order.begin())
                + 1;
        order.insert(order.begin() + static_cast<std::ptrdiff_t>(to), value);
        if (from != to)
            steps.push_back({Kind::move, begin + from, begin + from, begin + to});
    }
    return steps;
}

/// Steps that replace the whole middle.
std::vector<RowChange> exchange(const RowComparison& lists, const Middle& middle)
{
    std::vector<RowChange> steps;
    if (middle.before() > 0)
        steps.push_back({Kind::remove, middle.begin, middle.endBefore - 1});
    if (middle.after() > 0)
        steps.push_back({Kind::insert, middle.begin, middle.endAfter - 1});
    addChanges(steps, lists, middle, std::vector<std::size_t>(middle.after(), none));
    return steps;
}

} // namespace

std::vector<RowChange> rowChanges(const RowComparison& lists)
{
    const Middle middle = middleOf(lists);
    if (middle.before() == 0 || middle.after() == 0)
        return exchange(lists, middle);
    const auto origin = originsOf(lists, middle);
    if (!origin)
        return exchange(lists, middle);

    std::vector<std::size_t> wanted(middle.before(), none); // The target place in the middle of each row before.
    for (std::size_t j = 0; j < origin->size(); ++j) {
        if ((*origin)[j] != none)
            wanted[(*origin)[j] - middle.begin] = j;
    }

    std::vector<RowChange> steps;
    for (std::size_t end = wanted.size(); end > 0;) {
        if (wanted[end - 1] != none) {
            --end;
            continue;
        }
        std::size_t first = end - 1;
        while (first > 0 && wanted[first - 1] == none)
            --first;
        steps.push_back({Kind::remove, middle.begin + first, middle.begin + end - 1});
        end = first;
    }

    std::erase(wanted, none);
    const auto moves = movesFor(std::move(wanted), middle.begin);
    if (!moves)
        return exchange(lists, middle);
    steps.insert(steps.end(), moves->begin(), moves->end());

    for (std::size_t j = 0; j < origin->size(); ++j) {
        if ((*origin)[j] == none)
            addRange(steps, Kind::insert, middle.begin + j);
    }
    addChanges(steps, lists, middle, *origin);
    return steps;
}

std::vector<RowChange> positionalRowChanges(const RowComparison& lists)
{
    const Middle middle = middleOf(lists);
    const std::size_t both = std::min(middle.before(), middle.after());
    std::vector<RowChange> steps;
    if (middle.before() > both)
        steps.push_back({Kind::remove, middle.begin + both, middle.endBefore - 1});
    if (middle.after() > both)
        steps.push_back({Kind::insert, middle.begin + both, middle.endAfter - 1});
    std::vector<std::size_t> origin(middle.after(), none);
    std::iota(origin.begin(), origin.begin() + static_cast<std::ptrdiff_t>(both), middle.begin);
    addChanges(steps, lists, middle, origin);
    return steps;
}

} // namespace orvo
