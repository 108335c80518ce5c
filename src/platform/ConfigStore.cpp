#include "platform/ConfigStore.h"

#include "platform/BoundedJson.h"
#include "support/AtomicFile.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <QDir>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>

namespace driftwell {

using Json = nlohmann::json;

namespace {

std::filesystem::path home() {
    return QDir::homePath().toStdString();
}

std::filesystem::path expandTilde(const std::string& path) {
    if (path == "~") {
        return home();
    }
    return path.starts_with("~/") ? home() / path.substr(2) : std::filesystem::path(path);
}

std::optional<QString> nonEmptyVariable(const char* name) {
    const QString value = qEnvironmentVariable(name);
    return value.isEmpty() ? std::nullopt : std::optional(value);
}

/// Empty when the file cannot be read to its end, as when a folder lies in its place.
std::string contentOf(const std::filesystem::path& path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string content;
    std::array<char, 16 * 1024> block;
    for (;;) {
        const ssize_t got = ::read(file.get(), block.data(), block.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return got == 0 ? content : std::string();
        }
        content.append(block.data(), static_cast<std::size_t>(got));
    }
}

/// The entries of an object whose values are all strings; anything else counts as an empty one.
std::map<std::string, std::string> stringEntries(const Json& object, const char* key) {
    std::map<std::string, std::string> entries;
    const auto found = object.find(key);
    if (found == object.end() || !found->is_object()) {
        return {};
    }
    for (const auto& [name, value] : found->items()) {
        if (!value.is_string()) {
            return {};
        }
        entries.emplace(name, value.get<std::string>());
    }
    return entries;
}

/// Pretty-printed, keys sorted, every slash escaped, one line feed at the end: the form that the command-line tool and
/// the application have always written.
std::string serialized(const Json& object) {
    std::string text;
    for (const char character : object.dump(2)) {
        // A slash can only stand inside a string.
        if (character == '/') {
            text += '\\';
        }
        text += character;
    }
    text += '\n';
    return text;
}

/// Holds the lock on a folder for its own lifetime.
class FolderLock {
public:
    explicit FolderLock(const std::filesystem::path& folder)
        : m_folder(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        checked(m_folder.get(), folder.c_str());
        int locked = 0;
        do {
            locked = ::flock(m_folder.get(), LOCK_EX);
        } while (locked < 0 && errno == EINTR);
        checked(locked, folder.c_str());
    }

private:
    UniqueFd m_folder;
};

} // namespace

ConfigStore::ConfigStore(std::filesystem::path file) : m_file(std::move(file)) {}

std::filesystem::path ConfigStore::configFile(const Bundle& bundle) {
    const std::optional<QString> configured = bundle.string(QStringLiteral("DWConfigDir"));
    const std::filesystem::path folder = configured ? expandTilde(configured->toStdString()) : home() / ".config/dw";
    return folder / "config.json";
}

std::optional<QString> ConfigStore::resolveHost() const {
    const std::optional<QString> variable = nonEmptyVariable("DW_HOST");
    return variable ? variable : nonEmptyString("host");
}

std::optional<QString> ConfigStore::localRepoPath() const {
    return nonEmptyString("localRepo");
}

std::optional<QString> ConfigStore::token(const PlatformConfig& config) const {
    const std::optional<QString> variable = nonEmptyVariable("DW_TOKEN");
    return variable ? variable : storedToken(config);
}

std::optional<QString> ConfigStore::storedToken(const PlatformConfig& config) const {
    const std::map<std::string, std::string> tokens = stringMap("tokens");
    const auto found = tokens.find(config.origin().toStdString());
    if (found == tokens.end() || found->second.empty()) {
        return std::nullopt;
    }
    return QString::fromStdString(found->second);
}

std::map<QString, std::filesystem::path> ConfigStore::folderMap() const {
    std::map<QString, std::filesystem::path> folders;
    for (const auto& [site, folder] : stringMap("folders")) {
        folders.emplace(QString::fromStdString(site), folder);
    }
    return folders;
}

void ConfigStore::saveConfig(const Json& updates) const {
    update([&updates](Json& object) {
        for (const auto& [key, value] : updates.items()) {
            object[key] = value;
        }
    });
}

void ConfigStore::saveToken(const std::optional<QString>& token, const PlatformConfig& config) const {
    update([&token, &config](Json& object) {
        std::map<std::string, std::string> tokens = stringEntries(object, "tokens");
        const std::string origin = config.origin().toStdString();
        if (token) {
            tokens.insert_or_assign(origin, token->toStdString());
        } else {
            tokens.erase(origin);
        }
        object["tokens"] = tokens;
    });
}

void ConfigStore::saveFolder(const QString& site, const std::filesystem::path& folder) const {
    try {
        update([&site, &folder](Json& object) {
            std::map<std::string, std::string> folders = stringEntries(object, "folders");
            folders.insert_or_assign(site.toStdString(), folder.string());
            object["folders"] = folders;
        });
    } catch (const std::exception&) {
        // The site is published all the same; only the memory of its folder is lost.
    }
}

void ConfigStore::signOut(const PlatformConfig& config) const {
    try {
        saveToken(std::nullopt, config);
    } catch (const std::exception&) {
        // The model forgets the session for this run even where the file cannot be written.
    }
}

Json ConfigStore::read() const {
    std::optional<Json> json = parseBoundedJson(contentOf(m_file));
    return json && json->is_object() ? std::move(*json) : Json::object();
}

std::map<std::string, std::string> ConfigStore::stringMap(const char* key) const {
    return stringEntries(read(), key);
}

std::optional<QString> ConfigStore::nonEmptyString(const char* key) const {
    const Json object = read();
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string() || found->get_ref<const std::string&>().empty()) {
        return std::nullopt;
    }
    return QString::fromStdString(found->get<std::string>());
}

void ConfigStore::update(const std::function<void(Json&)>& change) const {
    std::filesystem::create_directories(m_file.parent_path());
    const FolderLock lock(m_file.parent_path());
    Json object = read();
    change(object);
    replaceFile(m_file, serialized(object), S_IRUSR | S_IWUSR);
}

} // namespace driftwell
