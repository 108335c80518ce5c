#include "support/HomeFolder.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace driftwell {

namespace {

// Debian's name for the home of accounts that have none.
constexpr const char* noHome = "/nonexistent";

using LookUp = std::function<int(passwd* entry, char* buffer, std::size_t size, passwd** found)>;

std::optional<std::filesystem::path> homeInPasswordDatabase(const LookUp& lookUp) {
    std::vector<char> buffer(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (lookUp(&entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    if (found == nullptr || found->pw_dir == nullptr || *found->pw_dir != '/') {
        return std::nullopt;
    }
    return found->pw_dir;
}

std::optional<std::filesystem::path> homeOf(const std::string& account) {
    return homeInPasswordDatabase([&account](passwd* entry, char* buffer, std::size_t size, passwd** found) {
        return ::getpwnam_r(account.c_str(), entry, buffer, size, found);
    });
}

} // namespace

std::filesystem::path homeFolder() {
    if (const char* variable = std::getenv("HOME"); variable != nullptr && *variable == '/') {
        return variable;
    }
    const auto own = homeInPasswordDatabase([](passwd* entry, char* buffer, std::size_t size, passwd** found) {
        return ::getpwuid_r(::getuid(), entry, buffer, size, found);
    });
    return own.value_or(noHome);
}

std::filesystem::path expandTilde(std::string_view path) {
    if (!path.starts_with('~')) {
        return path;
    }
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string account(path.substr(1, end - 1));
    const std::optional<std::filesystem::path> home = account.empty() ? homeFolder() : homeOf(account);
    if (!home) {
        return path;
    }
    const std::string_view rest = path.substr(std::min(path.find_first_not_of('/', end), path.size()));
    return rest.empty() ? *home : *home / rest;
}

std::string abbreviateHome(std::string path, std::string home) {
    while (home.size() > 1 && home.ends_with('/')) {
        home.pop_back();
    }
    const bool isWithin = !home.empty() && home != "/" && (path == home || path.starts_with(home + "/"));
    return isWithin ? path.replace(0, home.size(), "~") : path;
}

} // namespace driftwell
