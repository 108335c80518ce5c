#include "apps/sandbox/SiteFiles.h"

#include "apps/sandbox/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace driftwell::sandbox {

namespace {

/// Deeper folders than people make, and few enough to be open at once while they are removed again.
constexpr size_t deepestFolder = 256;
/// The system takes no longer path, its end included (PATH_MAX).
constexpr size_t longestName = 4096;

[[noreturn]] void throwSystem() {
    throw std::system_error(errno, std::generic_category(), "unpacking");
}

} // namespace

SiteFiles::SiteFiles(const std::filesystem::path& folder, const UnpackLimits& limits, std::string source)
    : m_limits(limits), m_source(std::move(source)), m_root(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (!m_root.isOpen()) {
        throw std::system_error(errno, std::generic_category(), folder.string());
    }
}

HttpError SiteFiles::bad(const std::string& whatItHolds) const {
    return {400, "bad_" + m_source, "The " + m_source + " holds " + whatItHolds};
}

std::vector<std::string_view> SiteFiles::partsOf(std::string_view name) const {
    if (name.size() >= longestName) {
        throw bad("a name that cannot be stored");
    }
    std::vector<std::string_view> parts = split(name, '/');
    if (name.empty() || name.front() == '/' || std::find(parts.begin(), parts.end(), "..") != parts.end()) {
        throw HttpError(400, "unsafe_path",
                        "The " + m_source + " holds a name that leads out of the site: " + std::string(name));
    }
    std::erase_if(parts, [](std::string_view part) { return part.empty() || part == "."; });
    if (parts.size() > deepestFolder) {
        throw bad("folders that are nested too deep");
    }
    return parts;
}

void SiteFiles::countMember() {
    if (++m_members > m_limits.files) {
        throw HttpError(413, "too_many_files",
                        "The " + m_source + " holds more than " + counted(m_limits.files, "file", "files"));
    }
}

void SiteFiles::enterFolder(std::span<const std::string_view> parts, Named named) {
    if (m_openFolder.isOpen() && std::equal(parts.begin(), parts.end(), m_openParts.begin(), m_openParts.end())) {
        return;
    }
    m_openParts.clear();
    m_openFolder = openFolder(m_root.number(), ".");
    for (const std::string_view part : parts) {
        const std::string name(part);
        const bool isNew = mkdirat(m_openFolder.number(), name.c_str(), 0755) == 0;
        if (!isNew && errno != EEXIST) {
            refuse(name);
        }
        m_openFolder = openFolder(m_openFolder.number(), name);
        m_openParts.push_back(name);
        const bool isMember = named == Named::AsMember && m_openParts.size() == parts.size();
        if (isNew && !isMember) {
            countMember();
        }
    }
}

Descriptor SiteFiles::openFolder(int parent, const std::string& name) const {
    Descriptor opened(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened.isOpen()) {
        refuse(name);
    }
    return opened;
}

Descriptor SiteFiles::makeFile(std::span<const std::string_view> parts, std::uint64_t size) {
    if (parts.empty()) {
        throw bad("a file without a name");
    }
    enterFolder(parts.first(parts.size() - 1), Named::ByAnother);
    Descriptor file = create(std::string(parts.back()));
    addBytes(size);
    return file;
}

Descriptor SiteFiles::create(const std::string& name) {
    constexpr int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC;
    Descriptor made(openat(m_openFolder.number(), name.c_str(), flags | O_EXCL, 0644));
    if (made.isOpen()) {
        ++m_done.files;
        return made;
    }
    if (errno != EEXIST) {
        refuse(name);
    }
    Descriptor again(openat(m_openFolder.number(), name.c_str(), flags, 0644));
    if (!again.isOpen()) {
        refuse(name);
    }
    const std::uint64_t before = sizeOf(again);
    if (ftruncate(again.number(), 0) != 0) {
        throwSystem();
    }
    m_done.bytes -= before;
    return again;
}

void SiteFiles::addBytes(std::uint64_t size) {
    if (size > m_limits.bytes || m_done.bytes > m_limits.bytes - size) {
        throw HttpError(413, "too_large", "The " + m_source + " unpacks to more than " + byteCount(m_limits.bytes));
    }
    m_done.bytes += size;
}

const Unpacked& SiteFiles::finished() const {
    if (m_done.files == 0) {
        throw HttpError(400, "empty_" + m_source, "The " + m_source + " holds no files");
    }
    return m_done;
}

void SiteFiles::writeAll(const Descriptor& file, const void* data, std::size_t size, off_t offset) {
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = pwrite(file.number(), bytes, size, offset);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            throwSystem();
        }
        bytes += written;
        size -= static_cast<size_t>(written);
        offset += written;
    }
}

std::uint64_t SiteFiles::sizeOf(const Descriptor& file) {
    struct stat state {};
    // An open file can be asked, whatever else fails.
    return fstat(file.number(), &state) == 0 ? static_cast<std::uint64_t>(state.st_size) : 0;
}

void SiteFiles::refuse(const std::string& path) const {
    switch (errno) {
    case EEXIST:
    case ENOTDIR:
    case EISDIR:
    case ELOOP:
        throw bad("a file and a folder of one name: " + path);
    case ENAMETOOLONG:
    case EINVAL:
    case EILSEQ:
        throw bad("a name that cannot be stored");
    default:
        throwSystem();
    }
}

} // namespace driftwell::sandbox
