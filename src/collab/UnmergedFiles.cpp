#include "collab/UnmergedFiles.h"

#include "support/OpenBeneath.h"
#include "support/UniqueFd.h"

#include <QUtf8StringView>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

namespace driftwell {

namespace {

constexpr std::size_t binaryTestBytes = 8192;

/// What is larger is no text that anybody edits.
constexpr std::size_t textLimit = std::size_t{256} * 1024 * 1024;

std::vector<std::string_view> pieces(std::string_view text, char separator) {
    std::vector<std::string_view> result;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, text.find(separator));
        text.remove_prefix(std::min(text.size(), piece.size() + 1));
        if (!piece.empty()) {
            result.push_back(piece);
        }
    }
    return result;
}

std::optional<std::string> contentOf(const std::filesystem::path& folder, const std::string& path) {
    const UniqueFd root(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!root) {
        return std::nullopt;
    }
    // A pipe would be waited for without O_NONBLOCK.
    const UniqueFd file = openBeneath(root.get(), path, O_RDONLY | O_NONBLOCK);
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    std::string content;
    content.reserve(std::min(static_cast<std::size_t>(status.st_size), textLimit));
    std::array<char, 64 * 1024> block;
    for (;;) {
        const ssize_t got = ::read(file.get(), block.data(), block.size());
        if (got == 0) {
            return content;
        }
        if (got > 0 && content.size() < textLimit) {
            content.append(block.data(), static_cast<std::size_t>(got));
        } else if (got > 0 || errno != EINTR) {
            return std::nullopt;
        }
    }
}

bool isClean(const std::filesystem::path& folder, const std::string& path) {
    const std::optional<std::string> content = contentOf(folder, path);
    if (!content || content->substr(0, binaryTestBytes).find('\0') != std::string::npos) {
        return false;
    }
    return QUtf8StringView(content->data(), static_cast<qsizetype>(content->size())).isValidUtf8() &&
           !hasConflictMarkers(*content);
}

} // namespace

std::map<std::string, std::set<std::string>> parseUnmerged(std::string_view list) {
    std::map<std::string, std::set<std::string>> unmerged;
    for (const std::string_view entry : pieces(list, '\0')) {
        const std::size_t tab = entry.find('\t');
        if (tab == std::string_view::npos || tab == 0 || tab + 1 == entry.size()) {
            continue;
        }
        const std::vector<std::string_view> about = pieces(entry.substr(0, tab), ' ');
        unmerged[std::string(entry.substr(tab + 1))].insert(about.size() < 3 ? "?" : std::string(about[2]));
    }
    return unmerged;
}

bool hasConflictMarkers(std::string_view text) {
    const auto isMarker = [](std::string_view line) {
        const std::string_view marker = line.substr(0, 7);
        const std::string_view rest = line.substr(marker.size());
        return (marker == "<<<<<<<" && (rest.empty() || rest.starts_with(' '))) || line == "=======" ||
               (marker == ">>>>>>>" && rest.starts_with(' '));
    };
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
        if (isMarker(line)) {
            return true;
        }
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
    return false;
}

std::vector<std::string> unresolvedAmong(const std::filesystem::path& folder,
                                         const std::map<std::string, std::set<std::string>>& unmerged) {
    std::vector<std::string> unresolved;
    for (const auto& [path, stages] : unmerged) {
        const bool isOnBothSides = stages.contains("1") && stages.contains("2") && stages.contains("3");
        if (!isOnBothSides || !isClean(folder, path)) {
            unresolved.push_back(path);
        }
    }
    return unresolved;
}

} // namespace driftwell
