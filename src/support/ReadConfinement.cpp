#include "support/ReadConfinement.h"

#include "support/SystemError.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace driftwell {

std::optional<ReadConfinement> ReadConfinement::make() {
    landlock_ruleset_attr attributes{};
    attributes.handled_access_fs = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    const UniqueFd rules(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
    if (!rules && (errno == ENOSYS || errno == EOPNOTSUPP || errno == EPERM)) {
        return std::nullopt;
    }
    checked(rules.get(), "landlock_create_ruleset");
    // A child's standard streams are put in place before the rules are used.
    return ReadConfinement(
        UniqueFd(checked(::fcntl(rules.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1), "could not duplicate a descriptor")));
}

void ReadConfinement::allow(int opened) {
    struct stat attributes {};
    checked(::fstat(opened, &attributes), "fstat");
    landlock_path_beneath_attr rule{};
    rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE;
    if (S_ISDIR(attributes.st_mode)) {
        rule.allowed_access |= LANDLOCK_ACCESS_FS_READ_DIR;
    }
    rule.parent_fd = opened;
    checked(::syscall(SYS_landlock_add_rule, m_rules.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0),
            "landlock_add_rule");
}

void ReadConfinement::allow(const std::filesystem::path& path) {
    const UniqueFd opened(::open(path.c_str(), O_PATH | O_CLOEXEC));
    if (opened) {
        allow(opened.get());
    } else if (errno != ENOENT && errno != ENOTDIR) {
        throwSystemError(path.string());
    }
}

bool ReadConfinement::enter(int descriptor) {
    // Without it only an administrator may confine a process.
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::syscall(SYS_landlock_restrict_self, descriptor, 0) == 0;
}

} // namespace driftwell
