#include "tests/project/DocumentPaths.h"

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>

namespace project {

namespace {

/// Known here rather than looked up, so that a folder which is gone is still missed where a document names it.
constexpr std::array<std::string_view, 20> topNames = {".ci",
                                                       ".clang-format",
                                                       ".clang-tidy",
                                                       ".gitignore",
                                                       "ARCHITECTURE.md",
                                                       "CMakeLists.txt",
                                                       "CMakePresets.json",
                                                       "CONTRIBUTING.md",
                                                       "LICENSE",
                                                       "README.md",
                                                       "bench",
                                                       "cmake",
                                                       "data",
                                                       "dev",
                                                       "docs",
                                                       "examples",
                                                       "fuzz",
                                                       "packaging",
                                                       "src",
                                                       "tests"};

bool startsWithTopName(std::string_view path) {
    const std::string_view first = path.substr(0, path.find('/'));
    return std::find(topNames.begin(), topNames.end(), first) != topNames.end();
}

bool isCapital(char letter) {
    return letter >= 'A' && letter <= 'Z';
}

/// Whether the path stands for others: `src/*.h`, `tests/{core,ui}`, `src/NAME/`, `src/…`.
bool isPattern(std::string_view path) {
    if (path.find_first_of("*?{}[]<>$") != std::string_view::npos || path.find("…") != std::string_view::npos)
        return true;
    std::size_t start = path.find('/');
    while (start != std::string_view::npos) {
        const std::size_t end = path.find('/', start + 1);
        const std::string_view part = path.substr(start + 1, end == std::string_view::npos ? end : end - start - 1);
        if (!part.empty() && std::all_of(part.begin(), part.end(), isCapital))
            return true;
        start = end;
    }
    return false;
}

std::string_view withoutPunctuation(std::string_view word) {
    while (!word.empty() && std::string_view(".,;:").find(word.back()) != std::string_view::npos)
        word.remove_suffix(1);
    return word;
}

void addPathsOfCode(std::string_view code, std::vector<std::string>& paths) {
    std::istringstream words{std::string(code)};
    for (std::string word; words >> word;) {
        std::string_view path = withoutPunctuation(word);
        if (path.starts_with("./"))
            path.remove_prefix(2);
        if (startsWithTopName(path) && !isPattern(path))
            paths.emplace_back(path);
    }
}

std::optional<std::string> pathOfLink(std::string_view target) {
    const std::string_view path = target.substr(0, target.find('#'));
    if (path.empty() || path.find("://") != std::string_view::npos || path.starts_with("mailto:"))
        return std::nullopt;
    return std::string(path);
}

void addPathsOfLine(std::string_view line, std::vector<std::string>& paths) {
    constexpr std::string_view linkStart = "](";
    std::size_t position = 0;
    while (position < line.size()) {
        if (line[position] == '`') {
            const std::size_t end = line.find('`', position + 1);
            if (end == std::string_view::npos)
                return;
            addPathsOfCode(line.substr(position + 1, end - position - 1), paths);
            position = end + 1;
        } else if (line.substr(position).starts_with(linkStart)) {
            const std::size_t start = position + linkStart.size();
            const std::size_t end = line.find(')', start);
            if (end == std::string_view::npos)
                return;
            if (auto path = pathOfLink(line.substr(start, end - start)))
                paths.push_back(*std::move(path));
            position = end + 1;
        } else {
            ++position;
        }
    }
}

} // namespace

std::vector<std::string> pathsIn(std::string_view document) {
    std::vector<std::string> paths;
    std::istringstream lines{std::string(document)};
    bool inBlock = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("```"))
            inBlock = !inBlock;
        else if (!inBlock)
            addPathsOfLine(line, paths);
    }
    return paths;
}

std::vector<std::string> missingPaths(std::string_view document, const std::function<bool(std::string_view)>& exists) {
    std::vector<std::string> missing;
    for (std::string& path : pathsIn(document)) {
        if (!exists(path))
            missing.push_back(std::move(path));
    }
    return missing;
}

} // namespace project
