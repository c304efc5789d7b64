#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

/// What has to be done to the rows of one list so that they become those of another. Pure.
namespace orvo {

/// One step. Row numbers are those at the time of the step, after all steps before it.
struct RowChange {
    enum class Kind : std::uint8_t {
        remove, ///< Rows `first`..`last` go.
        move, ///< Row `first` goes to where it has the number `to` afterwards.
        insert, ///< Rows `first`..`last` of the list to be reached come, and have these numbers.
        change ///< Rows `first`..`last` have other values. These steps come last.
    };
    Kind kind = Kind::change;
    std::size_t first = 0;
    std::size_t last = 0;
    std::size_t to = 0;

    friend bool operator==(const RowChange&, const RowChange&) = default;
};

/// Two lists seen through what the comparison needs of them.
struct RowComparison {
    std::size_t before = 0; ///< Rows before.
    std::size_t after = 0; ///< Rows after.
    /// Whether row `i` before and row `j` after are the same thing, though its values may differ.
    std::function<bool(std::size_t i, std::size_t j)> same;
    /// Whether the values of a row that stayed the same thing differ.
    std::function<bool(std::size_t i, std::size_t j)> differs;
    /// A hash that is equal for rows that are the same thing; of a row before, and of a row after.
    std::function<std::size_t(std::size_t i)> hashBefore;
    std::function<std::size_t(std::size_t j)> hashAfter;
};

/// The steps for rows with an identity: removals, then as few moves as possible, then insertions, then changes, each as few
/// ranges as possible. Where an identity occurs twice, the rows between the common beginning and end are exchanged.
std::vector<RowChange> rowChanges(const RowComparison& lists);

/// The steps for rows that are nothing but their values: between the common beginning and end, rows change in place and the
/// rest is removed or inserted behind them. `hashBefore` and `hashAfter` are not used.
std::vector<RowChange> positionalRowChanges(const RowComparison& lists);

} // namespace orvo
