#include "archive/GzipReader.h"

#include "archive/ArchiveError.h"

#include <isa-l/igzip_lib.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <system_error>
#include <vector>

namespace driftwell {

namespace {

constexpr std::size_t pieceSize = 256 * 1024;

ArchiveError damaged() {
    return ArchiveError("the compressed archive is damaged or cut short");
}

std::size_t readPiece(int file, std::vector<unsigned char>& piece) {
    ssize_t got = 0;
    do {
        got = ::read(file, piece.data(), piece.size());
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        throw std::system_error(errno, std::generic_category(), "could not read the archive");
    }
    return static_cast<std::size_t>(got);
}

} // namespace

void readGzip(int file, const std::function<void(std::string_view)>& onBytes) {
    std::vector<unsigned char> packed(pieceSize);
    std::vector<unsigned char> plain(pieceSize);
    const auto stream = std::make_unique<inflate_state>();
    isal_inflate_init(stream.get());
    // With its header read and its sums checked.
    stream->crc_flag = ISAL_GZIP;
    while (stream->block_state != ISAL_BLOCK_FINISH) {
        stream->next_out = plain.data();
        stream->avail_out = static_cast<std::uint32_t>(plain.size());
        // It may hold back a few bytes of what it was given, so it is asked before more is read.
        if (isal_inflate(stream.get()) < 0) {
            throw damaged();
        }
        onBytes({reinterpret_cast<const char*>(plain.data()), plain.size() - stream->avail_out});
        const bool wantsMore = stream->block_state != ISAL_BLOCK_FINISH && stream->avail_out > 0;
        if (wantsMore) {
            if (stream->avail_in > 0) {
                throw damaged();
            }
            stream->next_in = packed.data();
            stream->avail_in = static_cast<std::uint32_t>(readPiece(file, packed));
            if (stream->avail_in == 0) {
                throw damaged();
            }
        }
    }
    if (stream->avail_in > 0 || readPiece(file, packed) > 0) {
        throw ArchiveError("something follows the compressed archive");
    }
}

} // namespace driftwell
