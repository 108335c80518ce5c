#include "apps/sandbox/Unpacker.h"

#include "apps/sandbox/GzipReader.h"
#include "apps/sandbox/HttpError.h"

#include <archive.h>
#include <archive_entry.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

namespace driftwell::sandbox {

namespace {

struct ArchiveCloser {
    void operator()(archive* reader) const { archive_read_free(reader); }
};

/// What describes one member, in bytes of the stream. The library keeps all of it.
constexpr std::uint64_t longestHeader = std::uint64_t{2} << 20U;

HttpError badArchive(const std::string& message) {
    return {400, "bad_archive", message};
}

class Unpacking {
public:
    Unpacking(const std::filesystem::path& archiveFile, const std::filesystem::path& folder, const UnpackLimits& limits,
              const StopSignal& stop)
        : m_stop(stop),
          m_gzip(archiveFile, streamLimit(limits), stop),
          m_files(folder, limits, "archive"),
          m_archive(archive_read_new()) {
        archive_read_support_format_tar(m_archive.get());
        check(archive_read_open(m_archive.get(), this, nullptr, &Unpacking::readPiece, nullptr));
    }

    Unpacked run() {
        while (archive_entry* entry = nextMember()) {
            take(entry);
        }
        // The sums at the very end count as well.
        while (!m_gzip.next().empty()) {
        }
        return m_files.finished();
    }

private:
    /// Names, padding and skipped members take room beside the contents.
    static std::uint64_t streamLimit(const UnpackLimits& limits) {
        constexpr std::uint64_t perFile = 4096;
        constexpr std::uint64_t slack = 1024 * 1024;
        return limits.bytes + limits.files * perFile + slack;
    }

    static la_ssize_t readPiece(archive* reader, void* self, const void** piece) {
        auto& unpacking = *static_cast<Unpacking*>(self);
        try {
            const auto bytes = unpacking.m_gzip.next();
            unpacking.chargeHeader(bytes.size());
            *piece = bytes.data();
            return static_cast<la_ssize_t>(bytes.size());
        } catch (const std::exception&) {
            // An exception must not cross the C library; check() throws it on.
            unpacking.m_failure = std::current_exception();
            archive_set_error(reader, EIO, "the upload cannot be read");
            return -1;
        }
    }

    void check(int result) {
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
        if (result == ARCHIVE_OK || result == ARCHIVE_WARN) {
            return;
        }
        const char* reason = archive_error_string(m_archive.get());
        throw badArchive(std::string("The upload is not a readable tar archive: ") +
                         (reason != nullptr ? reason : "unknown reason"));
    }

    /// Null at the end of the archive.
    archive_entry* nextMember() {
        archive_entry* entry = nullptr;
        m_headerLeft = longestHeader;
        const int result = archive_read_next_header(m_archive.get(), &entry);
        m_headerLeft.reset();
        if (result == ARCHIVE_EOF) {
            return nullptr;
        }
        check(result);
        return entry;
    }

    void chargeHeader(std::uint64_t size) {
        if (!m_headerLeft) {
            return;
        }
        if (size > *m_headerLeft) {
            throw badArchive("The archive holds a member whose description is too long");
        }
        *m_headerLeft -= size;
    }

    void take(archive_entry* entry) {
        if (m_stop.requested()) {
            throw HttpError(503, "stopping", "The sandbox is ending");
        }
        const char* name = archive_entry_pathname(entry);
        if (name == nullptr) {
            throw badArchive("The archive holds a member without a name");
        }
        const auto parts = m_files.partsOf(name);
        m_files.countMember();
        const auto type = archive_entry_filetype(entry);
        // A hard link is reported as a file without contents.
        if (archive_entry_hardlink(entry) != nullptr || (type != AE_IFREG && type != AE_IFDIR)) {
            m_files.skip();
        } else if (type == AE_IFDIR) {
            m_files.makeFolder(parts);
        } else {
            writeFile(entry, parts);
        }
        // Not as a part of the next member's description.
        check(archive_read_data_skip(m_archive.get()));
    }

    void writeFile(archive_entry* entry, std::span<const std::string_view> parts) {
        const auto size = static_cast<std::uint64_t>(std::max<la_int64_t>(archive_entry_size(entry), 0));
        const Descriptor file = m_files.makeFile(parts, size);
        const void* data = nullptr;
        size_t length = 0;
        la_int64_t offset = 0;
        for (;;) {
            const int result = archive_read_data_block(m_archive.get(), &data, &length, &offset);
            if (result == ARCHIVE_EOF) {
                break;
            }
            check(result);
            // The pieces of a sparse file say themselves where they belong.
            if (offset < 0 || static_cast<std::uint64_t>(offset) > size ||
                length > size - static_cast<std::uint64_t>(offset)) {
                throw badArchive("The archive holds a file that is larger than it says");
            }
            SiteFiles::writeAll(file, data, length, offset);
        }
        // A sparse file may end in a hole.
        if (SiteFiles::sizeOf(file) < size && ftruncate(file.number(), static_cast<off_t>(size)) != 0) {
            throw std::system_error(errno, std::generic_category(), "unpacking");
        }
    }

    const StopSignal& m_stop;
    GzipReader m_gzip;
    SiteFiles m_files;
    std::unique_ptr<archive, ArchiveCloser> m_archive;
    std::exception_ptr m_failure;
    /// What a member's description may still take; absent while none is read.
    std::optional<std::uint64_t> m_headerLeft;
};

} // namespace

Unpacked unpack(const std::filesystem::path& archive, const std::filesystem::path& folder, const UnpackLimits& limits,
                const StopSignal& stop) {
    return Unpacking(archive, folder, limits, stop).run();
}

} // namespace driftwell::sandbox
