#include "deploy/Packing.h"

#include "deploy/ToolRun.h"
#include "platform/PlatformError.h"
#include "support/AtomicFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

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

ProcessEnvironment tarEnvironment(const std::filesystem::path& helpers) {
    constexpr std::string_view systemPath = "/usr/bin:/bin";
    ProcessEnvironment environment = ProcessEnvironment::inherited();
    environment.set("TAR_OPTIONS", joined(tarOptions, ' '));
    environment.set("PATH",
                    helpers.empty() ? std::string(systemPath) : helpers.string() + ":" + std::string(systemPath));
    // Names are bytes.
    environment.set("LC_ALL", "C");
    for (const std::string_view name : {"GZIP", "POSIXLY_CORRECT", "TAPE"}) {
        environment.unset(name);
    }
    return environment;
}

void refuseLineFeeds(const FolderScan& files) {
    const auto found = std::find_if(files.paths.begin(), files.paths.end(),
                                    [](const std::string& path) { return path.find('\n') != std::string::npos; });
    if (found != files.paths.end()) {
        throw PlatformError::api(QStringLiteral("the name of “%1” holds a line break and cannot be packed")
                                     .arg(QString::fromStdString(*found).replace(u'\n', QChar(0x2424))));
    }
}

} // namespace

Task<std::filesystem::path> packFolder(std::filesystem::path folder, FolderScan files,
                                       std::filesystem::path workingFolder, std::filesystem::path helpers,
                                       std::stop_token stop) {
    const std::filesystem::path list = workingFolder / "files.txt";
    const std::filesystem::path archive = workingFolder / "site.tgz";
    replaceFile(list, joined(files.paths, '\n'), S_IRUSR | S_IWUSR);

    ChildProcess::Command tar;
    tar.program = "/usr/bin/tar";
    tar.arguments = {"--format", "ustar", "-czf", archive.string(), "-C", folder.string(), "-T", list.string()};
    tar.environment = tarEnvironment(helpers);
    co_await runTool(std::move(tar), std::move(stop));
    refuseLineFeeds(files);
    co_return archive;
}

} // namespace driftwell
