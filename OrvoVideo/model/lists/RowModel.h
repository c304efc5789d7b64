#pragma once

#include "OrvoVideo/model/lists/RowChanges.h"
#include "VideoCore/SharedList.h"

#include <QAbstractListModel>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>
#include <algorithm>
#include <concepts>
#include <functional>
#include <utility>

namespace orvo {

/// Base of the list models: replaces rows by other rows with the fewest steps.
class RowModel : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    int count() const { return rowCount(); }

    /// The values of a row by role name; empty if the row does not exist.
    Q_INVOKABLE QVariantMap get(int row) const;

signals:
    void countChanged();

protected:
    explicit RowModel(QObject* parent = nullptr);

    /// How to compare rows.
    template <typename T> struct Comparison {
        /// Whether two rows have the same identity; empty for rows without an identity.
        std::function<bool(const T&, const T&)> same;
        std::function<std::size_t(const T&)> hash;
    };

    /// The identity of a row is its `id`.
    template <typename T> static Comparison<T> byId()
    {
        using Id = std::remove_cvref_t<decltype(std::declval<T>().id)>;
        return {.same = [](const T& a, const T& b) { return a.id == b.id; },
            .hash = [](const T& row) { return std::hash<Id>()(row.id); }};
    }

    /// Replaces `rows` by `next`. `differs(i, j)` returns whether row `i` of `rows` and row `j` of `next`, with the same
    /// identity, show different values; without it, compares the rows.
    template <typename T>
    void replaceRows(SharedList<T>& rows, SharedList<T> next, const Comparison<T>& comparison,
        const std::function<bool(std::size_t, std::size_t)>& differs = {});

private:
    /// Announces the step, calls `apply` and ends the announcement.
    void announce(const RowChange& step, const std::function<void()>& apply);
};

template <typename T>
void RowModel::replaceRows(SharedList<T>& rows, SharedList<T> next, const Comparison<T>& comparison,
    const std::function<bool(std::size_t, std::size_t)>& differs)
{
    if (rows.sharesStorageWith(next) && !differs)
        return;
    const auto& now = rows.items();
    const auto& then = next.items();
    RowComparison lists{.before = now.size(), .after = then.size()};
    if (differs)
        lists.differs = differs;
    else
        lists.differs = [&](std::size_t i, std::size_t j) { return !(now[i] == then[j]); };
    std::vector<RowChange> steps;
    if (comparison.same) {
        lists.same = [&](std::size_t i, std::size_t j) { return comparison.same(now[i], then[j]); };
        lists.hashBefore = [&](std::size_t i) { return comparison.hash(now[i]); };
        lists.hashAfter = [&](std::size_t j) { return comparison.hash(then[j]); };
        steps = rowChanges(lists);
    } else {
        lists.same = [&](std::size_t i, std::size_t j) { return now[i] == then[j]; };
        steps = positionalRowChanges(lists);
    }

    const std::size_t before = rows.size();
    const auto structural =
        std::ranges::count_if(steps, [](const auto& step) { return step.kind != RowChange::Kind::change; });
    auto left = structural;
    // Values must not change before the announcement.
    const bool onlyStructural = structural == std::ssize(steps);
    for (const auto& step : steps) {
        if (step.kind == RowChange::Kind::change)
            break;
        announce(step, [&] {
            // The last step assigns the new rows; only earlier steps need intermediate rows.
            if (--left == 0 && onlyStructural) {
                rows = next;
                return;
            }
            auto& items = rows.edit();
            const auto at = [&](std::size_t row) { return items.begin() + static_cast<std::ptrdiff_t>(row); };
            switch (step.kind) {
            case RowChange::Kind::remove:
                items.erase(at(step.first), at(step.last) + 1);
                break;
            case RowChange::Kind::move:
                if (step.first < step.to)
                    std::rotate(at(step.first), at(step.first) + 1, at(step.to) + 1);
                else
                    std::rotate(at(step.to), at(step.first), at(step.first) + 1);
                break;
            case RowChange::Kind::insert:
                items.insert(at(step.first), next.begin() + static_cast<std::ptrdiff_t>(step.first),
                    next.begin() + static_cast<std::ptrdiff_t>(step.last) + 1);
                break;
            case RowChange::Kind::change:
                break;
            }
        });
    }
    rows = std::move(next);
    for (const auto& step : steps) {
        if (step.kind == RowChange::Kind::change)
            announce(step, [] { });
    }
    if (rows.size() != before)
        emit countChanged();
}

} // namespace orvo
