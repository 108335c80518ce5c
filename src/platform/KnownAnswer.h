#pragma once

#include <QByteArray>

#include <optional>
#include <utility>

namespace driftwell {

/// The bytes of the last answer to a question; none are known when they are empty.
struct KnownBytes {
    QByteArray bytes;

    // Bytes that are known are what a caller has.
    // NOLINTNEXTLINE(google-explicit-constructor)
    KnownBytes(QByteArray known = {}) : bytes(std::move(known)) {}

    /// An empty answer is no record, so it is never the one that is known.
    [[nodiscard]] bool are(const QByteArray& answer) const { return !bytes.isEmpty() && answer == bytes; }
};

/// An answer's bytes and the record decoded from them; no record when the bytes are those that the caller knew.
template <class Record> struct Fetched {
    QByteArray bytes;
    std::optional<Record> record;
};

} // namespace driftwell
