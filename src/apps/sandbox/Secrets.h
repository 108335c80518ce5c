#pragma once

#include <string>
#include <string_view>

namespace driftwell::sandbox {

/// 256 random bits in hexadecimal, for tokens and one-time values.
[[nodiscard]] std::string freshSecret();

/// 96 random bits in hexadecimal: unique enough for the name of a file or folder.
[[nodiscard]] std::string freshId();

/// SHA-256 in hexadecimal: what is stored of a secret. A secret of 256 random bits needs no salt.
[[nodiscard]] std::string digest(std::string_view secret);

} // namespace driftwell::sandbox
