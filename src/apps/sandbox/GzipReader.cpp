#include "apps/sandbox/GzipReader.h"

#include "apps/sandbox/HttpError.h"

#include <fcntl.h>
#include <isa-l/igzip_lib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace driftwell::sandbox {

namespace {

constexpr size_t pieceSize = 256 * 1024;

HttpError damaged() {
    return {400, "bad_archive", "The upload is not a whole gzip archive"};
}

} // namespace

GzipReader::GzipReader(const std::filesystem::path& file, std::uint64_t limit, const StopSignal& stop)
    : m_left(limit),
      m_stop(stop),
      m_packed(pieceSize),
      m_unpacked(pieceSize),
      m_stream(std::make_unique<inflate_state>()) {
    m_file = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_file < 0) {
        throw std::system_error(errno, std::generic_category(), file.string());
    }
    isal_inflate_init(m_stream.get());
    // With its header read and its sums checked.
    m_stream->crc_flag = ISAL_GZIP;
}

GzipReader::~GzipReader() {
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
    m_stream->next_in = m_packed.data();
    m_stream->avail_in = static_cast<std::uint32_t>(got);
    return got > 0;
}

bool GzipReader::hasInput() const {
    return m_stream->avail_in > 0;
}

void GzipReader::checkPadding() {
    do {
        const std::span<const unsigned char> rest(m_stream->next_in, m_stream->avail_in);
        if (std::any_of(rest.begin(), rest.end(), [](unsigned char byte) { return byte != 0; })) {
            throw damaged();
        }
    } while (refill());
}

bool GzipReader::beginMember() {
    if (!hasInput() && !refill()) {
        return false;
    }
    if (m_memberSeen && *m_stream->next_in == 0) {
        checkPadding();
        return false;
    }
    if (m_memberSeen) {
        isal_inflate_reset(m_stream.get());
    }
    m_memberSeen = true;
    m_memberOpen = true;
    return true;
}

void GzipReader::continueMember() {
    // It may hold back a few bytes of what it was given, so it is asked before more is read.
    if (isal_inflate(m_stream.get()) < 0) {
        throw damaged();
    }
    if (m_stream->block_state == ISAL_BLOCK_FINISH) {
        m_memberOpen = false;
    } else if (m_stream->avail_out > 0 && (hasInput() || !refill())) {
        throw damaged();
    }
}

std::span<const unsigned char> GzipReader::next() {
    if (m_stop.requested()) {
        throw HttpError(503, "stopping", "The sandbox is ending");
    }
    m_stream->next_out = m_unpacked.data();
    m_stream->avail_out = static_cast<std::uint32_t>(m_unpacked.size());
    while (!m_finished && m_stream->avail_out > 0) {
        if (m_memberOpen || beginMember()) {
            continueMember();
        } else {
            m_finished = true;
        }
    }
    if (!m_memberSeen) {
        throw damaged();
    }
    const size_t size = m_unpacked.size() - m_stream->avail_out;
    if (size > m_left) {
        throw HttpError(413, "too_large", "The archive unpacks to more than the sandbox takes");
    }
    m_left -= size;
    return std::span(m_unpacked).first(size);
}

} // namespace driftwell::sandbox
