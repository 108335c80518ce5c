#include "collab/FolderGuard.h"

#include "collab/Git.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <system_error>

namespace driftwell {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t settingsLimit = std::size_t{256} * 1024;

/// Settings that are harmless whatever their value.
constexpr std::array<std::string_view, 35> harmlessKeys{
    "core.filemode",
    "core.logallrefupdates",
    "core.symlinks",
    "core.ignorecase",
    "core.precomposeunicode",
    "core.autocrlf",
    "core.eol",
    "core.safecrlf",
    "core.quotepath",
    "core.trustctime",
    "core.checkstat",
    "core.abbrev",
    "core.longpaths",
    "core.compression",
    "core.untrackedcache",
    "core.preloadindex",
    "core.protectntfs",
    "core.protecthfs",
    "user.name",
    "user.email",
    "author.name",
    "author.email",
    "committer.name",
    "committer.email",
    "pull.rebase",
    "pull.ff",
    "merge.conflictstyle",
    "merge.renames",
    "merge.ff",
    "diff.renames",
    "gc.auto",
    "fetch.prune",
    "push.default",
    "init.defaultbranch",
    "commit.verbose",
};

bool isOneOf(const std::optional<std::string>& value, std::initializer_list<std::string_view> values) {
    return value && std::find(values.begin(), values.end(), *value) != values.end();
}

/// "branch.NAME.last" and the like; the name may have dots of its own.
bool isPart(std::string_view key, std::string_view section, std::string_view last) {
    return key.size() > section.size() + last.size() && key.starts_with(section) && key.ends_with(last);
}

bool isHarmlessOfBranch(const GitSetting& setting) {
    if (isPart(setting.key, "branch.", ".remote")) {
        return isOneOf(setting.value, {Git::remoteName, "."});
    }
    if (isPart(setting.key, "branch.", ".merge")) {
        return setting.value && setting.value->starts_with("refs/heads/");
    }
    return isPart(setting.key, "branch.", ".rebase") || isPart(setting.key, "branch.", ".description");
}

/// Where the settings of this folder are, and whether they are in the folder itself.
struct SettingsPlace {
    fs::path file;
    bool isOwn = true;
};

std::string firstLine(const fs::path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    std::string line(4096, '\0');
    file.read(line.data(), static_cast<std::streamsize>(line.size()));
    line.resize(static_cast<std::size_t>(file.gcount()));
    return line.substr(0, line.find_first_of("\r\n"));
}

/// A ".git" that is no folder, or that leads to another, is followed only for the name of the remote
/// (gitrepository-layout(5)).
SettingsPlace settingsPlace(const fs::path& folder) {
    std::error_code error;
    fs::path git = folder / ".git";
    bool isOwn = fs::symlink_status(git, error).type() == fs::file_type::directory;
    constexpr std::string_view pointer = "gitdir: ";
    if (const std::string line = firstLine(git); line.starts_with(pointer)) {
        git = folder / line.substr(pointer.size());
    }
    if (const std::string common = firstLine(git / "commondir"); !common.empty()) {
        isOwn = false;
        git = git / common;
    }
    return {git / "config", isOwn};
}

bool isThere(const fs::path& path) {
    std::error_code error;
    return fs::symlink_status(path, error).type() != fs::file_type::not_found;
}

/// What git would read beside the settings and that leads out of the folder.
std::optional<QString> refusalOfShape(const fs::path& folder, const SettingsPlace& place) {
    const fs::path git = folder / ".git";
    std::error_code error;
    if (!place.isOwn) {
        return QStringLiteral("its version control is kept in another folder");
    }
    for (const char* const part : {"objects", "refs"}) {
        if (fs::symlink_status(git / part, error).type() != fs::file_type::directory) {
            return QStringLiteral("its version control is incomplete: “.git/%1” is not a folder")
                .arg(QLatin1String(part));
        }
    }
    if (fs::symlink_status(git / "HEAD", error).type() != fs::file_type::regular) {
        return QStringLiteral("its version control is incomplete: “.git/HEAD” is not a file");
    }
    for (const char* const part : {"objects/info/alternates", "objects/info/http-alternates"}) {
        if (isThere(git / part)) {
            return QStringLiteral("its history is kept in another folder, named in “.git/%1”").arg(QLatin1String(part));
        }
    }
    if (isThere(folder / ".gitmodules")) {
        return QStringLiteral("it holds other repositories, named in “.gitmodules”");
    }
    return std::nullopt;
}

QString text(const std::string& bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

std::optional<QString> refusalOfSettings(const std::vector<GitSetting>& settings) {
    for (const GitSetting& setting : settings) {
        if (!isHarmless(setting)) {
            return QStringLiteral("its git settings hold “%1”, which is not one that the Driftwell app writes")
                .arg(text(setting.key));
        }
    }
    return std::nullopt;
}

} // namespace

std::vector<GitSetting> parseSettings(std::string_view list) {
    std::vector<GitSetting> settings;
    while (!list.empty()) {
        const std::string_view entry = list.substr(0, list.find('\0'));
        list.remove_prefix(std::min(list.size(), entry.size() + 1));
        const std::size_t feed = entry.find('\n');
        GitSetting setting{std::string(entry.substr(0, feed)), std::nullopt};
        if (feed != std::string_view::npos) {
            setting.value = entry.substr(feed + 1);
        }
        settings.push_back(std::move(setting));
    }
    return settings;
}

bool isHarmless(const GitSetting& setting) {
    const std::string& key = setting.key;
    if (std::find(harmlessKeys.begin(), harmlessKeys.end(), key) != harmlessKeys.end()) {
        return true;
    }
    if (key == "core.repositoryformatversion") {
        return isOneOf(setting.value, {"0", "1"});
    }
    if (key == "core.bare") {
        return isOneOf(setting.value, {"false"});
    }
    if (key == "extensions.objectformat") {
        return isOneOf(setting.value, {"sha1", "sha256"});
    }
    if (key == "remote.driftwell.url") {
        return setting.value && (setting.value->starts_with("https://") || setting.value->starts_with("http://"));
    }
    if (key == "remote.driftwell.fetch") {
        return isOneOf(setting.value,
                       {"+refs/heads/*:refs/remotes/driftwell/*", "+refs/heads/main:refs/remotes/driftwell/main"});
    }
    return isHarmlessOfBranch(setting) || key.starts_with("color.") || key.starts_with("advice.");
}

Task<FolderGuard> FolderGuard::inspect(std::filesystem::path folder, std::stop_token stop) {
    FolderGuard guard;
    guard.hasVersionControl = isThere(folder / ".git");
    if (!guard.hasVersionControl) {
        co_return guard;
    }
    const SettingsPlace place = settingsPlace(folder);
    std::error_code error;
    // What git has made is never without a setting; a file without a byte is what a crash leaves.
    if (!fs::is_regular_file(place.file, error) || fs::file_size(place.file, error) == 0) {
        guard.refusal = QStringLiteral("its version control has no settings");
        co_return guard;
    }
    Git::Surroundings nowhere;
    nowhere.folder = "/";
    nowhere.repository = Git::Repository::None;
    nowhere.outputLimit = settingsLimit;
    std::vector<std::string> arguments{"config", "--file", place.file.string(), "--no-includes", "--list", "-z"};
    const Git::RunResult listed = co_await Git::run(std::move(arguments), std::move(nowhere), stop);
    if (listed.code != 0) {
        guard.refusal = QStringLiteral("its git settings cannot be read");
        co_return guard;
    }
    const std::vector<GitSetting> settings = parseSettings(listed.outputBytes);
    guard.areSettingsKnown = true;
    for (const GitSetting& setting : settings) {
        if (setting.key == "remote.driftwell.url") {
            guard.remoteUrls.push_back(setting.value.value_or(std::string()));
        }
    }
    guard.refusal = refusalOfShape(folder, place);
    if (!guard.refusal) {
        guard.refusal = refusalOfSettings(settings);
    }
    if (!guard.refusal && guard.remoteUrls.size() > 1) {
        guard.refusal = QStringLiteral("its remote “driftwell” has more than one address");
    }
    co_return guard;
}

} // namespace driftwell
