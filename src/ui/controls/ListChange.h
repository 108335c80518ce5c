#pragma once

#include <QList>
#include <QString>

#include <optional>
#include <vector>

namespace driftwell {

/// The steps that turn one list of distinct names into another, in order, each on the list that the steps before it
/// left.
struct ListChange {
    struct Removal {
        int first = 0;
        int count = 0;
        bool operator==(const Removal&) const = default;
    };
    /// A row goes up, to before the row `to`.
    struct Move {
        int from = 0;
        int to = 0;
        bool operator==(const Move&) const = default;
    };
    struct Insertion {
        int first = 0;
        int count = 0;
        bool operator==(const Insertion&) const = default;
    };

    /// From the end of the list to its beginning.
    std::vector<Removal> removals;
    std::vector<Move> moves;
    /// From the beginning to the end; the rows are those of the new list at the same places.
    std::vector<Insertion> insertions;

    /// Absent when a name stands twice in a list, and when more than `limit` steps would be needed.
    [[nodiscard]] static std::optional<ListChange> between(const QList<QString>& before, const QList<QString>& after,
                                                           std::size_t limit);
};

} // namespace driftwell
