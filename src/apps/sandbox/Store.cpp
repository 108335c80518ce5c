#include "apps/sandbox/Store.h"

#include "apps/sandbox/Text.h"

#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <map>
#include <stdexcept>
#include <utility>

namespace driftwell::sandbox {

namespace {

constexpr std::int64_t schemaVersion = 2;

constexpr std::array<std::pair<AccessMode, std::string_view>, 3> modeNames = {
    {{AccessMode::Team, "team"}, {AccessMode::Restricted, "restricted"}, {AccessMode::Public, "public"}}};

constexpr std::string_view siteColumns =
    "SELECT name, owner, live_version, previous_version, deployed_at, deployed_by, "
    "last_action, access_mode, access_emails, anyone_can_comment, collab, repository, head, pushed_by FROM sites";

std::string now() {
    return timestamp(std::chrono::system_clock::now());
}

std::string encodedEmails(const std::vector<std::string>& emails) {
    return nlohmann::json(emails).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

Site readSite(const Statement& row) {
    Site site;
    site.name = row.text(0);
    site.owner = row.text(1);
    site.liveVersion = row.text(2);
    site.previousVersion = row.optionalText(3);
    site.deployedAt = row.text(4);
    site.deployedBy = row.text(5);
    site.lastAction = row.text(6);
    site.access.mode = accessModeFromName(row.text(7)).value_or(AccessMode::Team);
    site.access.emails = nlohmann::json::parse(row.text(8)).get<std::vector<std::string>>();
    site.access.anyoneCanComment = row.integer(9) != 0;
    site.collab = row.integer(10) != 0;
    site.repository = row.optionalText(11);
    site.head = row.optionalText(12);
    site.pushedBy = row.optionalText(13);
    return site;
}

} // namespace

std::string_view accessModeName(AccessMode mode) {
    for (const auto& [value, name] : modeNames) {
        if (value == mode) {
            return name;
        }
    }
    return {};
}

std::optional<AccessMode> accessModeFromName(std::string_view name) {
    for (const auto& [value, known] : modeNames) {
        if (known == name) {
            return value;
        }
    }
    return std::nullopt;
}

Store::Store(const std::filesystem::path& file) : m_database(file) {
    prepareSchema();
}

void Store::prepareSchema() {
    m_database.run("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON");
    std::int64_t version = 0;
    {
        Statement statement(m_database, "PRAGMA user_version");
        if (statement.step()) {
            version = statement.integer(0);
        }
    }
    if (version > schemaVersion) {
        throw std::runtime_error("the data folder was written by a newer sandbox");
    }
    if (version == schemaVersion) {
        return;
    }
    Transaction transaction(m_database);
    if (version < 1) {
        makeFirstSchema();
    }
    m_database.run(R"(
        ALTER TABLE sites ADD COLUMN repository TEXT;
        ALTER TABLE sites ADD COLUMN head TEXT;
        ALTER TABLE sites ADD COLUMN pushed_by TEXT;
        PRAGMA user_version = 2;
    )");
    transaction.commit();
}

void Store::makeFirstSchema() {
    m_database.run(R"(
        CREATE TABLE sites (
            name TEXT PRIMARY KEY,
            owner TEXT NOT NULL,
            live_version TEXT NOT NULL,
            previous_version TEXT,
            deployed_at TEXT NOT NULL,
            deployed_by TEXT NOT NULL,
            last_action TEXT NOT NULL,
            access_mode TEXT NOT NULL DEFAULT 'team',
            access_emails TEXT NOT NULL DEFAULT '[]',
            anyone_can_comment INTEGER NOT NULL DEFAULT 0,
            collab INTEGER NOT NULL DEFAULT 0
        ) WITHOUT ROWID;
        CREATE TABLE site_libs (
            site TEXT NOT NULL REFERENCES sites (name) ON DELETE CASCADE,
            lib TEXT NOT NULL,
            PRIMARY KEY (site, lib)
        ) WITHOUT ROWID;
        CREATE TABLE logs (
            id INTEGER PRIMARY KEY,
            site TEXT NOT NULL,
            time TEXT NOT NULL,
            kind TEXT NOT NULL,
            event TEXT NOT NULL,
            person TEXT NOT NULL,
            detail TEXT NOT NULL
        );
        CREATE INDEX logs_by_site ON logs (site, id);
        CREATE INDEX logs_by_event ON logs (event, time);
        CREATE TABLE tokens (
            digest TEXT PRIMARY KEY,
            person TEXT NOT NULL,
            scope TEXT NOT NULL,
            created_at TEXT NOT NULL
        ) WITHOUT ROWID;
    )");
}

std::vector<Site> Store::sites() {
    const std::lock_guard lock(m_mutex);
    std::map<std::string, std::vector<std::string>> libs;
    Statement libRows(m_database, "SELECT site, lib FROM site_libs ORDER BY site, lib");
    while (libRows.step()) {
        libs[libRows.text(0)].push_back(libRows.text(1));
    }
    std::vector<Site> sites;
    Statement rows(m_database, std::string(siteColumns) + " ORDER BY name");
    while (rows.step()) {
        Site site = readSite(rows);
        if (const auto found = libs.find(site.name); found != libs.end()) {
            site.libs = std::move(found->second);
        }
        sites.push_back(std::move(site));
    }
    return sites;
}

std::optional<Site> Store::site(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    return siteUnlocked(name);
}

std::optional<Site> Store::siteUnlocked(const std::string& name) {
    Statement row(m_database, std::string(siteColumns) + " WHERE name = ?");
    if (!row.bind(name).step()) {
        return std::nullopt;
    }
    Site site = readSite(row);
    Statement libs(m_database, "SELECT lib FROM site_libs WHERE site = ? ORDER BY lib");
    libs.bind(name);
    while (libs.step()) {
        site.libs.push_back(libs.text(0));
    }
    return site;
}

std::set<std::string> Store::keptVersions() {
    const std::lock_guard lock(m_mutex);
    std::set<std::string> kept;
    Statement rows(m_database, "SELECT live_version FROM sites UNION "
                               "SELECT previous_version FROM sites WHERE previous_version IS NOT NULL");
    while (rows.step()) {
        kept.insert(rows.text(0));
    }
    return kept;
}

std::set<std::string> Store::keptRepositories() {
    const std::lock_guard lock(m_mutex);
    std::set<std::string> kept;
    Statement rows(m_database, "SELECT repository FROM sites WHERE repository IS NOT NULL");
    while (rows.step()) {
        kept.insert(rows.text(0));
    }
    return kept;
}

std::int64_t Store::deploysSince(const std::string& time) {
    const std::lock_guard lock(m_mutex);
    Statement row(m_database, "SELECT count(*) FROM logs WHERE event = 'deploy' AND time >= ?");
    return row.bind(time).step() ? row.integer(0) : 0;
}

void Store::addLog(const std::string& site, std::string_view kind, std::string_view event, const std::string& person,
                   const std::string& detail, const std::string& time) {
    Statement(m_database, "INSERT INTO logs (site, time, kind, event, person, detail) VALUES (?, ?, ?, ?, ?, ?)")
        .bind(site)
        .bind(time)
        .bind(kind)
        .bind(event)
        .bind(person)
        .bind(detail)
        .run();
}

std::optional<std::string> Store::publish(const std::string& site, const std::string& version,
                                          const std::string& person, const std::string& detail,
                                          const std::optional<std::string>& head) {
    const std::lock_guard lock(m_mutex);
    Transaction transaction(m_database);
    const std::string time = now();
    const auto before = siteUnlocked(site);
    // The owner is who deploys first, and stays so.
    Statement(m_database,
              "INSERT INTO sites (name, owner, live_version, deployed_at, deployed_by, last_action, head) "
              "VALUES (?, ?, ?, ?, ?, 'deploy', ?) "
              "ON CONFLICT (name) DO UPDATE SET previous_version = live_version, live_version = excluded.live_version, "
              "deployed_at = excluded.deployed_at, deployed_by = excluded.deployed_by, last_action = 'deploy', "
              "head = coalesce(excluded.head, head), pushed_by = NULL")
        .bind(site)
        .bind(person)
        .bind(version)
        .bind(time)
        .bind(person)
        .bindOptional(head)
        .run();
    addLog(site, "deploy", "deploy", person, detail, time);
    transaction.commit();
    return before ? before->previousVersion : std::nullopt;
}

Store::Rollback Store::rollBack(const std::string& site, const std::string& person,
                                const std::optional<std::string>& head) {
    const std::lock_guard lock(m_mutex);
    Transaction transaction(m_database);
    const auto before = siteUnlocked(site);
    if (!before) {
        return Rollback::NoSite;
    }
    if (!before->previousVersion) {
        return Rollback::NoPrevious;
    }
    const std::string time = now();
    Statement(m_database, "UPDATE sites SET live_version = previous_version, previous_version = live_version, "
                          "deployed_at = ?, deployed_by = ?, last_action = 'rollback', head = coalesce(?, head), "
                          "pushed_by = NULL WHERE name = ?")
        .bind(time)
        .bind(person)
        .bindOptional(head)
        .bind(site)
        .run();
    addLog(site, "deploy", "rollback", person, "rolled back to the version before", time);
    transaction.commit();
    return Rollback::Done;
}

std::optional<Store::Removed> Store::remove(const std::string& site, const std::string& person) {
    const std::lock_guard lock(m_mutex);
    Transaction transaction(m_database);
    const auto before = siteUnlocked(site);
    if (!before) {
        return std::nullopt;
    }
    Statement(m_database, "DELETE FROM sites WHERE name = ?").bind(site).run();
    addLog(site, "api", "delete", person, "Deleted the site", now());
    transaction.commit();
    Removed removed{{before->liveVersion}, before->repository};
    if (before->previousVersion) {
        removed.versions.push_back(*before->previousVersion);
    }
    return removed;
}

std::optional<Site> Store::setLib(const std::string& site, const std::string& lib, Switch position) {
    const std::lock_guard lock(m_mutex);
    Transaction transaction(m_database);
    if (!siteUnlocked(site)) {
        return std::nullopt;
    }
    Statement(m_database, position == Switch::On ? "INSERT OR IGNORE INTO site_libs (site, lib) VALUES (?, ?)"
                                                 : "DELETE FROM site_libs WHERE site = ? AND lib = ?")
        .bind(site)
        .bind(lib)
        .run();
    transaction.commit();
    return siteUnlocked(site);
}

std::optional<Site> Store::startCollab(const std::string& site, const std::string& repository,
                                       const std::string& head) {
    const std::lock_guard lock(m_mutex);
    Statement(m_database, "UPDATE sites SET collab = 1, repository = ?, head = ?, pushed_by = NULL WHERE name = ?")
        .bind(repository)
        .bind(head)
        .bind(site)
        .run();
    return siteUnlocked(site);
}

std::optional<Site> Store::stopCollab(const std::string& site) {
    const std::lock_guard lock(m_mutex);
    Statement(m_database, "UPDATE sites SET collab = 0 WHERE name = ?").bind(site).run();
    return siteUnlocked(site);
}

void Store::expectPush(const std::string& site, const std::optional<std::string>& person) {
    const std::lock_guard lock(m_mutex);
    Statement(m_database, "UPDATE sites SET pushed_by = ? WHERE name = ?").bindOptional(person).bind(site).run();
}

std::optional<Site> Store::setAccess(const std::string& site, const AccessChange& change, const std::string& person,
                                     const std::string& detail) {
    const std::lock_guard lock(m_mutex);
    Transaction transaction(m_database);
    auto changed = siteUnlocked(site);
    if (!changed) {
        return std::nullopt;
    }
    Access& access = changed->access;
    access.mode = change.mode.value_or(access.mode);
    access.emails = change.emails.value_or(access.emails);
    access.anyoneCanComment = change.anyoneCanComment.value_or(access.anyoneCanComment);
    Statement(m_database, "UPDATE sites SET access_mode = ?, access_emails = ?, anyone_can_comment = ? WHERE name = ?")
        .bind(accessModeName(access.mode))
        .bind(encodedEmails(access.emails))
        .bind(access.anyoneCanComment ? std::int64_t{1} : std::int64_t{0})
        .bind(site)
        .run();
    addLog(site, "api", "access", person, detail, now());
    transaction.commit();
    return changed;
}

std::vector<LogLine> Store::log(const std::string& site, std::int64_t limit) {
    const std::lock_guard lock(m_mutex);
    std::vector<LogLine> lines;
    Statement rows(m_database, "SELECT time, kind, person, detail FROM logs WHERE site = ? ORDER BY id DESC LIMIT ?");
    rows.bind(site).bind(limit);
    while (rows.step()) {
        lines.push_back({rows.text(0), rows.text(1), rows.text(2), rows.text(3)});
    }
    return lines;
}

void Store::addToken(const std::string& tokenDigest, const TokenUse& use) {
    const std::lock_guard lock(m_mutex);
    Statement(m_database, "INSERT INTO tokens (digest, person, scope, created_at) VALUES (?, ?, ?, ?)")
        .bind(tokenDigest)
        .bind(use.person)
        .bind(use.scope)
        .bind(now())
        .run();
}

std::optional<TokenUse> Store::token(const std::string& tokenDigest) {
    const std::lock_guard lock(m_mutex);
    Statement row(m_database, "SELECT person, scope FROM tokens WHERE digest = ?");
    if (!row.bind(tokenDigest).step()) {
        return std::nullopt;
    }
    return TokenUse{row.text(0), row.text(1)};
}

} // namespace driftwell::sandbox
