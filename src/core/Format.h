#pragma once

#include "platform/Timestamp.h"

#include <QString>

#include <cstdint>

/// Texts made from values, the same on every screen and in the command-line tool. Pure functions.
namespace driftwell::Format {

/// How long ago a moment was, for example "5m ago"; nine weeks back and more its date. "just now" for the future.
[[nodiscard]] QString relative(Timestamp date, Timestamp now = driftwell::now());

/// The same in at most a few letters, for example "5m".
[[nodiscard]] QString relativeShort(Timestamp date, Timestamp now = driftwell::now());

/// The first letters of a name's first two words, in capitals. Empty for a blank name.
[[nodiscard]] QString initials(const QString& name);

/// A readable name made of an e-mail address; any other text unchanged.
[[nodiscard]] QString actor(const QString& text);

/// A moment to the second in the person's own language and time zone.
[[nodiscard]] QString timestamp(Timestamp date);

/// A number of bytes in decimal units, for example "1.2 MB". Kilobytes are whole, larger units have up to one
/// decimal, gigabytes up to two.
[[nodiscard]] QString byteCount(std::int64_t bytes);

/// A number of things, for example "1 file" and "12 files".
[[nodiscard]] QString counted(std::int64_t number, const QString& noun);

/// The noun as it follows a number: with an "s" for any number but one.
[[nodiscard]] QString plural(std::int64_t number, const QString& noun);

/// An address as people say it: without its scheme.
[[nodiscard]] QString withoutScheme(const QString& url);

/// What a reader takes for the first letter, accents included. Empty for an empty text.
[[nodiscard]] QString firstCharacter(const QString& text);

/// 32-bit FNV-1a over the seed's UTF-8 bytes (draft-eastlake-fnv).
[[nodiscard]] std::uint32_t seedHash(const QString& seed);

} // namespace driftwell::Format
