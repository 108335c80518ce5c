#include "tests/project/Repository.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace project {

namespace {

const std::filesystem::path top = DRIFTWELL_REPOSITORY;

bool isSource(const std::filesystem::path& path) {
    return path.extension() == ".cpp" || path.extension() == ".h" || path.extension() == ".qml" ||
           path.filename() == "CMakeLists.txt";
}

} // namespace

RepositoryFile readFile(std::string_view path) {
    std::ifstream stream(top / path, std::ios::binary);
    if (!stream)
        throw std::runtime_error("cannot read " + std::string(path));
    return {std::string(path), std::string(std::istreambuf_iterator<char>(stream), {})};
}

std::vector<RepositoryFile> readSources(const std::vector<std::string>& topFolders) {
    std::vector<RepositoryFile> files;
    for (const std::string& folder : topFolders) {
        if (!exists(folder))
            continue;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(top / folder)) {
            if (entry.is_regular_file() && isSource(entry.path()))
                files.push_back(readFile(entry.path().lexically_relative(top).generic_string()));
        }
    }
    std::sort(files.begin(), files.end(),
              [](const RepositoryFile& left, const RepositoryFile& right) { return left.path < right.path; });
    return files;
}

bool exists(std::string_view path) {
    return std::filesystem::exists(top / path);
}

} // namespace project
