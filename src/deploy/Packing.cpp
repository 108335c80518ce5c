#include "deploy/Packing.h"

#include "archive/MemberRecord.h"
#include "deploy/ArchiveCheck.h"
#include "deploy/PackingFailure.h"
#include "deploy/StagedCopy.h"
#include "deploy/ToolRun.h"
#include "platform/PlatformError.h"
#include "support/AtomicFile.h"
#include "support/Cancellation.h"
#include "support/OwnThread.h"
#include "support/ReadConfinement.h"
#include "support/SystemError.h"
#include "support/WorkerPool.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace driftwell {

namespace {

/// GNU tar, "Environment" and "Controlling Pattern-Matching" in its manual.
constexpr std::array<std::string_view, 11> tarOptions{
    // Lines of the list are names, also those that begin with a dash.
    "--verbatim-files-from",
    // A directory in the list stands for itself alone.
    "--no-recursion",
    // Pieces of a name that holds a line feed may lead out of the folder.
    "--anchored",
    "--wildcards",
    "--wildcards-match-slash",
    "--exclude=/*",
    "--exclude=../*",
    // A second name of the same file is a file of its own.
    "--hard-dereference",
    "--owner=0",
    "--group=0",
    "--numeric-owner",
};

std::string joined(const auto& texts, char separator) {
    std::string result;
    for (const auto& text : texts) {
        if (!result.empty()) {
            result += separator;
        }
        result += text;
    }
    return result;
}

// Where the system's programs and libraries are, and what the loader of programs reads besides.
constexpr std::array readableBySystem{
    "/usr/bin", "/usr/lib", "/usr/lib32",       "/usr/lib64",         "/bin",      "/lib",
    "/lib32",   "/lib64",   "/etc/ld.so.cache", "/etc/ld.so.preload", "/dev/null",
};

/// A folder to pack and how.
struct Packing {
    std::filesystem::path folder;
    FolderScan files;
    std::filesystem::path workingFolder;
    std::filesystem::path helpers;
    std::stop_token stop;
    UniqueFd root = {};
    ArchivedTimes times = ArchivedTimes::OfTheFiles;
    std::shared_ptr<const ReadConfinement> confinement = {};

    [[nodiscard]] std::filesystem::path list() const { return workingFolder / "files.txt"; }
    [[nodiscard]] std::filesystem::path archive() const { return workingFolder / "site.tgz"; }
    /// What the compressor writes down.
    [[nodiscard]] std::filesystem::path record() const { return workingFolder / "packed.txt"; }
};

/// Opens the folder, and sees that its path still leads to what was scanned.
UniqueFd openScanned(const Packing& packing) {
    UniqueFd root(::open(packing.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!root && errno != ENOENT && errno != ENOTDIR && errno != ELOOP) {
        throwSystemError(packing.folder.string());
    }
    struct stat attributes {};
    if (!root || ::fstat(root.get(), &attributes) != 0 ||
        std::pair(attributes.st_dev, attributes.st_ino) != packing.files.folder) {
        throw PlatformError::ofFolder(changedText(packing.folder.string()));
    }
    return root;
}

ArchivedTimes timesOf(const FolderScan& files) {
    const bool allFit = std::all_of(files.attributes.begin(), files.attributes.end(), [](const auto& file) {
        constexpr std::int64_t latest = (std::int64_t{1} << 33) - 1;
        return file.modified >= 0 && file.modified <= latest;
    });
    return allFit ? ArchivedTimes::OfTheFiles : ArchivedTimes::OfThePacking;
}

std::shared_ptr<const ReadConfinement> confinementFor(const Packing& packing) {
    std::optional<ReadConfinement> confinement = ReadConfinement::make();
    if (!confinement) {
        return nullptr;
    }
    confinement->allow(packing.root.get());
    confinement->allow(packing.list());
    if (!packing.helpers.empty()) {
        confinement->allow(packing.helpers);
    }
    for (const char* path : readableBySystem) {
        confinement->allow(std::filesystem::path(path));
    }
    return std::make_shared<const ReadConfinement>(std::move(*confinement));
}

/// Writes the list and sees that tar cannot leave the folder. Blocking.
void prepare(Packing& packing) {
    replaceFile(packing.list(), joined(packing.files.paths, '\n'), S_IRUSR | S_IWUSR);
    packing.root = openScanned(packing);
    packing.times = timesOf(packing.files);
    packing.confinement = confinementFor(packing);
    if (!packing.confinement) {
        const std::filesystem::path copy = packing.workingFolder / "copy";
        copyStaged(packing.root.get(), packing.files, copy, packing.stop);
        packing.folder = copy;
    }
}

ProcessEnvironment tarEnvironment(const Packing& packing) {
    constexpr std::string_view systemPath = "/usr/bin:/bin";
    std::string options = joined(tarOptions, ' ');
    if (packing.times == ArchivedTimes::OfThePacking) {
        options += " --mtime=@" + std::to_string(std::time(nullptr));
    }
    ProcessEnvironment environment = ProcessEnvironment::inherited();
    environment.set("TAR_OPTIONS", options);
    environment.set("PATH", packing.helpers.empty() ? std::string(systemPath)
                                                    : packing.helpers.string() + ":" + std::string(systemPath));
    environment.set(memberRecordVariable, packing.record().string());
    // Names are bytes.
    environment.set("LC_ALL", "C");
    for (const std::string_view name : {"GZIP", "POSIXLY_CORRECT", "TAPE"}) {
        environment.unset(name);
    }
    return environment;
}

ChildProcess::Command tarCommand(const Packing& packing) {
    ChildProcess::Command tar;
    tar.program = "/usr/bin/tar";
    tar.arguments = {"--format", "ustar",
                     "-czf",     packing.archive().string(),
                     "-C",       packing.folder.string(),
                     "-T",       packing.list().string()};
    tar.environment = tarEnvironment(packing);
    tar.confinement = packing.confinement;
    return tar;
}

/// Runs tar to its end, and tells meanwhile how far it is.
Task<> runTar(std::shared_ptr<Packing> packing, std::function<void(PackedSoFar)> onPacked) {
    StopScope watching(packing->stop);
    std::optional<Task<>> watch;
    if (onPacked) {
        watch.emplace(watchGrowth(packing->archive(), packing->record(), std::move(onPacked), watching.token()));
    }
    std::exception_ptr failure;
    try {
        ChildProcess::Command tar = tarCommand(*packing);
        co_await runTool(std::move(tar), packing->stop);
    } catch (...) {
        failure = std::current_exception();
    }
    watching.requestStop();
    if (watch) {
        co_await *watch;
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

/// The words of tar's failure, and what can be seen to have caused it. Blocking.
PlatformError explained(const QString& failure, const Packing& packing) {
    const std::optional<PackingFailure> cause =
        findPackingFailure(packing.root.get(), packing.files, packing.workingFolder);
    return cause ? PlatformError::ofFolder(failure + QStringLiteral(": ") + cause->text).with(cause->reason)
                 : PlatformError::ofFolder(failure);
}

/// Sees that the archive is what was scanned. Blocking.
void check(const Packing& packing) {
    if (const std::optional<std::string_view> path = pathWithLineBreak(packing.files)) {
        throw PlatformError::ofFolder(lineBreakText(*path)).with(PlatformErrorReason::BadFileName);
    }
    checkArchive(packing.archive(), packing.record(), packing.files, packing.times, packing.stop);
    std::filesystem::remove(packing.record());
    std::filesystem::remove_all(packing.workingFolder / "copy");
}

} // namespace

Task<std::filesystem::path> packFolder(std::filesystem::path folder, FolderScan files,
                                       std::filesystem::path workingFolder, std::filesystem::path helpers,
                                       std::stop_token stop, std::function<void(PackedSoFar)> onPacked) {
    const auto packing = std::make_shared<Packing>(
        Packing{std::move(folder), std::move(files), std::move(workingFolder), std::move(helpers), std::move(stop)});
    const auto prepareWork = [packing] {
        prepare(*packing);
    };
    co_await runOnOwnThread(prepareWork, packing->stop);

    std::optional<QString> failure;
    try {
        Task<> work = runTar(packing, std::move(onPacked));
        co_await std::move(work);
    } catch (const PlatformError& failed) {
        failure = failed.description();
    }
    if (failure) {
        const auto explainWork = [packing, failure = *failure] {
            return explained(failure, *packing);
        };
        const PlatformError explanation = co_await runOnOwnThread(explainWork, packing->stop);
        throw PlatformError(explanation);
    }

    const auto checkWork = [packing] {
        check(*packing);
    };
    co_await runOnPool(checkWork);
    co_return packing->archive();
}

} // namespace driftwell
