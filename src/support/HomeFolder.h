#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace driftwell {

/// The person's home folder: the bytes of HOME where that is an absolute path, or else what the password database says
/// (getpwuid_r(3)). Where neither knows one, a folder that does not exist.
[[nodiscard]] std::filesystem::path homeFolder();

/// The path with "~" at its beginning replaced by the home folder, and "~NAME" by that of the account NAME. As it is
/// when there is no such account.
[[nodiscard]] std::filesystem::path expandTilde(std::string_view path);

/// The other way round, for who reads a path: the home folder at its beginning written as "~".
[[nodiscard]] std::string abbreviateHome(std::string path, std::string home = homeFolder());

} // namespace driftwell
