#include "deploy/ArchiveGrowth.h"

#include "support/Sleep.h"
#include "support/WorkerPool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <utility>

namespace driftwell {

namespace {
constexpr std::chrono::milliseconds pause(250);
constexpr std::size_t pieceSize = 64 * 1024;
} // namespace

ArchiveGrowth::ArchiveGrowth(std::filesystem::path archive, std::filesystem::path record)
    : m_archive(std::move(archive)), m_recordPath(std::move(record)) {}

PackedSoFar ArchiveGrowth::look() {
    struct stat attributes {};
    if (::stat(m_archive.c_str(), &attributes) == 0) {
        m_seen.bytes = attributes.st_size;
    }
    if (!m_record) {
        m_record = UniqueFd(::open(m_recordPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    }
    std::array<char, pieceSize> piece{};
    ssize_t got = 0;
    while (m_record && (got = ::read(m_record.get(), piece.data(), piece.size())) > 0) {
        m_seen.files += std::count(piece.begin(), piece.begin() + got, '\0');
    }
    return m_seen;
}

Task<> watchGrowth(std::filesystem::path archive, std::filesystem::path record,
                   std::function<void(PackedSoFar)> onPacked, std::stop_token stop) {
    const auto growth = std::make_shared<ArchiveGrowth>(std::move(archive), std::move(record));
    const auto look = [growth] {
        return growth->look();
    };
    PackedSoFar told;
    try {
        while (!stop.stop_requested()) {
            co_await sleepFor(pause, stop);
            const PackedSoFar seen = co_await runOnPool(look);
            if (seen != told && !stop.stop_requested()) {
                told = seen;
                onPacked(seen);
            }
        }
    } catch (const std::exception&) {
        // A stop, or a lack of threads: nothing is told any more.
    }
}

} // namespace driftwell
