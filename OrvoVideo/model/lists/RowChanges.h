#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

/// The steps that turn the rows of one list into those of another. Pure functions.
namespace orvo {

/// One step. Row numbers are valid after all previous steps.
struct RowChange {
    enum class Kind : std::uint8_t {
        remove, ///< Removes rows `first`..`last`.
        move, ///< Moves row `first`; its number is `to` afterwards.
        insert, ///< Inserts rows `first`..`last` of the new list at these numbers.
        change ///< Rows `first`..`last` have other values. Always the last steps.
    };
    Kind kind = Kind::change;
    std::size_t first = 0;
    std::size_t last = 0;
    std::size_t to = 0;

    friend bool operator==(const RowChange&, const RowChange&) = default;
};

/// The access to two lists that the comparison needs.
struct RowComparison {
    std::size_t before = 0; ///< Rows before.
    std::size_t after = 0; ///< Rows after.
    /// Whether row `i` before and row `j` after have the same identity; their values may differ.
    std::function<bool(std::size_t i, std::size_t j)> same;
    /// Whether the values of two rows with the same identity differ.
    std::function<bool(std::size_t i, std::size_t j)> differs;
    /// Hashes of a row before and a row after; equal for the same identity.
    std::function<std::size_t(std::size_t i)> hashBefore;
    std::function<std::size_t(std::size_t j)> hashAfter;
};

/// The steps for rows with an identity: removals, then as few moves as possible, then insertions, then changes, each with as
/// few ranges as possible. If an identity occurs twice, replaces all rows between the common head and tail.
std::vector<RowChange> rowChanges(const RowComparison& lists);

/// The steps for rows without an identity: between the common head and tail, rows change in place and the rest is removed or
/// inserted after them. Does not use `hashBefore` and `hashAfter`.
std::vector<RowChange> positionalRowChanges(const RowComparison& lists);

} // namespace orvo
