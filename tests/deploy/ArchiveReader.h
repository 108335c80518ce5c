#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell::tests {

/// A member of an archive as its header tells it (POSIX.1-1988, ustar).
struct ArchiveMember {
    std::string name;
    /// '0' a regular file, '1' a further name of one, '2' a link, '3' and '4' devices, '5' a folder, '6' a pipe.
    char type = '0';
    std::uint64_t mode = 0;
    std::uint64_t owner = 0;
    std::uint64_t group = 0;
    /// In seconds since 1970.
    std::uint64_t modified = 0;
    std::string ownerName;
    std::string groupName;
    std::string linkTarget;
    std::string content;
};

/// Reads a gzip-compressed archive that must be ustar in every header. Throws std::runtime_error.
[[nodiscard]] std::vector<ArchiveMember> readArchive(std::string_view compressed);

} // namespace driftwell::tests
