#include "apps/sandbox/GzipReader.h"

#include "apps/sandbox/HttpError.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace driftwell::sandbox {

namespace {

constexpr size_t pieceSize = 256 * 1024;
// zlib: the largest window, and 16 more for a gzip wrapper instead of its own.
constexpr int gzipWindow = 15 + 16;

HttpError damaged() {
    return {400, "bad_archive", "The upload is not a whole gzip archive"};
}

} // namespace

GzipReader::GzipReader(const std::filesystem::path& file, std::uint64_t limit, const StopSignal& stop)
    : m_left(limit), m_stop(stop), m_packed(pieceSize), m_unpacked(pieceSize) {
    m_file = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_file < 0) {
        throw std::system_error(errno, std::generic_category(), file.string());
    }
    if (inflateInit2(&m_stream, gzipWindow) != Z_OK) {
        close(m_file);
        throw std::runtime_error("zlib cannot start");
    }
}

GzipReader::~GzipReader() {
    inflateEnd(&m_stream);
    close(m_file);
}

bool GzipReader::refill() {
    ssize_t got = 0;
    do {
        got = ::read(m_file, m_packed.data(), m_packed.size());
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        throw std::system_error(errno, std::generic_category(), "reading the upload");
    }
    m_stream.next_in = m_packed.data();
    m_stream.avail_in = static_cast<uInt>(got);
    return got > 0;
}

void GzipReader::checkPadding() {
    do {
        const std::span<const Bytef> rest(m_stream.next_in, m_stream.avail_in);
        if (std::any_of(rest.begin(), rest.end(), [](Bytef byte) { return byte != 0; })) {
            throw damaged();
        }
    } while (refill());
}

std::span<const unsigned char> GzipReader::next() {
    if (m_stop.requested()) {
        throw HttpError(503, "stopping", "The sandbox is ending");
    }
    m_stream.next_out = m_unpacked.data();
    m_stream.avail_out = static_cast<uInt>(m_unpacked.size());
    while (!m_finished && m_stream.avail_out > 0) {
        if (m_stream.avail_in == 0 && !refill()) {
            if (m_memberOpen) {
                throw damaged();
            }
            m_finished = true;
            break;
        }
        if (!m_memberOpen && *m_stream.next_in == 0) {
            checkPadding();
            m_finished = true;
            break;
        }
        if (!m_memberOpen) {
            // Several gzip members in a row are one file.
            inflateReset(&m_stream);
            m_memberOpen = true;
        }
        const int result = inflate(&m_stream, Z_NO_FLUSH);
        if (result == Z_STREAM_END) {
            m_memberOpen = false;
        } else if (result != Z_OK && result != Z_BUF_ERROR) {
            throw damaged();
        }
    }
    const size_t size = m_unpacked.size() - m_stream.avail_out;
    if (size > m_left) {
        throw HttpError(413, "too_large", "The archive unpacks to more than the sandbox takes");
    }
    m_left -= size;
    return std::span(m_unpacked).first(size);
}

} // namespace driftwell::sandbox
