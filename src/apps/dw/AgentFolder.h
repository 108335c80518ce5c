#pragma once

#include "support/UniqueFd.h"

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

namespace driftwell::dw {

/// The files for coding agents in a folder that may be anybody's: no link in it is followed, and each file is replaced
/// as a whole (AtomicFile.h). Paths are relative, without "." and "..". What cannot be done throws FailedCommand or
/// std::system_error, with the path in its text.
class AgentFolder {
public:
    /// The largest file that is read, in bytes.
    static constexpr std::size_t largestFile = 4 * 1024 * 1024;

    /// `newFiles` are the permissions of files that were not there before; an old one keeps its own.
    AgentFolder(const std::filesystem::path& folder, mode_t newFiles);

    /// The file's bytes; absent where there is none, or no folder that it could be in.
    [[nodiscard]] std::optional<std::string> read(const std::filesystem::path& file) const;

    /// Throws where the file is there and is not to be written.
    void requireWritable(const std::filesystem::path& file) const;

    /// Makes the folders of the file where they are missing.
    void write(const std::filesystem::path& file, const std::string& content) const;

private:
    enum class Missing { Leave, Make };

    /// The folder that a file is in; empty where it is missing and left so.
    [[nodiscard]] UniqueFd parentOf(const std::filesystem::path& file, Missing missing) const;
    [[nodiscard]] UniqueFd folderIn(int parent, const std::filesystem::path& shownAs, Missing missing) const;

    UniqueFd m_folder;
    mode_t m_newFiles;
};

} // namespace driftwell::dw
