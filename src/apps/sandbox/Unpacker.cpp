#include "apps/sandbox/Unpacker.h"

#include "apps/sandbox/GzipReader.h"
#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/Text.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <memory>
#include <string>
#include <system_error>
#include <unordered_set>

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
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int number() const { return m_number; }

private:
    int m_number;
};

HttpError badArchive(const std::string& message) {
    return {400, "bad_archive", message};
}

HttpError unsafeName(const std::string& name) {
    return {400, "unsafe_path", "The archive holds a name that leads out of the site: " + name};
}

/// The name without "." parts and doubled slashes; empty for the root folder itself.
std::string safeName(const std::string& name) {
    if (name.empty() || name.front() == '/') {
        throw unsafeName(name);
    }
    std::string safe;
    for (const std::string_view part : split(name, '/')) {
        if (part == "..") {
            throw unsafeName(name);
        }
        if (part.empty() || part == ".") {
            continue;
        }
        safe += safe.empty() ? "" : "/";
        safe += part;
    }
    return safe;
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
          m_folder(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          m_archive(archive_read_new()) {
        if (m_folder.number() < 0) {
            throw std::system_error(errno, std::generic_category(), folder.string());
        }
        archive_read_support_format_tar(m_archive.get());
        check(archive_read_open(m_archive.get(), this, nullptr, &Unpacking::readPiece, nullptr));
    }

    Unpacked run() {
        archive_entry* entry = nullptr;
        for (;;) {
            const int result = archive_read_next_header(m_archive.get(), &entry);
            if (result == ARCHIVE_EOF) {
                break;
            }
            check(result);
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

    void take(archive_entry* entry) {
        if (m_stop.requested()) {
            throw HttpError(503, "stopping", "The sandbox is ending");
        }
        const char* name = archive_entry_pathname(entry);
        if (name == nullptr) {
            throw badArchive("The archive holds a member without a name");
        }
        const std::string path = safeName(name);
        const auto type = archive_entry_filetype(entry);
        // A hard link is reported as a file without contents.
        if (archive_entry_hardlink(entry) != nullptr || (type != AE_IFREG && type != AE_IFDIR)) {
            ++m_done.skipped;
        } else if (type == AE_IFDIR) {
            makeFolder(path);
        } else {
            writeFile(entry, path);
        }
    }

    void makeFolder(const std::string& path) {
        if (path.empty() || m_folders.contains(path)) {
            return;
        }
        const size_t slash = path.rfind('/');
        makeFolder(slash == std::string::npos ? std::string() : path.substr(0, slash));
        if (mkdirat(m_folder.number(), path.c_str(), 0755) != 0) {
            refuse(path);
        }
        // Folders count like files: either takes an entry on the disk.
        if (m_folders.insert(path).second) {
            countEntry();
        }
    }

    void countEntry() {
        if (++m_entries > m_limits.files) {
            throw HttpError(413, "too_many_files",
                            "The archive holds more than " + counted(m_limits.files, "file", "files"));
        }
    }

    void writeFile(archive_entry* entry, const std::string& path) {
        if (path.empty()) {
            throw badArchive("The archive holds a file without a name");
        }
        const size_t slash = path.rfind('/');
        if (slash != std::string::npos) {
            makeFolder(path.substr(0, slash));
        }
        const Descriptor file(create(path));
        const la_int64_t size = archive_entry_size(entry);
        addBytes(size > 0 ? static_cast<std::uint64_t>(size) : 0);

        const void* data = nullptr;
        size_t length = 0;
        la_int64_t offset = 0;
        for (;;) {
            const int result = archive_read_data_block(m_archive.get(), &data, &length, &offset);
            if (result == ARCHIVE_EOF) {
                break;
            }
            check(result);
            writeAll(file.number(), data, length, offset);
        }
        // A sparse file may end in a hole.
        struct stat state {};
        if (fstat(file.number(), &state) == 0 && state.st_size < size && ftruncate(file.number(), size) != 0) {
            throw std::system_error(errno, std::generic_category(), "unpacking");
        }
    }

    /// Of two members with one name the later counts, as tar itself has it.
    int create(const std::string& path) {
        constexpr int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC;
        int file = openat(m_folder.number(), path.c_str(), flags | O_EXCL, 0644);
        if (file >= 0) {
            ++m_done.files;
            countEntry();
            return file;
        }
        if (errno == EEXIST) {
            file = openat(m_folder.number(), path.c_str(), flags, 0644);
        }
        if (file < 0) {
            refuse(path);
        }
        struct stat state {};
        if (fstat(file, &state) != 0 || ftruncate(file, 0) != 0) {
            const int reason = errno;
            close(file);
            throw std::system_error(reason, std::generic_category(), "unpacking");
        }
        m_done.bytes -= static_cast<std::uint64_t>(state.st_size);
        return file;
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
    Descriptor m_folder;
    std::unique_ptr<archive, ArchiveCloser> m_archive;
    std::exception_ptr m_failure;
    std::unordered_set<std::string> m_folders;
    std::uint64_t m_entries = 0;
    Unpacked m_done;
};

} // namespace

Unpacked unpack(const std::filesystem::path& archive, const std::filesystem::path& folder, const UnpackLimits& limits,
                const StopSignal& stop) {
    return Unpacking(archive, folder, limits, stop).run();
}

} // namespace driftwell::sandbox
