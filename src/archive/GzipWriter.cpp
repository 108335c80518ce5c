#include "archive/GzipWriter.h"

#include "archive/WholeWrite.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <deque>
#include <future>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

namespace driftwell {

namespace {

// Larger pieces lose less at their borders, across which nothing is found again.
constexpr std::size_t pieceSize = 1024 * 1024;
constexpr unsigned mostThreads = 8;

// No name, no time, no system.
constexpr std::string_view header("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10);
// An empty block of the fixed code that says it is the last (RFC 1951, 3.2.3).
constexpr std::string_view lastBlock("\x03\0", 2);

/// One piece of the input and what it is compressed to, blocks that end at a whole byte. Used again for later pieces.
struct Piece {
    std::vector<unsigned char> plain = std::vector<unsigned char>(pieceSize);
    std::size_t plainSize = 0;
    std::vector<unsigned char> packed = std::vector<unsigned char>(pieceSize + pieceSize / 8);
    std::size_t packedSize = 0;
    isal_zstream stream{};
    std::vector<unsigned char> level = std::vector<unsigned char>(ISAL_DEF_LVL2_DEFAULT);

    [[nodiscard]] std::string_view plainBytes() const {
        return {reinterpret_cast<const char*>(plain.data()), plainSize};
    }
    [[nodiscard]] std::string_view packedBytes() const {
        return {reinterpret_cast<const char*>(packed.data()), packedSize};
    }
    void compress();
};

void Piece::compress() {
    isal_deflate_init(&stream);
    stream.level = 2;
    stream.level_buf = level.data();
    stream.level_buf_size = static_cast<std::uint32_t>(level.size());
    stream.flush = FULL_FLUSH;
    stream.next_in = plain.data();
    stream.avail_in = static_cast<std::uint32_t>(plainSize);
    packedSize = 0;
    do {
        if (packedSize == packed.size()) {
            packed.resize(packed.size() + pieceSize);
        }
        stream.next_out = packed.data() + packedSize;
        stream.avail_out = static_cast<std::uint32_t>(packed.size() - packedSize);
        if (isal_deflate(&stream) != COMP_OK) {
            throw std::runtime_error("could not compress");
        }
        packedSize = packed.size() - stream.avail_out;
        // Room that is left says that everything is out.
    } while (stream.avail_out == 0);
}

/// Fills the piece as far as the input goes.
void fill(Piece& piece, int input) {
    piece.plainSize = 0;
    while (piece.plainSize < piece.plain.size()) {
        const ssize_t got =
            ::read(input, piece.plain.data() + piece.plainSize, piece.plain.size() - piece.plainSize);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            throw std::system_error(errno, std::generic_category(), "could not read");
        }
        if (got == 0) {
            return;
        }
        piece.plainSize += static_cast<std::size_t>(got);
    }
}

std::future<void> compressAside(Piece& piece) {
    try {
        return std::async(std::launch::async, [&piece] { piece.compress(); });
    } catch (const std::system_error&) {
        // No thread is to be had; the piece is compressed when it is its turn.
        return std::async(std::launch::deferred, [&piece] { piece.compress(); });
    }
}

std::string littleEndian(std::uint32_t number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(number >> shift);
    }
    return bytes;
}

/// Writes in order what is compressed side by side.
class Writer {
public:
    explicit Writer(int output) : m_output(output) {}

    void write(std::string_view bytes) {
        writeWhole(m_output, bytes);
        m_written += bytes.size();
    }

    /// A piece that is free, after writing as many as it takes to have one.
    std::unique_ptr<Piece> takePiece() {
        const std::size_t most = std::clamp(std::thread::hardware_concurrency(), 1U, mostThreads) + 1;
        if (m_underWay.size() >= most) {
            writeOldest();
        }
        if (m_free.empty()) {
            return std::make_unique<Piece>();
        }
        std::unique_ptr<Piece> piece = std::move(m_free.back());
        m_free.pop_back();
        return piece;
    }

    void compress(std::unique_ptr<Piece> piece) {
        std::future<void> compressed = compressAside(*piece);
        m_underWay.push_back({std::move(piece), std::move(compressed)});
    }

    void writeAll() {
        while (!m_underWay.empty()) {
            writeOldest();
        }
    }

    [[nodiscard]] std::uint64_t written() const { return m_written; }

private:
    /// The future is the last to be declared: it waits for its thread when it goes, and the piece is there until then.
    struct Compression {
        std::unique_ptr<Piece> piece;
        std::future<void> compressed;
    };

    void writeOldest() {
        Compression& oldest = m_underWay.front();
        oldest.compressed.get();
        write(oldest.piece->packedBytes());
        m_free.push_back(std::move(oldest.piece));
        m_underWay.pop_front();
    }

    int m_output;
    std::uint64_t m_written = 0;
    std::deque<Compression> m_underWay;
    std::vector<std::unique_ptr<Piece>> m_free;
};

} // namespace

std::uint64_t writeGzip(int input, int output, const std::function<void(std::string_view)>& onBytes) {
    Writer writer(output);
    writer.write(header);
    std::uint32_t sum = 0;
    std::uint64_t size = 0;
    for (;;) {
        std::unique_ptr<Piece> piece = writer.takePiece();
        fill(*piece, input);
        if (piece->plainSize == 0) {
            break;
        }
        onBytes(piece->plainBytes());
        sum = crc32_gzip_refl(sum, piece->plain.data(), piece->plainSize);
        size += piece->plainSize;
        writer.compress(std::move(piece));
    }
    writer.writeAll();
    writer.write(lastBlock);
    writer.write(littleEndian(sum) + littleEndian(static_cast<std::uint32_t>(size)));
    return writer.written();
}

} // namespace driftwell
