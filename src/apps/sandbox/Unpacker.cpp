#include "apps/sandbox/Unpacker.h"

#include "apps/sandbox/GzipReader.h"
#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/Text.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
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
#include <utility>
#include <vector>

namespace driftwell::sandbox {

namespace {

struct ArchiveCloser {
    void operator()(archive* reader) const { archive_read_free(reader); }
};

/// A descriptor that closes itself.
class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0) {
            close(m_number);
        }
    }
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    [[nodiscard]] int number() const { return m_number; }

private:
    int m_number;
};

/// Deeper folders than people make, and few enough to be open at once while they are removed again.
constexpr size_t deepestFolder = 256;
/// The system takes no longer path, its end included (PATH_MAX).
constexpr size_t longestName = 4096;
/// What describes one member, in bytes of the stream. The library keeps all of it.
constexpr std::uint64_t longestHeader = std::uint64_t{2} << 20U;

HttpError badArchive(const std::string& message) {
    return {400, "bad_archive", message};
}

HttpError unsafeName(const std::string& name) {
    return {400, "unsafe_path", "The archive holds a name that leads out of the site: " + name};
}

/// The parts of the name without "." and doubled slashes; none for the root folder itself. They point into `name`.
std::vector<std::string_view> safeParts(std::string_view name) {
    if (name.size() >= longestName) {
        throw badArchive("The archive holds a name that cannot be stored");
    }
    if (name.empty() || name.front() == '/') {
        throw unsafeName(std::string(name));
    }
    std::vector<std::string_view> parts = split(name, '/');
    if (std::find(parts.begin(), parts.end(), "..") != parts.end()) {
        throw unsafeName(std::string(name));
    }
    std::erase_if(parts, [](std::string_view part) { return part.empty() || part == "."; });
    if (parts.size() > deepestFolder) {
        throw badArchive("The archive holds folders that are nested too deep");
    }
    return parts;
}

void writeAll(int file, const void* data, size_t size, off_t offset) {
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = pwrite(file, bytes, size, offset);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            throw std::system_error(errno, std::generic_category(), "unpacking");
        }
        bytes += written;
        size -= static_cast<size_t>(written);
        offset += written;
    }
}

class Unpacking {
public:
    Unpacking(const std::filesystem::path& archiveFile, const std::filesystem::path& folder, const UnpackLimits& limits,
              const StopSignal& stop)
        : m_limits(limits),
          m_stop(stop),
          m_gzip(archiveFile, streamLimit(limits), stop),
          m_root(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          m_archive(archive_read_new()) {
        if (m_root.number() < 0) {
            throw std::system_error(errno, std::generic_category(), folder.string());
        }
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
        if (m_done.files == 0) {
            throw HttpError(400, "empty_archive", "The archive holds no files");
        }
        return m_done;
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
        const auto parts = safeParts(name);
        countMember();
        const auto type = archive_entry_filetype(entry);
        // A hard link is reported as a file without contents.
        if (archive_entry_hardlink(entry) != nullptr || (type != AE_IFREG && type != AE_IFDIR)) {
            ++m_done.skipped;
        } else if (type == AE_IFDIR) {
            enterFolder(parts, Named::AsMember);
        } else {
            writeFile(entry, parts);
        }
        // Not as a part of the next member's description.
        check(archive_read_data_skip(m_archive.get()));
    }

    /// Members count, and so does a folder that only the names of others imply: each takes an entry on the disk, or
    /// time.
    void countMember() {
        if (++m_members > m_limits.files) {
            throw HttpError(413, "too_many_files",
                            "The archive holds more than " + counted(m_limits.files, "file", "files"));
        }
    }

    enum class Named { AsMember, ByAnother };

    /// Opens the folder and makes what is missing of it. Files that follow one another mostly share their folder.
    void enterFolder(std::span<const std::string_view> parts, Named named) {
        const bool isOpen = m_openFolder.number() >= 0;
        if (isOpen && std::equal(parts.begin(), parts.end(), m_openParts.begin(), m_openParts.end())) {
            return;
        }
        m_openParts.clear();
        m_openFolder = Descriptor(openAt(m_root.number(), "."));
        for (const std::string_view part : parts) {
            const std::string name(part);
            const bool isNew = mkdirat(m_openFolder.number(), name.c_str(), 0755) == 0;
            if (!isNew && errno != EEXIST) {
                refuse(name);
            }
            m_openFolder = Descriptor(openAt(m_openFolder.number(), name));
            m_openParts.push_back(name);
            const bool isMember = named == Named::AsMember && m_openParts.size() == parts.size();
            if (isNew && !isMember) {
                countMember();
            }
        }
    }

    static int openAt(int folder, const std::string& name) {
        const int opened = openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (opened < 0) {
            refuse(name);
        }
        return opened;
    }

    void writeFile(archive_entry* entry, std::span<const std::string_view> parts) {
        if (parts.empty()) {
            throw badArchive("The archive holds a file without a name");
        }
        enterFolder(parts.first(parts.size() - 1), Named::ByAnother);
        const Descriptor file(create(std::string(parts.back())));
        const auto size = static_cast<std::uint64_t>(std::max<la_int64_t>(archive_entry_size(entry), 0));
        addBytes(size);
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
            writeAll(file.number(), data, length, offset);
        }
        // A sparse file may end in a hole.
        if (sizeOf(file.number()) < size && ftruncate(file.number(), static_cast<off_t>(size)) != 0) {
            throw std::system_error(errno, std::generic_category(), "unpacking");
        }
    }

    /// A file in the folder that was entered last. Of two members with one name the later counts, as tar itself has it.
    int create(const std::string& name) {
        constexpr int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC;
        int file = openat(m_openFolder.number(), name.c_str(), flags | O_EXCL, 0644);
        if (file >= 0) {
            ++m_done.files;
            return file;
        }
        if (errno == EEXIST) {
            file = openat(m_openFolder.number(), name.c_str(), flags, 0644);
        }
        if (file < 0) {
            refuse(name);
        }
        const std::uint64_t before = sizeOf(file);
        if (ftruncate(file, 0) != 0) {
            const int reason = errno;
            close(file);
            throw std::system_error(reason, std::generic_category(), "unpacking");
        }
        m_done.bytes -= before;
        return file;
    }

    static std::uint64_t sizeOf(int file) {
        struct stat state {};
        // An open file can be asked, whatever else fails.
        return fstat(file, &state) == 0 ? static_cast<std::uint64_t>(state.st_size) : 0;
    }

    void addBytes(std::uint64_t size) {
        if (size > m_limits.bytes || m_done.bytes > m_limits.bytes - size) {
            throw HttpError(413, "too_large", "The archive unpacks to more than " + byteCount(m_limits.bytes));
        }
        m_done.bytes += size;
    }

    /// The archive's fault, or the disk's.
    [[noreturn]] static void refuse(const std::string& path) {
        switch (errno) {
        case EEXIST:
        case ENOTDIR:
        case EISDIR:
        case ELOOP:
            throw badArchive("The archive holds a file and a folder of one name: " + path);
        case ENAMETOOLONG:
        case EINVAL:
        case EILSEQ:
            throw badArchive("The archive holds a name that cannot be stored");
        default:
            throw std::system_error(errno, std::generic_category(), "unpacking");
        }
    }

    const UnpackLimits& m_limits;
    const StopSignal& m_stop;
    GzipReader m_gzip;
    Descriptor m_root;
    std::unique_ptr<archive, ArchiveCloser> m_archive;
    std::exception_ptr m_failure;
    /// What a member's description may still take; absent while none is read.
    std::optional<std::uint64_t> m_headerLeft;
    /// The folder that was entered last, and its name.
    Descriptor m_openFolder{-1};
    std::vector<std::string> m_openParts;
    std::uint64_t m_members = 0;
    Unpacked m_done;
};

} // namespace

Unpacked unpack(const std::filesystem::path& archive, const std::filesystem::path& folder, const UnpackLimits& limits,
                const StopSignal& stop) {
    return Unpacking(archive, folder, limits, stop).run();
}

} // namespace driftwell::sandbox
