#pragma once

#include "support/Task.h"
#include "support/UniqueFd.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>

namespace driftwell {

/// How far the packing of an archive is.
struct PackedSoFar {
    /// Members that have gone by; 0 where the compressor writes none down.
    std::int64_t files = 0;
    /// The size of the archive.
    std::int64_t bytes = 0;

    bool operator==(const PackedSoFar&) const = default;
};

/// Watches an archive, and the record that the compressor keeps of it (archive/MemberRecord.h), while they grow.
class ArchiveGrowth {
public:
    ArchiveGrowth(std::filesystem::path archive, std::filesystem::path record);

    /// What has come by now. Blocking; reads what was written down since the last look.
    [[nodiscard]] PackedSoFar look();

private:
    std::filesystem::path m_archive;
    std::filesystem::path m_recordPath;
    UniqueFd m_record;
    PackedSoFar m_seen;
};

/// Looks a few times a second, and tells on the caller's thread whenever there is more. Ends well after a stop, and
/// throws nothing.
[[nodiscard]] Task<> watchGrowth(std::filesystem::path archive, std::filesystem::path record,
                                 std::function<void(PackedSoFar)> onPacked, std::stop_token stop);

} // namespace driftwell
