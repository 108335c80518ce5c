#include "tests/project/IncludeRules.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string_view>

namespace project {

namespace {

struct Include {
    std::string name;
    bool quoted;
};

/// What each room may include besides itself.
const std::map<std::string, std::set<std::string>, std::less<>>& allowedRooms() {
    static const std::set<std::string> withoutWindows = {"archive", "support", "platform", "deploy",
                                                         "collab",  "tooling", "desktop",  "core"};
    const auto withRooms = [](std::set<std::string> rooms) {
        rooms.insert(withoutWindows.begin(), withoutWindows.end());
        return rooms;
    };
    // What a person sees at a time knows the common vocabulary and no other surface; only the window hosts others.
    const std::set<std::string> surface = withRooms({"ui", "ui/style", "ui/controls"});
    static const std::map<std::string, std::set<std::string>, std::less<>> allowed = {
        {"archive", {}},
        {"support", {}},
        {"platform", {"support"}},
        {"deploy", {"archive", "support", "platform"}},
        {"desktop", {"support"}},
        {"collab", {"support", "platform", "deploy", "desktop"}},
        {"tooling", {"support", "platform", "desktop"}},
        {"desktop/freedesktop", {"support", "desktop"}},
        {"core", {"support", "platform", "deploy", "collab", "tooling", "desktop"}},
        {"ui", withoutWindows},
        {"ui/style", withRooms({"ui"})},
        {"ui/controls", withRooms({"ui", "ui/style"})},
        {"ui/scene", withRooms({"ui", "ui/style"})},
        {"ui/sites", surface},
        {"ui/share", surface},
        {"ui/collab", surface},
        {"ui/history", surface},
        {"ui/deploy", surface},
        {"ui/signin", surface},
        {"ui/onboarding", surface},
        {"ui/settings", surface},
        {"ui/tray", surface},
        {"ui/window", withRooms({"ui", "ui/style", "ui/controls", "ui/sites", "ui/share", "ui/collab", "ui/history",
                                 "ui/deploy", "ui/signin", "ui/onboarding"})},
        {"apps/driftwell",
         withRooms({"desktop/freedesktop", "ui", "ui/style", "ui/scene", "ui/window", "ui/settings", "ui/tray"})},
        {"apps/dw", withoutWindows},
        {"apps/gzip", {"archive"}},
        {"apps/sandbox", {}},
    };
    return allowed;
}

/// The room of a path from src/ on: its folder, below apps/ the folder of the application, below ui/ the folder of the
/// surface where there is one. One room lies within another.
std::string roomOf(std::string_view path) {
    std::size_t end = path.find('/');
    const std::size_t second = path.find('/', end + 1);
    if (path.starts_with("apps/") || path.starts_with("desktop/freedesktop/") ||
        (path.starts_with("ui/") && second != std::string_view::npos))
        end = second;
    return end == std::string_view::npos ? std::string() : std::string(path.substr(0, end));
}

/// The parts of the model. Each knows those that all stand on and none of the others; only what wires them knows all.
constexpr std::array<std::string_view, 3> baseParts = {"Connection", "Catalog", "Gates"};
constexpr std::array<std::string_view, 7> parts = {"Deployments", "SiteOperations", "Collaboration", "DeepLinks",
                                                   "SignIn",      "NewProject",     "LocalPlatform"};

/// The class of a file or header of core, without its ending.
std::string_view partOf(std::string_view path) {
    constexpr std::string_view room = "core/";
    return path.starts_with(room) ? path.substr(room.size(), path.rfind('.') - room.size()) : std::string_view();
}

/// Whether a part of the model includes one that it must not know.
bool crossesParts(std::string_view path, std::string_view header) {
    const auto isIn = [](const auto& list, std::string_view name) {
        return std::find(list.begin(), list.end(), name) != list.end();
    };
    const std::string_view own = partOf(path);
    const std::string_view other = partOf(header);
    if (own == other || (!isIn(baseParts, own) && !isIn(parts, own)))
        return false;
    return other == "AppState" || isIn(parts, other);
}

std::optional<Include> includeIn(std::string_view line) {
    const auto skipBlanks = [&line] {
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    };
    const auto skip = [&line](std::string_view word) {
        const bool found = line.starts_with(word);
        if (found)
            line.remove_prefix(word.size());
        return found;
    };
    skipBlanks();
    if (!skip("#"))
        return std::nullopt;
    skipBlanks();
    if (!skip("include"))
        return std::nullopt;
    skipBlanks();
    const bool quoted = line.starts_with('"');
    if (!quoted && !line.starts_with('<'))
        return std::nullopt;
    const std::size_t end = line.find(quoted ? '"' : '>', 1);
    if (end == std::string_view::npos)
        return std::nullopt;
    return Include{std::string(line.substr(1, end - 1)), quoted};
}

bool isOfGraphicalQt(std::string_view header) {
    constexpr std::array<std::string_view, 21> prefixes = {
        "QtGui",    "QtQuick",    "QtWidgets",        "QtQml",           "QGui",       "QQuick", "QWidget",  "QQml",
        "QWindow",  "QImage",     "QPixmap",          "QIcon",           "QColor",     "QFont",  "QPainter", "QScreen",
        "QPalette", "QClipboard", "QDesktopServices", "QSystemTrayIcon", "QFileDialog"};
    return header == "QApplication" || std::any_of(prefixes.begin(), prefixes.end(), [header](std::string_view prefix) {
               return header.starts_with(prefix);
           });
}

bool isOwnMocFile(const std::string& path, const std::string& include) {
    const std::size_t start = path.rfind('/') + 1;
    return include == path.substr(start, path.rfind('.') - start) + ".moc";
}

/// What is wrong with an include of a file below src/, or nothing.
std::optional<std::string> violationInRoom(const std::string& path, const std::string& room, const Include& include,
                                           bool isOurs) {
    const bool graphical = room == "desktop/freedesktop" || room.starts_with("ui") || room == "apps/driftwell";
    if (!include.quoted) {
        if (isOurs)
            return "is ours and belongs in quotes";
        if (!graphical && isOfGraphicalQt(include.name))
            return "is for desktop/freedesktop, ui and apps/driftwell only";
        return std::nullopt;
    }
    if (!isOurs)
        return "is not a file under src/";
    const std::string other = roomOf(include.name);
    if (other != room && !allowedRooms().at(room).contains(other))
        return "is not above " + room;
    if (crossesParts(path, include.name))
        return "is a part of the model that this one does not know";
    return std::nullopt;
}

} // namespace

std::vector<std::string> includeViolations(const std::vector<RepositoryFile>& files) {
    constexpr std::string_view sources = "src/";
    std::set<std::string, std::less<>> paths;
    for (const RepositoryFile& file : files)
        paths.insert(file.path);

    std::vector<std::string> violations;
    for (const RepositoryFile& file : files) {
        if (!file.path.ends_with(".cpp") && !file.path.ends_with(".h"))
            continue;
        const bool inRoom = file.path.starts_with(sources);
        const std::string room = inRoom ? roomOf(std::string_view(file.path).substr(sources.size())) : std::string();
        if (inRoom && !allowedRooms().contains(room)) {
            violations.push_back(file.path + " is in no known room");
            continue;
        }
        std::istringstream lines(file.text);
        for (std::string line; std::getline(lines, line);) {
            const std::optional<Include> include = includeIn(line);
            if (!include || isOwnMocFile(file.path, include->name))
                continue;
            const bool isOurs = paths.contains(std::string(sources) + include->name);
            std::optional<std::string> violation;
            if (inRoom)
                violation = violationInRoom(file.path.substr(sources.size()), room, *include, isOurs);
            else if (include->quoted && !isOurs && !paths.contains(include->name))
                violation = "is neither a file under src/ nor one of the repository";
            if (violation)
                violations.push_back(file.path + ": " + include->name + " " + *violation);
        }
    }
    return violations;
}

std::vector<std::string> viewViolations(const std::vector<RepositoryFile>& files) {
    constexpr std::string_view sources = "src/";
    constexpr std::string_view ending = ".qml";
    const auto isView = [&](const RepositoryFile& file) {
        return file.path.starts_with(sources) && file.path.ends_with(ending);
    };
    std::map<std::string, std::string> rooms;
    for (const RepositoryFile& file : files) {
        if (isView(file)) {
            const std::size_t name = file.path.rfind('/') + 1;
            rooms.emplace(file.path.substr(name, file.path.size() - name - ending.size()),
                          roomOf(std::string_view(file.path).substr(sources.size())));
        }
    }
    static const std::regex word("//.*|\"[^\"]*\"|[A-Za-z_][A-Za-z0-9_]*");
    std::vector<std::string> violations;
    for (const RepositoryFile& file : files) {
        if (!isView(file))
            continue;
        const std::string room = roomOf(std::string_view(file.path).substr(sources.size()));
        std::set<std::string> named;
        for (std::sregex_iterator found(file.text.begin(), file.text.end(), word), end; found != end; ++found)
            named.insert(found->str());
        for (const std::string& name : named) {
            const auto view = rooms.find(name);
            if (view != rooms.end() && view->second != room && !allowedRooms().at(room).contains(view->second))
                violations.push_back(file.path + ": " + name + " of " + view->second + " is not above " + room);
        }
    }
    return violations;
}

} // namespace project
