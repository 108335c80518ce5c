#pragma once

#include "apps/sandbox/GitProcess.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell::sandbox {

/// The history of one site: a bare repository whose branch "main" is what the site is. Callers keep two changes apart.
/// Functions throw GitFailure, HttpError when there is no git or the sandbox is ending, and std::system_error.
class SiteRepository {
public:
    SiteRepository(std::filesystem::path folder, const GitHost& host);

    /// An empty repository in a folder that does not exist.
    void create() const;

    /// The commit that "main" is at; none in a repository without commits.
    [[nodiscard]] std::optional<std::string> head() const;

    /// Who makes a commit, by e-mail address.
    struct Commit {
        std::string person;
        std::string message;
    };

    /// Makes "main" hold the files of a version, and gives its commit, a new one if anything differs. What the version
    /// cannot have, since no upload brings it, stays as it was on "main".
    std::string record(const std::filesystem::path& version, const Commit& commit) const;

    /// Adds one file to what "main" has, and gives the new commit.
    std::string recordFile(const std::string& path, const std::string& content, const Commit& commit) const;

    /// Puts "main" back, if it is still at `from`.
    void moveHead(const std::string& from, const std::optional<std::string>& to) const;

    /// Removes what a git that was killed has left behind: locks, which would stop every later one, and unfinished
    /// files. No other git may be changing the repository.
    void removeLeftovers() const;

    /// Packs what has become many small files, when it has.
    void tidyUp() const;

private:
    class Import;
    [[nodiscard]] std::string git(std::vector<std::string> arguments) const;
    std::string finish(const std::optional<std::string>& before) const;

    const std::filesystem::path m_folder;
    const GitHost& m_host;
};

} // namespace driftwell::sandbox
