#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
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

/// One header of an archive (512 bytes, ustar), for what no library would write. The name has at most 100 bytes.
[[nodiscard]] std::string rawHeader(const std::string& name, char type, std::uint64_t size);
/// Content as it follows a header, filled up to whole blocks.
[[nodiscard]] std::string rawContent(const std::string& content);
/// A member that says more about the next one than its header can ("x" of the pax format): keys and values.
[[nodiscard]] std::string rawAttributes(const std::vector<std::pair<std::string, std::string>>& attributes);
/// An archive of raw pieces, compressed.
[[nodiscard]] std::string rawArchive(const std::string& pieces);

/// An archive of one page with this text.
[[nodiscard]] std::string pageArchive(const std::string& text);

[[nodiscard]] std::string fileContent(const std::filesystem::path& file);

} // namespace driftwell::tests
