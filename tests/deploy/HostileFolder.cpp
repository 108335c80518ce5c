#include "tests/deploy/HostileFolder.h"

#include "support/SystemError.h"
#include "tests/deploy/Seed.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <string_view>

namespace driftwell::tests {

namespace {

using namespace std::string_view_literals;

constexpr int deepest = 4;
constexpr std::size_t mostEntries = 7;

constexpr std::array plainNames{
    "index.html"sv, "a"sv,      "b"sv,    "style.css"sv, "folder"sv,
    "CLAUDE.md"sv,  "skills"sv, "docs"sv, "secret"sv,    "node_modules"sv,
};

constexpr std::array strangeNames{
    // Options of tar.
    "-"sv,
    "--"sv,
    "-C.."sv,
    "-C"sv,
    "-T"sv,
    "-Tsecret"sv,
    "-Xindex.html"sv,
    "-h"sv,
    "-P"sv,
    "-r"sv,
    "-x"sv,
    "--add-file=..secret"sv,
    "--add-file=index.html"sv,
    "--files-from=index.html"sv,
    "--directory=.."sv,
    "--exclude=*"sv,
    "--exclude=index.html"sv,
    "--exclude-from=a"sv,
    "--to-command=touch pwned"sv,
    "--checkpoint=1"sv,
    "--checkpoint-action=exec=touch pwned"sv,
    "--use-compress-program=touch pwned"sv,
    "--remove-files"sv,
    "--recursion"sv,
    "--null"sv,
    "--no-anchored"sv,
    "--transform=s,a,b,"sv,
    "--dereference"sv,
    "--format=pax"sv,
    "--owner=root"sv,
    "--verbatim-files-from"sv,
    "--no-verbatim-files-from"sv,
    "--unquote"sv,
    "--help"sv,
    "--version"sv,
    "--warning=no-all"sv,
    "--index-file=pwned"sv,
    // Blanks at the ends.
    " "sv,
    "  "sv,
    " a"sv,
    "a "sv,
    "\t"sv,
    "\ta\t"sv,
    "a\r"sv,
    "\r"sv,
    "\v"sv,
    "\f"sv,
    // Escapes.
    "\\"sv,
    "a\\"sv,
    "\\n"sv,
    "a\\nb"sv,
    "a\\nindex.html"sv,
    "\\057etc\\057passwd"sv,
    "folder\\057..\\057..\\057secret"sv,
    "\\x2e\\x2e"sv,
    "\\141"sv,
    "\\0"sv,
    "%2e%2e%2fsecret"sv,
    // Patterns, quotes, shells.
    "*"sv,
    "?"sv,
    "**"sv,
    "[a-z]*"sv,
    "[!a]"sv,
    "["sv,
    "]"sv,
    "{a,b}"sv,
    "~"sv,
    "~root"sv,
    "'"sv,
    "\""sv,
    "`id`"sv,
    "$(id)"sv,
    "$HOME"sv,
    "&"sv,
    "|"sv,
    ";"sv,
    "#"sv,
    "!"sv,
    "<a>"sv,
    "a:b"sv,
    "localhost:a"sv,
    "C:\\a"sv,
    "=a"sv,
    "@a"sv,
    "+a"sv,
    "a.."sv,
    "a."sv,
    // Bytes that are not UTF-8, and text beyond ASCII.
    "\xff"sv,
    "\xfe\xff"sv,
    "a\xc3"sv,
    "\x80"sv,
    "\xc0\xae\xc0\xae"sv,
    "\x01"sv,
    "\x1b[31m"sv,
    "\x7f"sv,
    "caf\xc3\xa9"sv,
    "cafe\xcc\x81"sv,
    "\xf0\x9f\x98\x80"sv,
    "\xe2\x80\xaegpj"sv,
    "\xe6\x97\xa5\xe6\x9c\xac"sv,
};

constexpr std::array hiddenNames{".env"sv, ".git"sv, ".DS_Store"sv, "..."sv, "..a"sv, ".-C"sv, ".\xff"sv};

bool fitsUstar(const std::string& path) {
    constexpr std::size_t mostInName = 100;
    constexpr std::size_t mostInPrefix = 155;
    if (path.size() <= mostInName) {
        return true;
    }
    for (std::size_t slash = path.find('/'); slash != std::string::npos && slash <= mostInPrefix;
         slash = path.find('/', slash + 1)) {
        if (path.size() - slash - 1 <= mostInName) {
            return true;
        }
    }
    return false;
}

} // namespace

HostileFolder::HostileFolder(std::uint64_t seed, std::filesystem::path outside)
    : m_random(seed), m_outside(std::move(outside)) {
    // Either one makes the whole folder one that cannot be packed, so most folders have neither.
    m_lineFeeds = oneIn(5);
    m_tooLongNames = oneIn(10);
    fill({});
    if (oneIn(20)) {
        addDeepFolders({});
    }
    for (const std::string& folder : m_locked) {
        checked(::chmod((path() / folder).c_str(), oneIn(2) ? 0 : S_IXUSR), "chmod");
    }
}

HostileFolder::~HostileFolder() {
    for (auto folder = m_locked.rbegin(); folder != m_locked.rend(); ++folder) {
        ::chmod((path() / *folder).c_str(), S_IRWXU);
    }
}

bool HostileFolder::hasLineFeed() const {
    return std::any_of(m_site.begin(), m_site.end(),
                       [](const auto& file) { return file.first.find('\n') != std::string::npos; });
}

bool HostileFolder::hasTooLongPath() const {
    return std::any_of(m_site.begin(), m_site.end(), [](const auto& file) { return !fitsUstar(file.first); });
}

bool HostileFolder::oneIn(std::size_t chances) {
    return below(m_random, chances) == 0;
}

template <class Choices> const auto& HostileFolder::oneOf(const Choices& choices) {
    return choices[below(m_random, choices.size())];
}

std::string HostileFolder::randomContent() {
    std::string content(below(m_random, oneIn(10) ? 20'000 : 40), '\0');
    std::generate(content.begin(), content.end(), [this] { return static_cast<char>(m_random()); });
    return content;
}

std::string HostileFolder::randomName() {
    switch (below(m_random, 8)) {
    case 0:
    case 1:
        return std::string(oneOf(plainNames));
    case 2: {
        std::string bytes(1 + below(m_random, 12), '\0');
        std::generate(bytes.begin(), bytes.end(), [this] {
            const char byte = static_cast<char>(m_random());
            return byte == '\0' || byte == '/' || byte == '\n' || byte == '.' ? '_' : byte;
        });
        return bytes;
    }
    case 3:
        return std::string(1 + below(m_random, m_tooLongNames ? NAME_MAX : 40), 'n');
    default:
        return std::string(oneOf(strangeNames));
    }
}

void HostileFolder::fill(const Place& place) {
    for (std::size_t entries = below(m_random, mostEntries + 1); entries > 0; --entries) {
        addEntry(place);
    }
}

void HostileFolder::addEntry(const Place& place) {
    const std::string name = oneIn(8) ? std::string(oneOf(hiddenNames)) : randomName();
    struct stat attributes {};
    if (::lstat((path() / (place.path + name)).c_str(), &attributes) == 0) {
        return;
    }
    switch (below(m_random, 12)) {
    case 0:
        return addLink(place, name);
    case 1:
        return addSpecialFile(place, name);
    case 2:
        return addHardLink(place, name);
    case 3:
        return m_lineFeeds ? addLineFeedName(place) : addFile(place, name);
    case 4:
    case 5:
    case 6:
        return addFolder(place, name);
    default:
        return addFile(place, name);
    }
}

void HostileFolder::addFile(const Place& place, const std::string& name) {
    const std::string file = place.path + name;
    const std::string content = randomContent();
    m_folder.write(file, content);
    if (place.isOfSite && !name.starts_with('.') && file != "CLAUDE.md") {
        m_site[file] = content;
    }
}

void HostileFolder::addFolder(const Place& place, const std::string& name) {
    const std::string folder = place.path + name;
    if (place.depth == deepest || ::mkdir((path() / folder).c_str(), S_IRWXU) != 0) {
        return;
    }
    const bool isLocked = oneIn(10);
    const bool isLeftOut = name.starts_with('.') || name == "node_modules" || folder == "skills" || isLocked;
    fill({folder + "/", place.isOfSite && !isLeftOut, place.depth + 1});
    if (isLocked) {
        m_locked.push_back(folder); // after those within it
    }
}

void HostileFolder::addHardLink(const Place& place, const std::string& name) {
    if (m_site.empty() || name.starts_with('.')) {
        return;
    }
    const auto& [original, content] =
        *std::next(m_site.begin(), static_cast<std::ptrdiff_t>(below(m_random, m_site.size())));
    const std::string file = place.path + name;
    std::filesystem::create_hard_link(path() / original, path() / file);
    if (place.isOfSite && file != "CLAUDE.md") {
        m_site[file] = std::string(content);
    }
}

void HostileFolder::addLink(const Place& place, const std::string& name) {
    const std::vector<std::string> targets{
        "index.html",
        ".",
        "..",
        "nowhere",
        name,
        m_outside,
        m_outside / "secret",
        "/",
        "/etc/passwd",
        "../" + m_outside.filename().string(),
        "../" + m_outside.filename().string() + "/secret",
    };
    std::filesystem::create_symlink(oneOf(targets), path() / (place.path + name));
}

void HostileFolder::addSpecialFile(const Place& place, const std::string& name) {
    const mode_t kind = oneIn(2) ? S_IFIFO : S_IFSOCK;
    checked(::mknod((path() / (place.path + name)).c_str(), kind | S_IRUSR | S_IWUSR, 0), "mknod");
}

void HostileFolder::addLineFeedName(const Place& place) {
    // What names something by itself as a line: files of the site and hidden ones, folders, options, a pattern,
    // nothing.
    constexpr std::array lines{"index.html"sv, "a"sv, ".env"sv, "folder"sv,  "."sv, ".."sv,
                               "-C.."sv,       "*"sv, "\r"sv,   "nothing"sv, ""sv};
    std::vector<std::string> components{std::string(oneOf(lines)) + "\n"};
    const auto lead = [&components](std::string_view line, const std::filesystem::path& onwards) {
        components.front() += line;
        for (const std::filesystem::path& component : onwards) {
            components.push_back(component);
        }
    };
    // Or the secret outside: by its absolute path, by a way upwards, through a link.
    switch (below(m_random, 6)) {
    case 0:
        lead("", (m_outside / "secret").relative_path());
        break;
    case 1:
        lead("..", m_outside.filename() / "secret");
        break;
    case 2: {
        std::error_code isThere;
        std::filesystem::create_directory_symlink(m_outside, path() / "way out", isThere);
        lead("way out", "secret");
        break;
    }
    default:
        lead(oneOf(lines), {});
    }

    std::string file = place.path;
    bool isOfSite = place.isOfSite;
    for (const std::string& component : components) {
        file += (&component == &components.front() ? "" : "/") + component;
        isOfSite = isOfSite && !component.starts_with('.');
    }
    std::error_code isNoFolder;
    std::filesystem::create_directories((path() / file).parent_path(), isNoFolder);
    struct stat attributes {};
    if (!isNoFolder && ::lstat((path() / file).c_str(), &attributes) != 0) {
        addFile({"", isOfSite, place.depth}, file);
    }
}

void HostileFolder::addDeepFolders(const Place& place) {
    std::string folder = place.path + "deep";
    for (std::size_t level = below(m_random, 100); level > 0 && folder.size() < 240; --level) {
        folder += "/d";
    }
    addFile({folder + "/", true, deepest}, "file");
}

} // namespace driftwell::tests
