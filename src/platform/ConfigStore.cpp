#include "platform/ConfigStore.h"

#include "platform/JsonReader.h"
#include "platform/PlatformError.h"
#include "platform/Token.h"
#include "support/HomeFolder.h"

#include <QUtf8StringView>

#include <nlohmann/json.hpp>

#include <exception>
#include <utility>

namespace driftwell {

using Json = nlohmann::json;
using Loss = ConfigFile::Loss;

namespace {

bool isString(std::string_view value) {
    return value.starts_with('"');
}

bool isObject(std::string_view value) {
    return value.starts_with('{');
}

/// Absent for a text that is empty or has no form in Unicode.
std::optional<QString> textOf(const std::string& bytes) {
    if (bytes.empty() || !QUtf8StringView(bytes).isValidUtf8()) {
        return std::nullopt;
    }
    return QString::fromStdString(bytes);
}

/// The object of that key. What is there in its place, and does not count as nothing, is lost.
std::pair<JsonObjectText, Loss> objectAt(const JsonObjectText& file, const char* key) {
    const std::string_view value = file.find(key);
    if (isObject(value)) {
        return {JsonObjectText(value), Loss::None};
    }
    return {JsonObjectText(), value.empty() || value == "null" ? Loss::None : Loss::Some};
}

} // namespace

ConfigStore::ConfigStore(std::filesystem::path file, std::chrono::milliseconds lockTimeout)
    : m_file(std::move(file), lockTimeout) {}

std::filesystem::path ConfigStore::configFile(const Bundle& bundle) {
    const std::optional<QString> configured = bundle.string(QStringLiteral("DWConfigDir"));
    return expandTilde(configured ? configured->toStdString() : "~/.config/dw") / "config.json";
}

void ConfigStore::requireReadable() const {
    if (const std::optional<ConfigProblem> problem = m_file.problem()) {
        throw PlatformError::api(QStringLiteral("%1 cannot be used: %2")
                                     .arg(QString::fromStdString(problem->file.string()), problem->reason));
    }
}

std::optional<QString> ConfigStore::resolveHost() const {
    const QString variable = qEnvironmentVariable("DW_HOST");
    return variable.isEmpty() ? nonEmptyString("host") : variable;
}

std::optional<QString> ConfigStore::localRepoPath() const {
    return nonEmptyString("localRepo");
}

std::optional<QString> ConfigStore::token(const PlatformConfig& config) const {
    const std::optional<QString> variable = environmentToken();
    return variable ? variable : storedToken(config);
}

std::optional<QString> ConfigStore::environmentToken() {
    const QString variable = qEnvironmentVariable("DW_TOKEN").trimmed();
    return variable.isEmpty() ? std::nullopt : std::optional(variable);
}

std::optional<QString> ConfigStore::storedToken(const PlatformConfig& config) const {
    const StringMap tokens = stringMap("tokens");
    const auto found = tokens.find(config.origin().toStdString());
    return found == tokens.end() ? std::nullopt : textOf(found->second);
}

bool ConfigStore::hasTokenEntry(const PlatformConfig& config) const {
    const JsonObjectText tokens = objectAt(m_file.read(), "tokens").first;
    const std::string_view value = tokens.find(config.origin().toStdString());
    return !value.empty() && value != R"("")" && value != "null";
}

std::map<QString, std::filesystem::path> ConfigStore::folderMap() const {
    std::map<QString, std::filesystem::path> folders;
    for (const auto& [site, folder] : stringMap("folders")) {
        folders.emplace(QString::fromStdString(site), folder);
    }
    return folders;
}

void ConfigStore::saveConfig(const Json& updates) const {
    m_file.update([&updates](JsonObjectText& object) {
        for (const auto& [key, value] : updates.items()) {
            object.set(key, value.dump());
        }
        return Loss::None;
    });
}

void ConfigStore::saveToken(const std::optional<QString>& token, const PlatformConfig& config) const {
    const std::string origin = config.origin().toStdString();
    if (token) {
        requireSendable(*token, QStringLiteral("The token"));
        setEntry("tokens", origin, token->toStdString());
        return;
    }
    requireReadable();
    m_file.update([&origin](JsonObjectText& object) {
        auto [tokens, loss] = objectAt(object, "tokens");
        tokens.remove(origin);
        object.set("tokens", tokens.text());
        return loss;
    });
}

void ConfigStore::saveFolder(const QString& site, const std::filesystem::path& folder) const {
    try {
        setEntry("folders", site.toStdString(), folder.string());
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

void ConfigStore::setEntry(const char* map, const std::string& name, const std::string& value) const {
    const std::string text = Json(value).dump();
    m_file.update([&](JsonObjectText& object) {
        auto [entries, loss] = objectAt(object, map);
        // One entry that is no string makes all the others unreadable.
        if (entries.removeIf([](const std::string& entry) { return !isString(entry); }) > 0) {
            loss = Loss::Some;
        }
        entries.set(name, text);
        object.set(map, entries.text());
        return loss;
    });
}

/// The entries of an object whose values are all strings; anything else counts as an empty one.
ConfigStore::StringMap ConfigStore::stringMap(const char* key) const {
    StringMap strings;
    bool areStrings = true;
    objectAt(m_file.read(), key).first.forEach([&](const std::string& name, const std::string& value) {
        areStrings = areStrings && isString(value);
        if (areStrings) {
            strings.emplace(name, unescapedJson(value));
        }
    });
    return areStrings ? strings : StringMap();
}

std::optional<QString> ConfigStore::nonEmptyString(const char* key) const {
    const JsonObjectText object = m_file.read();
    const std::string_view value = object.find(key);
    return isString(value) ? textOf(unescapedJson(value)) : std::nullopt;
}

} // namespace driftwell
