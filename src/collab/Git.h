#pragma once

#include "platform/Models.h"
#include "platform/PlatformConfig.h"
#include "support/Task.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace driftwell {

class ConfigStore;
class DesktopServices;

/// The system's git, the only one that is used: the search path is not consulted.
///
/// A linked folder has one remote, "driftwell", and one branch, "main". Neither the token nor the author is ever
/// written into a folder: each run that needs them carries them.
namespace Git {

inline constexpr const char* executable = "/usr/bin/git";
inline constexpr const char* remoteName = "driftwell";
inline constexpr const char* branch = "main";

/// How a run ended. The names stdout and stderr belong to the C library (stdio.h).
struct RunResult {
    /// The exit status, or the number of the signal that ended git; 127 when git could not be started.
    std::int32_t code = 0;
    /// Each output as text; empty when the bytes are not UTF-8.
    QString standardOutput;
    /// Also why git could not be started, or why it was ended.
    QString standardError;
    /// The standard output as it came: the names of files are bytes.
    std::string outputBytes = {};
    /// Somebody has ended git by a signal.
    bool wasKilled = false;

    /// What a person is told of a run that failed: git's own words, neither trimmed nor shortened.
    [[nodiscard]] const QString& failureText() const {
        return standardError.isEmpty() ? standardOutput : standardError;
    }
};

/// A platform, and the token that it is spoken to with.
struct Access {
    PlatformConfig config;
    /// Absent when nobody is signed in: git then runs without, and the platform refuses.
    std::optional<QString> token;

    [[nodiscard]] static Access of(const PlatformConfig& config, const ConfigStore& store);
};

/// Whether git is to find a repository.
enum class Repository {
    OfFolder, ///< that of the working directory
    None,
};

/// What git is run with beside its arguments.
struct Surroundings {
    /// The working directory; this process's own where there is none.
    std::optional<std::filesystem::path> folder = {};
    std::optional<Access> access = {};
    /// Who is the author of commits.
    std::optional<Identity> identity = {};
    Repository repository = Repository::OfFolder;
    /// The file that stands in for the repository's own index; absolute.
    std::optional<std::filesystem::path> index = {};
    /// The bytes of either output at which git is ended.
    std::size_t outputLimit = std::size_t{64} * 1024 * 1024;
    std::filesystem::path program = executable;
};

/// Runs git to its end. Every failure is a result; only a stop throws, Cancelled, once git and all that it started have
/// ended. There is no time limit. Nothing keeps two runs in one folder apart, and a folder's own settings hold: see
/// FolderGuard.h. Called on the main thread.
///
/// The environment is this process's own, apart from every variable of git's (GIT_…), with these changes:
///
/// - nothing is asked, neither on a terminal nor by a program, and messages are in English, since one of them is
/// parsed;
/// - the token goes by http.<origin>.extraHeader in the environment (git-config(1)), so that git sends it to this
/// origin
///   alone, no list of processes shows it, and no file has it;
/// - no redirect is followed, nothing but http and https is spoken, and certificates are looked at;
/// - a platform that speaks plain http is reached without a proxy, which would read the token;
/// - hooks and file system monitors are off, and repositories within the folder count as unchanged, except to "add";
/// - a repository is looked for in the folder itself, not above it.
///
/// The person's own settings hold where these leave room.
[[nodiscard]] Task<RunResult> run(std::vector<std::string> arguments, Surroundings surroundings, std::stop_token stop);

/// What whoever looks for a fault is told of one run. The token, and what stands before the host of an address to sign
/// in with, is in none of it.
struct RunRecord {
    QStringList arguments;
    /// Empty where it was this process's own.
    std::filesystem::path folder;
    std::chrono::milliseconds time{};
    /// Absent where a stop has ended it.
    std::optional<std::int32_t> code = {};
    /// The code is a signal's number.
    bool wasKilled = false;
    /// The first line of why it has failed; empty where it has not.
    QString failure = {};
};

/// Tells of each run from now on, when it has ended, on the thread that waited for it. One for the process, since git
/// is run at many places; none at first.
void setObserver(std::function<void(const RunRecord&)> observer);

/// The address of a site's repository on its platform. Without credentials, slash or ".git" at its end.
[[nodiscard]] QString remoteUrl(const PlatformConfig& config, const QString& site);

/// Whether git can be used: the program is there and says its version. Any failure to find out is a no. Blocks the
/// calling thread for the time of a short process, 5 seconds at most; may be called from any thread.
[[nodiscard]] bool toolsInstalled(const std::filesystem::path& program = executable);

/// Has the desktop offer to install git. Returns at once, and nothing tells what became of it: ask toolsInstalled().
void promptInstall(DesktopServices& desktop);

} // namespace Git

} // namespace driftwell
