#pragma once

#include "tests/support/TestFolder.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace driftwell::tests {

/// A folder filled at random with what an archiver may stumble over: names that look like its options or patterns, that
/// hold line feeds, that are no text or too long; links in and out, pipes, sockets, hard links, hidden and locked
/// things. It knows by itself which files are the site, without reading the folder back.
class HostileFolder {
public:
    /// The same seed gives the same folder. `outside` is where links and names lead that would leave it.
    HostileFolder(std::uint64_t seed, std::filesystem::path outside);
    ~HostileFolder();
    HostileFolder(const HostileFolder&) = delete;
    HostileFolder& operator=(const HostileFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_folder.path(); }

    /// The site's files: path and content.
    [[nodiscard]] const std::map<std::string, std::string>& site() const { return m_site; }

    /// Whether a list of lines can name every file of the site.
    [[nodiscard]] bool hasLineFeed() const;
    /// Whether a path of the site has no room in a ustar header.
    [[nodiscard]] bool hasTooLongPath() const;

private:
    struct Place {
        /// Relative to the folder, empty or with a slash at the end.
        std::string path;
        bool isOfSite = true;
        int depth = 0;
    };

    void fill(const Place& place);
    void addEntry(const Place& place);
    void addFile(const Place& place, const std::string& name);
    void addFolder(const Place& place, const std::string& name);
    void addHardLink(const Place& place, const std::string& name);
    void addLink(const Place& place, const std::string& name);
    void addSpecialFile(const Place& place, const std::string& name);
    void addLineFeedName(const Place& place);
    void addDeepFolders(const Place& place);

    [[nodiscard]] std::string randomName();
    [[nodiscard]] std::string randomContent();
    [[nodiscard]] bool oneIn(std::size_t chances);
    template <class Choices> [[nodiscard]] const auto& oneOf(const Choices& choices);

    std::mt19937_64 m_random;
    std::filesystem::path m_outside;
    bool m_lineFeeds = false;
    bool m_tooLongNames = false;
    std::map<std::string, std::string> m_site;
    std::vector<std::string> m_locked;
    TestFolder m_folder;
};

} // namespace driftwell::tests
