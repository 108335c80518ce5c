#pragma once

#include "platform/ConfigFile.h"
#include "platform/PlatformConfig.h"
#include "support/Bundle.h"

#include <QString>

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace driftwell {

/// The session file, config.json, shared by the application and the command-line tool: the host, one token per platform
/// origin, the folder last published for each site, and the local platform checkout.
///
/// One JSON object with the optional keys "host" (string), "tokens" (object of strings, keyed by origin), "folders"
/// (object of strings, keyed by site name) and "localRepo" (string). Any other key is kept, its value as the text that
/// it is. Nothing is cached: every call reads the file, so what another process wrote holds from the next call on.
/// Readers never fail: a missing or damaged file, or a value of another shape, reads as absent or empty; problem()
/// tells a damaged file from a missing one. A save loses nothing that it does not understand: see ConfigFile.h, also
/// for the lock and the permissions.
///
/// The environment variables DW_HOST and DW_TOKEN, where they are set and not empty, come before the file; blanks and
/// line breaks around DW_TOKEN do not count. Used on the main thread. Copies are the same store.
class ConfigStore {
public:
    /// How long a save waits for another process's.
    static constexpr std::chrono::seconds usualLockTimeout{2};

    explicit ConfigStore(std::filesystem::path file, std::chrono::milliseconds lockTimeout = usualLockTimeout);

    /// The folder that the bundle's information dictionary names under DWConfigDir, a leading tilde expanded, or else
    /// ~/.config/dw; and in it config.json.
    [[nodiscard]] static std::filesystem::path configFile(const Bundle& bundle);

    [[nodiscard]] const std::filesystem::path& file() const { return m_file.path(); }

    /// Why the file, which is there, cannot be read or understood.
    [[nodiscard]] std::optional<ConfigProblem> problem() const { return m_file.problem(); }

    /// Throws PlatformError::api with the file and the reason when there is a problem(). For whoever is about to tell a
    /// person that something is not stored.
    void requireReadable() const;

    /// The files that saves of this process have kept aside since the last call, since they could not be understood.
    [[nodiscard]] std::vector<std::filesystem::path> takeKeptFiles() const { return m_file.takeKept(); }

    /// DW_HOST or the key "host".
    [[nodiscard]] std::optional<QString> resolveHost() const;

    /// The key "localRepo".
    [[nodiscard]] std::optional<QString> localRepoPath() const;

    /// DW_TOKEN, which holds for every origin, or the origin's entry in "tokens".
    [[nodiscard]] std::optional<QString> token(const PlatformConfig& config) const;

    /// DW_TOKEN without blanks around it.
    [[nodiscard]] static std::optional<QString> environmentToken();

    /// The origin's entry in "tokens", whatever the environment says.
    [[nodiscard]] std::optional<QString> storedToken(const PlatformConfig& config) const;

    /// Whether "tokens" has an entry for the origin, also where another entry keeps it from being read.
    [[nodiscard]] bool hasTokenEntry(const PlatformConfig& config) const;

    /// Site names and the absolute folder last published or linked for each.
    [[nodiscard]] std::map<QString, std::filesystem::path> folderMap() const;

    /// Sets top-level keys, each replacing its old value whole, and creates the file and its folder where missing.
    /// Throws std::system_error when writing fails; the old file is then as it was.
    void saveConfig(const nlohmann::json& updates) const;

    /// Stores the origin's token, or removes it when there is none. Throws like saveConfig(), PlatformError::api for a
    /// token that cannot be sent (Token.h), and when there is one to remove from a file that cannot be understood.
    void saveToken(const std::optional<QString>& token, const PlatformConfig& config) const;

    /// Remembers a site's folder. A failure to write is not reported: this is a convenience.
    void saveFolder(const QString& site, const std::filesystem::path& folder) const;

    /// Removes the origin's token. A failure to write is not reported.
    void signOut(const PlatformConfig& config) const;

private:
    using StringMap = std::map<std::string, std::string>;

    [[nodiscard]] StringMap stringMap(const char* key) const;
    [[nodiscard]] std::optional<QString> nonEmptyString(const char* key) const;
    void setEntry(const char* map, const std::string& name, const std::string& value) const;

    ConfigFile m_file;
};

} // namespace driftwell
