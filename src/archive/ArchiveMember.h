#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace driftwell {

/// What the header of one member of a tar archive says.
struct ArchiveMember {
    /// Bytes, as they stand in the archive.
    std::string name;
    /// '0' a regular file, '1' a further name of one, '2' a link, '3' and '4' devices, '5' a folder, '6' a pipe.
    char type = '0';
    /// Of the content, in bytes.
    std::uint64_t size = 0;
    /// When the file was last changed, in seconds since 1970.
    std::int64_t modified = 0;

    bool operator==(const ArchiveMember&) const = default;
};

/// Takes the members of an archive, one after another in their order.
using MemberSink = std::function<void(const ArchiveMember&)>;

} // namespace driftwell
