#include "apps/sandbox/DataFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace driftwell::sandbox {

namespace {

std::runtime_error cannotUse(const std::filesystem::path& folder, const std::string& reason) {
    return std::runtime_error("the data folder " + folder.string() + " cannot be used: " + reason);
}

void removeAllBut(const std::set<std::string>& kept, const std::filesystem::path& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (!kept.contains(entry.path().filename().string())) {
            std::filesystem::remove_all(entry.path());
        }
    }
}

} // namespace

DataFolder::DataFolder(std::filesystem::path root) : m_root(std::move(root)) {
    try {
        std::filesystem::create_directories(m_root);
        m_root = std::filesystem::canonical(m_root);
    } catch (const std::filesystem::filesystem_error& error) {
        throw cannotUse(m_root, error.code().message());
    }
    m_lock = open((m_root / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (m_lock < 0) {
        throw cannotUse(m_root, std::strerror(errno));
    }
    if (flock(m_lock, LOCK_EX | LOCK_NB) != 0) {
        const int reason = errno;
        close(m_lock);
        throw cannotUse(m_root, reason == EWOULDBLOCK ? "another sandbox is using it" : std::strerror(reason));
    }
    try {
        std::filesystem::create_directories(m_root / "uploads");
        std::filesystem::create_directories(m_root / "versions");
        std::filesystem::create_directories(m_root / "repositories");
        std::filesystem::create_directories(m_root / "hooks");
    } catch (const std::filesystem::filesystem_error& error) {
        close(m_lock);
        throw cannotUse(m_root, error.code().message());
    }
}

DataFolder::~DataFolder() {
    close(m_lock);
}

std::filesystem::path DataFolder::standardLocation() {
    // XDG base directories: a relative path in the variable counts as none.
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && std::filesystem::path(data).is_absolute()) {
        return std::filesystem::path(data) / "driftwell-sandbox";
    }
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') {
        throw std::runtime_error("HOME is not set; name a data folder with --data");
    }
    return std::filesystem::path(home) / ".local/share/driftwell-sandbox";
}

void DataFolder::removeLeftovers(const std::set<std::string>& versions,
                                 const std::set<std::string>& repositories) const {
    removeAllBut({}, m_root / "uploads");
    removeAllBut(versions, m_root / "versions");
    removeAllBut(repositories, m_root / "repositories");
}

} // namespace driftwell::sandbox
