#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace driftwell::tests {

/// Runs the real tar with the options given and gives the archive, compressed. `-f` is added.
[[nodiscard]] std::string tar(const std::vector<std::string>& options);
/// The whole of a folder, packed as the application packs it.
[[nodiscard]] std::string tarOf(const std::filesystem::path& folder);

/// A member of an archive that tar would not write.
struct Member {
    std::string name = {};
    std::string content = {};
    enum class Kind { File, Folder, SymbolicLink, HardLink, Device, Pipe } kind = Kind::File;
    /// Where a link leads.
    std::string target = {};
};
[[nodiscard]] std::string archiveOf(const std::vector<Member>& members);

/// An archive of one page with this text.
[[nodiscard]] std::string pageArchive(const std::string& text);

[[nodiscard]] std::string fileContent(const std::filesystem::path& file);

} // namespace driftwell::tests
