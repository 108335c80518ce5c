#include "platform/TrustedCertificates.h"

#include "platform/PlatformError.h"
#include "support/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace driftwell {

namespace {

constexpr const char* folderVariable = "SSL_CERT_DIR";

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

/// The errno of the failure to read it as what it has to be, or 0.
int failureToRead(const std::string& path, bool isFolder) {
    const UniqueFd opened(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | (isFolder ? O_DIRECTORY : 0)));
    struct stat attributes {};
    if (!opened || ::fstat(opened.get(), &attributes) != 0) {
        return errno;
    }
    return !isFolder && S_ISDIR(attributes.st_mode) ? EISDIR : 0;
}

[[noreturn]] void refuse(const char* name, const std::string& path, int error) {
    throw PlatformError::unreachable(
        QStringLiteral("The certificates that %1 names cannot be read: %2: %3. Nothing was sent.")
            .arg(QLatin1StringView(name), QString::fromStdString(path), QString::fromLocal8Bit(std::strerror(error))))
        .with(PlatformErrorReason::Certificate);
}

} // namespace

TrustedCertificates TrustedCertificates::ofEnvironment() {
    constexpr const char* ownVariable = "DW_CA_FILE";
    constexpr const char* fileVariable = "SSL_CERT_FILE";
    if (const std::string own = variable(ownVariable); !own.empty()) {
        return {own, {}, ownVariable};
    }
    return {variable(fileVariable), variable(folderVariable), fileVariable};
}

std::vector<std::string> TrustedCertificates::folders() const {
    std::vector<std::string> all;
    for (std::size_t begin = 0; begin < folder.size();) {
        const std::size_t end = std::min(folder.find(':', begin), folder.size());
        if (end > begin) {
            all.push_back(folder.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return all;
}

std::optional<std::string> TrustedCertificates::firstReadableFolder() const {
    const std::vector<std::string> all = folders();
    const auto found =
        std::find_if(all.begin(), all.end(), [](const std::string& path) { return failureToRead(path, true) == 0; });
    return found == all.end() ? std::nullopt : std::optional(*found);
}

void TrustedCertificates::requireReadable() const {
    if (!file.empty()) {
        if (const int error = failureToRead(file, false); error != 0) {
            refuse(fileVariable, file, error);
        }
        return;
    }
    const std::vector<std::string> all = folders();
    if (!all.empty() && !firstReadableFolder()) {
        refuse(folderVariable, all.front(), failureToRead(all.front(), true));
    }
}

} // namespace driftwell
