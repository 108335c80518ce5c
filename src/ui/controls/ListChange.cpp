#include "ui/controls/ListChange.h"

#include <QSet>

#include <algorithm>
#include <iterator>

namespace driftwell {

namespace {

QSet<QString> namesOf(const QList<QString>& list) {
    return {list.begin(), list.end()};
}

std::vector<ListChange::Removal> removals(const QList<QString>& before, const QSet<QString>& kept) {
    std::vector<ListChange::Removal> result;
    for (int row = static_cast<int>(before.size()) - 1; row >= 0; --row) {
        if (kept.contains(before[row])) {
            continue;
        }
        if (!result.empty() && result.back().first == row + 1) {
            result.back() = {row, result.back().count + 1};
        } else {
            result.push_back({row, 1});
        }
    }
    return result;
}

std::vector<ListChange::Insertion> insertions(const QList<QString>& after, const QSet<QString>& present) {
    std::vector<ListChange::Insertion> result;
    for (int row = 0; row < static_cast<int>(after.size()); ++row) {
        if (present.contains(after[row])) {
            continue;
        }
        if (!result.empty() && result.back().first + result.back().count == row) {
            ++result.back().count;
        } else {
            result.push_back({row, 1});
        }
    }
    return result;
}

QList<QString> common(const QList<QString>& list, const QSet<QString>& others) {
    QList<QString> result;
    std::copy_if(list.begin(), list.end(), std::back_inserter(result),
                 [&others](const QString& name) { return others.contains(name); });
    return result;
}

/// Absent when more than `limit` are needed.
std::optional<std::vector<ListChange::Move>> moves(QList<QString> from, const QList<QString>& to, std::size_t limit) {
    std::vector<ListChange::Move> result;
    for (int row = 0; row < static_cast<int>(to.size()); ++row) {
        if (from[row] == to[row]) {
            continue;
        }
        if (result.size() == limit) {
            return std::nullopt;
        }
        const auto present = static_cast<int>(from.indexOf(to[row], row));
        from.move(present, row);
        result.push_back({present, row});
    }
    return result;
}

/// How many pieces were taken out of `longer` where all that is left of it is `shorter`; absent otherwise.
std::optional<std::size_t> gaps(const QList<QString>& longer, const QList<QString>& shorter) {
    std::size_t count = 0;
    qsizetype next = 0;
    bool inGap = false;
    for (const QString& name : longer) {
        const bool stays = next < shorter.size() && name == shorter[next];
        next += stays ? 1 : 0;
        count += !stays && !inGap ? 1 : 0;
        inGap = !stays;
    }
    return next == shorter.size() ? std::optional(count) : std::nullopt;
}

/// A filter takes rows away or brings them back: that it is too many is seen at once, row by row.
bool scatters(const QList<QString>& before, const QList<QString>& after, std::size_t limit) {
    const auto count = before.size() > after.size() ? gaps(before, after) : gaps(after, before);
    return count && *count > limit;
}

} // namespace

std::optional<ListChange> ListChange::between(const QList<QString>& before, const QList<QString>& after,
                                              std::size_t limit) {
    if (scatters(before, after, limit)) {
        return std::nullopt;
    }
    const QSet<QString> old = namesOf(before);
    const QSet<QString> fresh = namesOf(after);
    if (old.size() != before.size() || fresh.size() != after.size()) {
        return std::nullopt;
    }
    ListChange change{
        .removals = driftwell::removals(before, fresh), .moves = {}, .insertions = driftwell::insertions(after, old)};
    const std::size_t steps = change.removals.size() + change.insertions.size();
    if (steps > limit) {
        return std::nullopt;
    }
    auto moved = driftwell::moves(common(before, fresh), common(after, old), limit - steps);
    if (!moved) {
        return std::nullopt;
    }
    change.moves = std::move(*moved);
    return change;
}

} // namespace driftwell
