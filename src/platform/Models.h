#pragma once

#include <QList>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>

/// The records that the platform's HTTP API sends. A JSON key is the field's name, exactly. A field that is not
/// optional must be there with its own type, or the whole answer does not decode; an optional one may be absent or
/// null; unknown keys are ignored. Times are kept as the platform's text and parsed where they are used
/// (timestampFromIso).
namespace driftwell {

/// Who may open a site: "team", "restricted", "public".
enum class SiteAccessMode { Team, Restricted, Public };

inline constexpr std::array<SiteAccessMode, 3> siteAccessModes{SiteAccessMode::Team, SiteAccessMode::Restricted,
                                                               SiteAccessMode::Public};

/// The text by which the API names a mode.
[[nodiscard]] QString rawValue(SiteAccessMode mode);

/// Who may see a site.
struct SiteAccess {
    SiteAccessMode mode = SiteAccessMode::Team;
    /// Invited people, for Restricted.
    QList<QString> emails;
    std::optional<QString> owner;
    /// Comments are open to all viewers.
    std::optional<bool> anyoneCanComment;

    /// What holds for a site that carries no access record.
    [[nodiscard]] static const SiteAccess& teamDefault();

    bool operator==(const SiteAccess&) const = default;
};

/// Working together on a site through git.
struct SiteCollabInfo {
    bool enabled = false;
    /// The current head revision on the platform.
    std::optional<QString> head;

    bool operator==(const SiteCollabInfo&) const = default;
};

/// One site of the team; `name` identifies it.
struct SiteInfo {
    /// What produced the live version: "deploy", "rollback".
    enum class LastAction { Deploy, Rollback };

    QString name;
    QString url;
    /// An ISO 8601 time.
    std::optional<QString> deployedAt;
    std::optional<QString> deployedBy;
    std::optional<LastAction> lastAction;
    /// A previous version exists, so the site can be rolled back.
    bool hasPrevious = false;
    /// Names of the shared libraries that are switched on.
    std::optional<QList<QString>> libs;
    std::optional<SiteAccess> access;
    std::optional<SiteCollabInfo> collab;

    bool operator==(const SiteInfo&) const = default;
};

/// The signed-in person.
struct Identity {
    QString id;
    QString name;
    QString email;
    /// A reference to a picture, as the platform gives it; may be empty.
    QString avatar;
    QString handle;

    bool operator==(const Identity&) const = default;
};

/// One shared library of the platform; `name` identifies it.
struct LibInfo {
    struct Manifest {
        QString name;
        QString version;
        QString description;
        QString author;

        bool operator==(const Manifest&) const = default;
    };

    QString name;
    QString moduleUrl;
    /// The address of the text that teaches a coding agent to use the library.
    QString skillUrl;
    Manifest manifest;

    bool operator==(const LibInfo&) const = default;
};

/// Counters of the whole platform.
struct StatsResponse {
    std::int64_t sites = 0;
    std::int64_t libs = 0;
    std::int64_t docs = 0;
    std::int64_t kvKeys = 0;
    std::int64_t deploysLast7d = 0;
    std::int64_t wsConnections = 0;

    bool operator==(const StatsResponse&) const = default;
};

/// One line of a site's log.
struct LogEntry {
    /// Where the line comes from: "api", "ws", "deploy".
    enum class Kind { Api, Ws, Deploy };

    QString ts;
    Kind kind = Kind::Api;
    QString user;
    QString detail;

    /// ts, user and detail joined by dashes. Lines that differ only in kind share it.
    [[nodiscard]] QString id() const;

    bool operator==(const LogEntry&) const = default;
};

/// The text by which the API names a kind.
[[nodiscard]] QString rawValue(LogEntry::Kind kind);

/// Whether a line of the kind Deploy tells of a return to the version before, and not of a deployment.
[[nodiscard]] bool isRollback(const LogEntry& entry);

struct SitesResponse {
    QList<SiteInfo> sites;
};

struct LibsResponse {
    QList<LibInfo> libs;
};

struct LogsResponse {
    QString site;
    QList<LogEntry> entries;
};

struct DeployResponse {
    bool ok = false;
    QString site;
    QString url;
    std::int64_t bytes = 0;
    std::int64_t files = 0;
    /// Members of the archive that the platform left out.
    std::int64_t skipped = 0;

    bool operator==(const DeployResponse&) const = default;
};

struct RollbackResponse {
    bool ok = false;
    QString site;
    QString url;
};

struct DeleteSiteResponse {
    bool ok = false;
    QString site;
};

struct CollabToggleResponse {
    bool ok = false;
    QString site;
    bool enabled = false;
};

struct SiteAccessResponse {
    QString site;
    SiteAccessMode mode = SiteAccessMode::Team;
    QList<QString> emails;
    std::optional<QString> owner;
    std::optional<bool> anyoneCanComment;
};

struct SiteLibsResponse {
    QString site;
    QList<QString> libs;
};

/// The body of a refusal. Both fields are required: a body with a message but no code is no ApiErrorBody.
struct ApiErrorBody {
    QString error;
    /// Machine-readable, for example "not_team".
    QString code;
};

/// What an answer of any shape says of itself beside its record: whether it holds "ok": false, and its "error", empty
/// where that is no text.
struct AnswerVerdict {
    bool refused = false;
    QString error;
};

} // namespace driftwell
