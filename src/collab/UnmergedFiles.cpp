#include "collab/UnmergedFiles.h"

#include "collab/FileContent.h"

#include <QUtf8StringView>

#include <algorithm>
#include <optional>

namespace driftwell {

namespace {

constexpr std::size_t binaryTestBytes = 8192;

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

bool isClean(const std::filesystem::path& folder, const std::string& path) {
    const std::optional<std::string> content = contentBeneath(folder, path);
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
