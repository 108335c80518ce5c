#include "bench/SampleSite.h"

#include "support/SystemError.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <string_view>
#include <vector>

namespace driftwell::bench {

namespace {

constexpr std::int64_t pictureBytes = 200 * 1024;
constexpr std::int64_t pageBytes = 24 * 1024;
constexpr int filesPerFolder = 100;

void write(const std::filesystem::path& file, std::string_view content) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
}

std::string picture(std::mt19937_64& random, std::int64_t bytes) {
    std::string content;
    while (static_cast<std::int64_t>(content.size()) < bytes) {
        const std::uint64_t word = random();
        content.append(reinterpret_cast<const char*>(&word), sizeof word);
    }
    return content;
}

/// Real text to compress: the headers that a machine with a C++ compiler has, one after another, in pieces.
class RealText {
public:
    RealText() {
        for (const auto& entry : std::filesystem::recursive_directory_iterator("/usr/include")) {
            if (entry.is_regular_file() && !entry.is_symlink()) {
                m_files.push_back(entry.path());
            }
        }
        std::sort(m_files.begin(), m_files.end());
    }

    std::string next(std::size_t bytes) {
        while (m_ahead.size() < bytes) {
            std::ifstream file(m_files.at(m_next++ % m_files.size()), std::ios::binary);
            m_ahead.append(std::istreambuf_iterator<char>(file), {});
        }
        std::string piece = m_ahead.substr(0, bytes);
        m_ahead.erase(0, bytes);
        return piece;
    }

private:
    std::vector<std::filesystem::path> m_files;
    std::size_t m_next = 0;
    std::string m_ahead;
};

} // namespace

void makeSite(const std::filesystem::path& folder, std::int64_t bytes) {
    std::mt19937_64 random(1);
    RealText text;
    std::int64_t written = 0;
    for (int i = 0; written < bytes * 2 / 3; ++i, written += pictureBytes) {
        write(folder / "pictures" / std::to_string(i / filesPerFolder) / (std::to_string(i) + ".jpg"),
              picture(random, pictureBytes));
    }
    for (int i = 0; written < bytes; ++i, written += pageBytes) {
        write(folder / "pages" / std::to_string(i / filesPerFolder) / (std::to_string(i) + ".html"),
              text.next(pageBytes));
    }
    write(folder / "index.html", "<!doctype html><title>Sample</title>");
}

void makeManyFiles(const std::filesystem::path& folder, int count) {
    for (int i = 0; i < count; ++i) {
        write(folder / ("section-" + std::to_string(i / filesPerFolder)) / ("page-" + std::to_string(i) + ".html"),
              "<!doctype html>");
    }
}

void makeHollowFile(const std::filesystem::path& file, std::int64_t bytes) {
    write(file, "");
    checked(::truncate(file.c_str(), bytes), "truncate");
}

std::string sitesAnswer(int count, const std::string& newestTime) {
    std::string json = R"({"sites":[)";
    for (int i = 0; i < count; ++i) {
        const std::string name = "team-project-" + std::to_string(i);
        json += i == 0 ? "" : ",";
        json += R"({"name":")" + name + R"(","url":"https://)" + name + R"(.sites.example.org/","deployedAt":")" +
                (i == 0 ? newestTime : "2026-03-01T09:30:00.000Z") +
                R"(","deployedBy":"maya@example.org","lastAction":"deploy","hasPrevious":true,"libs":["kv","toast"],)" +
                R"("access":{"mode":"restricted","emails":["sam@example.org","li@example.org"],)" +
                R"("owner":"maya@example.org","anyoneCanComment":false}})";
    }
    return json + "]}";
}

} // namespace driftwell::bench
