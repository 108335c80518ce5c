#pragma once

#include "platform/Models.h"

#include <QByteArray>

#include <exception>
#include <optional>

namespace driftwell {

/// Bytes that are not the record that was asked for.
class DecodeError final : public std::exception {
public:
    [[nodiscard]] const char* what() const noexcept override;
};

/// Decodes one JSON text (RFC 8259, UTF-8) as a record. Throws DecodeError when the text is not JSON or nested
/// too deep (BoundedJson.h), or a required
/// field is absent, null or of another type, or an enumerated field holds an unknown text.
///
/// Defined for every response record of Models.h, and for std::optional<Identity> and std::optional<LogsResponse>, for
/// which the JSON text null gives an absent record.
template <class Record> [[nodiscard]] Record decodeRecord(const QByteArray& json);

} // namespace driftwell
