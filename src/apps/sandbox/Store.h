#pragma once

#include "apps/sandbox/Database.h"

#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace driftwell::sandbox {

enum class AccessMode { Team, Restricted, Public };
[[nodiscard]] std::string_view accessModeName(AccessMode mode);
[[nodiscard]] std::optional<AccessMode> accessModeFromName(std::string_view name);

struct Access {
    AccessMode mode = AccessMode::Team;
    std::vector<std::string> emails;
    bool anyoneCanComment = false;
};

struct Site {
    std::string name;
    std::string owner;
    std::string liveVersion;
    std::optional<std::string> previousVersion;
    std::string deployedAt;
    std::string deployedBy;
    std::string lastAction;
    std::vector<std::string> libs;
    Access access;
    /// Whether people edit it together.
    bool collab = false;
    /// The name of its repository, once it has had one.
    std::optional<std::string> repository;
    /// The commit that is live, while people edit it together.
    std::optional<std::string> head;
    /// Whose push is being taken, by e-mail address.
    std::optional<std::string> pushedBy;
};

struct LogLine {
    std::string time;
    std::string kind;
    std::string user;
    std::string detail;
};

/// What a token opens: the API, or one hosted site.
struct TokenUse {
    std::string person;
    std::string scope;
};

/// All that the platform remembers apart from the files of the sites. Safe from every thread; each operation is one
/// transaction, so that a program that is killed leaves either all of it or nothing.
class Store {
public:
    explicit Store(const std::filesystem::path& file);

    [[nodiscard]] std::vector<Site> sites();
    [[nodiscard]] std::optional<Site> site(const std::string& name);
    [[nodiscard]] std::set<std::string> keptVersions();
    [[nodiscard]] std::set<std::string> keptRepositories();
    [[nodiscard]] std::int64_t deploysSince(const std::string& time);

    /// Makes an unpacked version the live one, and its commit, where it has one, the head. Gives the version that
    /// nothing refers to any more.
    [[nodiscard]] std::optional<std::string> publish(const std::string& site, const std::string& version,
                                                     const std::string& person, const std::string& detail,
                                                     const std::optional<std::string>& head = std::nullopt);
    enum class Rollback { Done, NoSite, NoPrevious };
    /// `head` as with publish().
    [[nodiscard]] Rollback rollBack(const std::string& site, const std::string& person,
                                    const std::optional<std::string>& head = std::nullopt);
    struct Removed {
        std::vector<std::string> versions;
        std::optional<std::string> repository;
    };
    /// Gives what is to be removed, or nothing when there is no such site. The log stays.
    [[nodiscard]] std::optional<Removed> remove(const std::string& site, const std::string& person);

    enum class Switch { Off, On };
    /// Each gives the site as it is afterwards, or nothing when there is none.
    [[nodiscard]] std::optional<Site> setLib(const std::string& site, const std::string& lib, Switch position);
    [[nodiscard]] std::optional<Site> startCollab(const std::string& site, const std::string& repository,
                                                  const std::string& head);
    [[nodiscard]] std::optional<Site> stopCollab(const std::string& site);

    /// Remembers whose push is about to be taken, or that there is none, for the case that it is not seen to its end.
    void expectPush(const std::string& site, const std::optional<std::string>& person);

    struct AccessChange {
        std::optional<AccessMode> mode;
        std::optional<std::vector<std::string>> emails;
        std::optional<bool> anyoneCanComment;
    };
    [[nodiscard]] std::optional<Site> setAccess(const std::string& site, const AccessChange& change,
                                                const std::string& person, const std::string& detail);

    /// The newest first.
    [[nodiscard]] std::vector<LogLine> log(const std::string& site, std::int64_t limit);

    void addToken(const std::string& tokenDigest, const TokenUse& use);
    [[nodiscard]] std::optional<TokenUse> token(const std::string& tokenDigest);

private:
    void prepareSchema();
    void makeFirstSchema();
    std::optional<Site> siteUnlocked(const std::string& name);
    void addLog(const std::string& site, std::string_view kind, std::string_view event, const std::string& person,
                const std::string& detail, const std::string& time);

    std::mutex m_mutex;
    Database m_database;
};

} // namespace driftwell::sandbox
