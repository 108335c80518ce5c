#pragma once

#include "archive/ArchiveMember.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace driftwell {

/// Reads the headers of a tar archive in the ustar format (POSIX.1-1988) while it goes by, in pieces of any size.
class TarReader {
public:
    explicit TarReader(MemberSink onMember) : m_onMember(std::move(onMember)) {}

    /// Takes the next piece. Throws ArchiveError at what is no ustar header, or at anything after the archive's end.
    void read(std::string_view bytes);

    /// After the last piece: throws ArchiveError when the archive's end, two blocks of zeros, was not among them.
    void finish() const;

private:
    static constexpr std::size_t blockSize = 512;

    void readBlock(std::string_view block);

    MemberSink m_onMember;
    /// The beginning of a header of which the rest is still to come.
    std::array<char, blockSize> m_begun{};
    std::size_t m_begunSize = 0;
    /// Of the present member, with what fills its last block.
    std::uint64_t m_contentLeft = 0;
    int m_zeroBlocks = 0;
};

} // namespace driftwell
