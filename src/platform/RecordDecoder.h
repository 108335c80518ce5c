#pragma once

#include "platform/Models.h"

#include <QByteArray>

#include <cstddef>
#include <exception>
#include <optional>

namespace driftwell {

/// Bytes that are not the record that was asked for.
class DecodeError final : public std::exception {
public:
    [[nodiscard]] const char* what() const noexcept override;
};

/// What the records of one answer may take of memory, in bytes, lists that had to move counted twice.
inline constexpr std::size_t maximumRecordBytes = 96 * 1024 * 1024;

/// Decodes one JSON text (RFC 8259, UTF-8) as a record. Throws DecodeError when the text is not JSON or nested too deep
/// (JsonReader.h), a required field is absent, null or of another type, an enumerated field holds an unknown text, or
/// the records would take more than maximumRecordBytes. Beside them it takes no memory to speak of, whatever the text
/// holds under unknown keys.
///
/// Defined for every response record of Models.h, and for std::optional<Identity> and std::optional<LogsResponse>, for
/// which the JSON text null gives an absent record.
template <class Record> [[nodiscard]] Record decodeRecord(const QByteArray& json);

} // namespace driftwell
