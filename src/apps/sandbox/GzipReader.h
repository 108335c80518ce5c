#pragma once

#include "apps/sandbox/StopSignal.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

struct inflate_state;

namespace driftwell::sandbox {

/// Unpacks a gzip file (RFC 1952) piece by piece and checks its sums, also of the parts that nobody looks at.
class GzipReader {
public:
    /// At most `limit` bytes are unpacked. Throws std::system_error when the file cannot be read.
    GzipReader(const std::filesystem::path& file, std::uint64_t limit, const StopSignal& stop);
    ~GzipReader();
    GzipReader(const GzipReader&) = delete;
    GzipReader& operator=(const GzipReader&) = delete;

    /// The next piece, valid until the next call; empty at the end. Throws HttpError when the file is damaged, cut
    /// short or unpacks to more than the limit.
    [[nodiscard]] std::span<const unsigned char> next();

private:
    /// Reads more of the file. False at its end.
    bool refill();
    [[nodiscard]] bool hasInput() const;
    /// Several gzip members in a row are one file. False at the end of the file.
    bool beginMember();
    /// Unpacks what there is room for.
    void continueMember();
    /// Programs that write in blocks fill the last one up with zeros. Throws when anything else follows.
    void checkPadding();

    int m_file = -1;
    std::uint64_t m_left;
    const StopSignal& m_stop;
    std::vector<unsigned char> m_packed;
    std::vector<unsigned char> m_unpacked;
    std::unique_ptr<inflate_state> m_stream;
    bool m_memberOpen = false;
    /// A file of no members at all is no gzip file.
    bool m_memberSeen = false;
    bool m_finished = false;
};

} // namespace driftwell::sandbox
