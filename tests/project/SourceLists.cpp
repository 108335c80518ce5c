#include "tests/project/SourceLists.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace project {

namespace {

constexpr std::string_view listName = "/CMakeLists.txt";
using Words = std::set<std::string, std::less<>>;

/// A path that a variable begins, as in ${CMAKE_CURRENT_LIST_DIR}/Main.cpp, counts without it.
std::string withoutVariable(std::string_view word) {
    const std::size_t end = word.starts_with("${") ? word.find("}/") : std::string_view::npos;
    return std::string(end == std::string_view::npos ? word : word.substr(end + 2));
}

Words wordsOf(std::string_view text) {
    constexpr std::string_view separators = " \t\r\n()\"";
    Words words;
    while (true) {
        const std::size_t start = text.find_first_not_of(separators);
        if (start == std::string_view::npos)
            return words;
        text.remove_prefix(start);
        if (text.starts_with('#')) {
            text.remove_prefix(std::min(text.find('\n'), text.size()));
            continue;
        }
        const std::size_t end = std::min(text.find_first_of(separators), text.size());
        words.insert(withoutVariable(text.substr(0, end)));
        text.remove_prefix(end);
    }
}

bool isListed(const std::string& path, const std::map<std::string, Words>& lists) {
    for (std::size_t slash = path.rfind('/'); slash != std::string::npos && slash > 0;
         slash = path.rfind('/', slash - 1)) {
        const auto list = lists.find(path.substr(0, slash));
        if (list != lists.end())
            return list->second.contains(path.substr(slash + 1));
    }
    return false;
}

} // namespace

std::vector<std::string> sourceListViolations(const std::vector<RepositoryFile>& files) {
    std::vector<std::string> violations;
    std::map<std::string, Words> lists;
    for (const RepositoryFile& file : files) {
        if (!file.path.ends_with(listName))
            continue;
        Words words = wordsOf(file.text);
        if (words.contains("GLOB") || words.contains("GLOB_RECURSE"))
            violations.push_back(file.path + " collects its sources with GLOB");
        lists.emplace(file.path.substr(0, file.path.size() - listName.size()), std::move(words));
    }
    for (const RepositoryFile& file : files) {
        if (file.path.ends_with(".cpp") && !isListed(file.path, lists))
            violations.push_back(file.path + " is in no CMakeLists.txt");
    }
    return violations;
}

} // namespace project
