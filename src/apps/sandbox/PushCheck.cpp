#include "apps/sandbox/PushCheck.h"

#include "apps/sandbox/Cleanup.h"
#include "apps/sandbox/GitProcess.h"
#include "apps/sandbox/PushedFiles.h"
#include "apps/sandbox/Text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace driftwell::sandbox {

namespace {

constexpr const char* hooksVariable = "DRIFTWELL_SANDBOX_HOOKS";
constexpr const char* versionVariable = "DRIFTWELL_SANDBOX_VERSION";
constexpr const char* summaryVariable = "DRIFTWELL_SANDBOX_SUMMARY";
constexpr const char* filesVariable = "DRIFTWELL_SANDBOX_FILES";
constexpr const char* bytesVariable = "DRIFTWELL_SANDBOX_BYTES";
constexpr std::string_view branch = "refs/heads/main";

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) {
        throw std::runtime_error(std::string("the variable ") + name + " is missing");
    }
    return value;
}

UnpackLimits limitsGiven() {
    const auto bytes = decimal(variable(bytesVariable));
    const auto files = decimal(variable(filesVariable));
    if (!bytes || !files) {
        throw std::runtime_error("the limits are no numbers");
    }
    return {*bytes, *files};
}

/// The commit that "main" is to be at; nothing when the branch is to be removed, which git itself refuses.
std::optional<std::string> wantedCommit() {
    std::optional<std::string> wanted;
    std::string line;
    while (std::getline(std::cin, line)) {
        // "OLD NEW REF"
        const auto fields = split(line, ' ');
        if (fields.size() != 3 || fields[2] != branch) {
            throw HttpError(400, "bad_push", "Only the branch main can be pushed to a site");
        }
        if (!std::all_of(fields[1].begin(), fields[1].end(), [](char c) { return c == '0'; })) {
            wanted = fields[1];
        }
    }
    return wanted;
}

void check() {
    const auto commit = wantedCommit();
    if (!commit) {
        return;
    }
    const StopSignal nobodyStops;
    const std::filesystem::path summary = variable(summaryVariable);
    std::filesystem::path list = summary;
    list += ".objects";
    const Cleanup removeList([&list] {
        std::error_code ignored;
        std::filesystem::remove(list, ignored);
    });
    const Unpacked unpacked = unpackCommit({variable("GIT_DIR"), *commit, inheritedQuarantine()},
                                           variable(versionVariable), list, limitsGiven(), {nobodyStops});
    std::ofstream file(summary);
    file << *commit << ' ' << unpacked.files << ' ' << unpacked.bytes << '\n';
    file.close();
    if (!file) {
        throw std::runtime_error("the disk is full");
    }
}

} // namespace

void installPushCheck(const std::filesystem::path& hooks) {
    const std::filesystem::path link = hooks / pushCheckName;
    std::filesystem::remove(link);
    std::filesystem::create_symlink(std::filesystem::read_symlink("/proc/self/exe"), link);
}

std::map<std::string, std::string> pushCheckVariables(const std::filesystem::path& hooks,
                                                      const std::filesystem::path& version,
                                                      const std::filesystem::path& summary,
                                                      const UnpackLimits& limits) {
    return {{hooksVariable, hooks},
            {versionVariable, version},
            {summaryVariable, summary},
            {filesVariable, std::to_string(limits.files)},
            {bytesVariable, std::to_string(limits.bytes)}};
}

std::optional<Unpacked> readSummary(const std::filesystem::path& file, const std::string& commit) {
    std::ifstream input(file);
    std::string unpackedCommit;
    Unpacked unpacked;
    if (input >> unpackedCommit >> unpacked.files >> unpacked.bytes && unpackedCommit == commit) {
        return unpacked;
    }
    return std::nullopt;
}

int runPushCheck() {
    try {
        check();
        return 0;
    } catch (const HttpError& refusal) {
        std::fprintf(stderr, "%s\n", refusal.what());
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "The sandbox failed: %s\n", failure.what());
    }
    return 1;
}

} // namespace driftwell::sandbox
