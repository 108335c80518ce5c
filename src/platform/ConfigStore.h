#pragma once

#include "platform/PlatformConfig.h"
#include "support/Bundle.h"

#include <QString>

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <functional>
#include <map>
#include <optional>

namespace driftwell {

/// The session file, config.json, shared by the application and the command-line tool: the host, one token per platform
/// origin, the folder last published for each site, and the local platform checkout.
///
/// One JSON object with the optional keys "host" (string), "tokens" (object of strings, keyed by origin), "folders"
/// (object of strings, keyed by site name) and "localRepo" (string). Any other key is kept, value for value. Nothing is
/// cached: every call reads the file, so what another process wrote holds from the next call on. Readers never fail:
/// a missing or damaged file, or a value of another shape, reads as absent or empty. A damaged file is replaced by the
/// next save.
///
/// Saves take a lock on the file's folder (flock(2)) around read, change and replace, so that two of our own processes
/// saving at once lose nothing; see AtomicFile.h for what a reader or a crash can see. The file's permissions become
/// 0600 on every save.
///
/// The environment variables DW_HOST and DW_TOKEN, where they are set and not empty, come before the file. Used on the
/// main thread.
class ConfigStore {
public:
    explicit ConfigStore(std::filesystem::path file);

    /// The folder that the bundle's information dictionary names under DWConfigDir, a leading tilde expanded, or else
    /// ~/.config/dw; and in it config.json.
    [[nodiscard]] static std::filesystem::path configFile(const Bundle& bundle);

    [[nodiscard]] const std::filesystem::path& file() const { return m_file; }

    /// DW_HOST, or the key "host".
    [[nodiscard]] std::optional<QString> resolveHost() const;
    [[nodiscard]] std::optional<QString> localRepoPath() const;

    /// DW_TOKEN, which holds for every origin, or the origin's entry in "tokens".
    [[nodiscard]] std::optional<QString> token(const PlatformConfig& config) const;

    /// The origin's entry in "tokens", whatever the environment says.
    [[nodiscard]] std::optional<QString> storedToken(const PlatformConfig& config) const;

    /// Site names and the absolute folder last published or linked for each.
    [[nodiscard]] std::map<QString, std::filesystem::path> folderMap() const;

    /// Sets top-level keys, each replacing its old value whole, and creates the file and its folder where missing.
    /// Throws std::system_error when writing fails; the old file is then as it was.
    void saveConfig(const nlohmann::json& updates) const;

    /// Stores the origin's token, or removes it when there is none. Throws like saveConfig().
    void saveToken(const std::optional<QString>& token, const PlatformConfig& config) const;

    /// Remembers a site's folder. A failure to write is not reported: this is a convenience.
    void saveFolder(const QString& site, const std::filesystem::path& folder) const;

    /// Removes the origin's token. A failure to write is not reported.
    void signOut(const PlatformConfig& config) const;

private:
    [[nodiscard]] nlohmann::json read() const;
    [[nodiscard]] std::map<std::string, std::string> stringMap(const char* key) const;
    [[nodiscard]] std::optional<QString> nonEmptyString(const char* key) const;
    void update(const std::function<void(nlohmann::json&)>& change) const;

    std::filesystem::path m_file;
};

} // namespace driftwell
