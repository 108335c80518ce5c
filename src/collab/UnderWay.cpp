#include "collab/UnderWay.h"

#include "support/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace driftwell {

namespace {

std::filesystem::path note(const std::filesystem::path& folder, UnderWay::Work work) {
    constexpr std::array<const char*, 3> names{"driftwell-merging", "driftwell-taking-ours", "driftwell-taking-theirs"};
    return folder / ".git" / names.at(static_cast<std::size_t>(work));
}

} // namespace

std::optional<QString> UnderWay::begin(const std::filesystem::path& folder, Work work) {
    const std::filesystem::path path = note(folder, work);
    const UniqueFd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (file) {
        return std::nullopt;
    }
    const std::string words = std::generic_category().message(errno);
    return QStringLiteral("%1: %2").arg(QString::fromStdString(path.string()), QString::fromStdString(words));
}

void UnderWay::end(const std::filesystem::path& folder, Work work) {
    ::unlink(note(folder, work).c_str());
}

bool UnderWay::isNoted(const std::filesystem::path& folder, Work work) {
    struct stat status {};
    return ::lstat(note(folder, work).c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace driftwell
