#include "apps/sandbox/DataFolder.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace driftwell::sandbox {

namespace {

std::runtime_error cannotUse(const std::filesystem::path& folder, const std::string& reason) {
    return std::runtime_error("the data folder " + folder.string() + " cannot be used: " + reason);
}

Descriptor openLock(const std::filesystem::path& folder, const char* name) {
    Descriptor lock(open((folder / name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock.isOpen()) {
        throw cannotUse(folder, std::strerror(errno));
    }
    return lock;
}

/// A git that takes a push ends soon when nobody listens to it any more, and by then the push has been taken or not.
void waitForGits(const std::filesystem::path& folder, const Descriptor& lock) {
    constexpr std::chrono::seconds patience{60};
    constexpr std::chrono::milliseconds pause{5};
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (flock(lock.number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) {
            throw cannotUse(folder, std::strerror(errno));
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            throw cannotUse(folder, "git still works there for a sandbox that has ended");
        }
        std::this_thread::sleep_for(pause);
    }
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
    m_lock = openLock(m_root, "lock");
    if (flock(m_lock.number(), LOCK_EX | LOCK_NB) != 0) {
        throw cannotUse(m_root, errno == EWOULDBLOCK ? "another sandbox is using it" : std::strerror(errno));
    }
    m_gitLock = openLock(m_root, "git.lock");
    waitForGits(m_root, m_gitLock);
    try {
        for (const char* part : {"uploads", "versions", "repositories", "hooks"}) {
            std::filesystem::create_directories(m_root / part);
        }
    } catch (const std::filesystem::filesystem_error& error) {
        throw cannotUse(m_root, error.code().message());
    }
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
