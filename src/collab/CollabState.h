#pragma once

#include <QString>
#include <QStringList>

#include <utility>

namespace driftwell {

/// How a linked folder stands to its site. A value, computed afresh each time.
struct CollabState {
    enum class Kind {
        Conflict,         ///< a merge waits until `files` are repaired; then Resolved
        NeedsAttention,   ///< the folder is in a shape that is left alone until a person or agent has put it right
        UpToDate,         ///< nothing to do; also with work of its own that is not published
        UpdatesAvailable, ///< the platform has what this folder does not; then UpToDate or Conflict
        Resolved,         ///< a merge waits, and all its files are clean: it is to be committed and published
    };

    Kind kind = Kind::UpToDate;
    /// Of a Conflict: paths relative to the folder, sorted.
    QStringList files = {};
    /// Of a NeedsAttention: words that go on after "right now".
    QString text = {};

    [[nodiscard]] static CollabState conflict(QStringList files) { return {Kind::Conflict, std::move(files), {}}; }
    [[nodiscard]] static CollabState needsAttention(QString text) {
        return {Kind::NeedsAttention, {}, std::move(text)};
    }
    [[nodiscard]] static CollabState upToDate() { return {Kind::UpToDate, {}, {}}; }
    [[nodiscard]] static CollabState updatesAvailable() { return {Kind::UpdatesAvailable, {}, {}}; }
    [[nodiscard]] static CollabState resolved() { return {Kind::Resolved, {}, {}}; }

    bool operator==(const CollabState&) const = default;
};

} // namespace driftwell
