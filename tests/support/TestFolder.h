#pragma once

#include "support/SystemError.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace driftwell::tests {

/// A folder of the test's own, removed at its end.
class TestFolder {
public:
    TestFolder() {
        std::string name = std::filesystem::temp_directory_path() / "driftwell-test-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) {
            throwSystemError(name);
        }
        m_path = name;
    }
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] std::filesystem::path operator/(std::string_view name) const { return path() / name; }

    /// Writes a file, its folders made where missing.
    void write(std::string_view name, std::string_view content) const {
        const std::filesystem::path file = path() / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
    }

    [[nodiscard]] std::string read(std::string_view name) const {
        std::ifstream file(path() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path m_path;
};

/// How many entries a folder has; 0 for a folder that does not exist.
[[nodiscard]] inline std::size_t entryCount(const std::filesystem::path& folder) {
    std::error_code error;
    const std::filesystem::directory_iterator entries(folder, error);
    return error ? 0 : static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

} // namespace driftwell::tests
