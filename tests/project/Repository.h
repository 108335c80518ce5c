#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace project {

/// A file of the repository. The path is relative to its top folder and has slashes.
struct RepositoryFile {
    std::string path;
    std::string text;
};

/// The text of one file. Throws std::runtime_error where it cannot be read.
[[nodiscard]] RepositoryFile readFile(std::string_view path);

/// Every C++ source, header, view and CMakeLists.txt below these top folders, ordered by path. A folder that is not
/// there holds nothing.
[[nodiscard]] std::vector<RepositoryFile> readSources(const std::vector<std::string>& topFolders);

/// Whether the repository holds a file or folder of this path.
[[nodiscard]] bool exists(std::string_view path);

} // namespace project
