#include "platform/RecordDecoder.h"

#include "platform/BoundedJson.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <string>
#include <utility>

namespace driftwell {

using Json = nlohmann::json;

const char* DecodeError::what() const noexcept {
    return "the answer is not the expected record";
}

namespace {

Json parse(const QByteArray& bytes) {
    std::optional<Json> json = parseBoundedJson({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    if (!json) {
        throw DecodeError();
    }
    return std::move(*json);
}

// One overload per type that a field can have; each throws DecodeError for a value of another type.
void decode(const Json& json, QString& value);
void decode(const Json& json, bool& value);
void decode(const Json& json, std::int64_t& value);
void decode(const Json& json, SiteAccessMode& value);
void decode(const Json& json, SiteInfo::LastAction& value);
void decode(const Json& json, LogEntry::Kind& value);
void decode(const Json& json, SiteInfo& record);
void decode(const Json& json, SiteAccess& record);
void decode(const Json& json, SiteCollabInfo& record);
void decode(const Json& json, Identity& record);
void decode(const Json& json, LibInfo& record);
void decode(const Json& json, LibInfo::Manifest& record);
void decode(const Json& json, StatsResponse& record);
void decode(const Json& json, LogEntry& record);
void decode(const Json& json, SitesResponse& record);
void decode(const Json& json, LibsResponse& record);
void decode(const Json& json, LogsResponse& record);
void decode(const Json& json, DeployResponse& record);
void decode(const Json& json, RollbackResponse& record);
void decode(const Json& json, DeleteSiteResponse& record);
void decode(const Json& json, CollabToggleResponse& record);
void decode(const Json& json, SiteAccessResponse& record);
void decode(const Json& json, SiteLibsResponse& record);
void decode(const Json& json, ApiErrorBody& record);
void decode(const Json& json, AnswerVerdict& record);

template <class T> void decode(const Json& json, QList<T>& list) {
    if (!json.is_array()) {
        throw DecodeError();
    }
    list.reserve(static_cast<qsizetype>(json.size()));
    for (const Json& element : json) {
        decode(element, list.emplace_back());
    }
}

template <class T> void decode(const Json& json, std::optional<T>& value) {
    if (!json.is_null()) {
        decode(json, value.emplace());
    }
}

/// Reads the fields of one JSON object.
class Fields {
public:
    explicit Fields(const Json& json) : m_json(json) {
        if (!json.is_object()) {
            throw DecodeError();
        }
    }

    template <class T> const Fields& required(const char* key, T& value) const {
        const auto found = m_json.find(key);
        if (found == m_json.end()) {
            throw DecodeError();
        }
        decode(*found, value);
        return *this;
    }

    template <class T> const Fields& optional(const char* key, std::optional<T>& value) const {
        if (const auto found = m_json.find(key); found != m_json.end()) {
            decode(*found, value);
        }
        return *this;
    }

private:
    const Json& m_json;
};

template <class Enumeration>
void decodeNamed(const Json& json, Enumeration& value,
                 std::initializer_list<std::pair<const char*, Enumeration>> names) {
    if (json.is_string()) {
        const auto& text = json.get_ref<const std::string&>();
        for (const auto& [name, named] : names) {
            if (text == name) {
                value = named;
                return;
            }
        }
    }
    throw DecodeError();
}

void decode(const Json& json, QString& value) {
    if (!json.is_string()) {
        throw DecodeError();
    }
    value = QString::fromStdString(json.get_ref<const std::string&>());
}

void decode(const Json& json, bool& value) {
    if (!json.is_boolean()) {
        throw DecodeError();
    }
    value = json.get<bool>();
}

void decode(const Json& json, std::int64_t& value) {
    const bool tooLarge =
        json.is_number_unsigned() &&
        json.get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (!json.is_number_integer() || tooLarge) {
        throw DecodeError();
    }
    value = json.get<std::int64_t>();
}

void decode(const Json& json, SiteAccessMode& value) {
    decodeNamed(json, value,
                {{"team", SiteAccessMode::Team},
                 {"restricted", SiteAccessMode::Restricted},
                 {"public", SiteAccessMode::Public}});
}

void decode(const Json& json, SiteInfo::LastAction& value) {
    decodeNamed(json, value, {{"deploy", SiteInfo::LastAction::Deploy}, {"rollback", SiteInfo::LastAction::Rollback}});
}

void decode(const Json& json, LogEntry::Kind& value) {
    decodeNamed(json, value,
                {{"api", LogEntry::Kind::Api}, {"ws", LogEntry::Kind::Ws}, {"deploy", LogEntry::Kind::Deploy}});
}

void decode(const Json& json, SiteInfo& record) {
    Fields(json)
        .required("name", record.name)
        .required("url", record.url)
        .optional("deployedAt", record.deployedAt)
        .optional("deployedBy", record.deployedBy)
        .optional("lastAction", record.lastAction)
        .required("hasPrevious", record.hasPrevious)
        .optional("libs", record.libs)
        .optional("access", record.access)
        .optional("collab", record.collab);
}

void decode(const Json& json, SiteAccess& record) {
    Fields(json)
        .required("mode", record.mode)
        .required("emails", record.emails)
        .optional("owner", record.owner)
        .optional("anyoneCanComment", record.anyoneCanComment);
}

void decode(const Json& json, SiteCollabInfo& record) {
    Fields(json).required("enabled", record.enabled).optional("head", record.head);
}

void decode(const Json& json, Identity& record) {
    Fields(json)
        .required("id", record.id)
        .required("name", record.name)
        .required("email", record.email)
        .required("avatar", record.avatar)
        .required("handle", record.handle);
}

void decode(const Json& json, LibInfo::Manifest& record) {
    Fields(json)
        .required("name", record.name)
        .required("version", record.version)
        .required("description", record.description)
        .required("author", record.author);
}

void decode(const Json& json, LibInfo& record) {
    Fields(json)
        .required("name", record.name)
        .required("moduleUrl", record.moduleUrl)
        .required("skillUrl", record.skillUrl)
        .required("manifest", record.manifest);
}

void decode(const Json& json, StatsResponse& record) {
    Fields(json)
        .required("sites", record.sites)
        .required("libs", record.libs)
        .required("docs", record.docs)
        .required("kvKeys", record.kvKeys)
        .required("deploysLast7d", record.deploysLast7d)
        .required("wsConnections", record.wsConnections);
}

void decode(const Json& json, LogEntry& record) {
    Fields(json)
        .required("ts", record.ts)
        .required("kind", record.kind)
        .required("user", record.user)
        .required("detail", record.detail);
}

void decode(const Json& json, SitesResponse& record) {
    Fields(json).required("sites", record.sites);
}

void decode(const Json& json, LibsResponse& record) {
    Fields(json).required("libs", record.libs);
}

void decode(const Json& json, LogsResponse& record) {
    Fields(json).required("site", record.site).required("entries", record.entries);
}

void decode(const Json& json, DeployResponse& record) {
    Fields(json)
        .required("ok", record.ok)
        .required("site", record.site)
        .required("url", record.url)
        .required("bytes", record.bytes)
        .required("files", record.files)
        .required("skipped", record.skipped);
}

void decode(const Json& json, RollbackResponse& record) {
    Fields(json).required("ok", record.ok).required("site", record.site).required("url", record.url);
}

void decode(const Json& json, DeleteSiteResponse& record) {
    Fields(json).required("ok", record.ok).required("site", record.site);
}

void decode(const Json& json, CollabToggleResponse& record) {
    Fields(json).required("ok", record.ok).required("site", record.site).required("enabled", record.enabled);
}

void decode(const Json& json, SiteAccessResponse& record) {
    Fields(json)
        .required("site", record.site)
        .required("mode", record.mode)
        .required("emails", record.emails)
        .optional("owner", record.owner)
        .optional("anyoneCanComment", record.anyoneCanComment);
}

void decode(const Json& json, SiteLibsResponse& record) {
    Fields(json).required("site", record.site).required("libs", record.libs);
}

void decode(const Json& json, ApiErrorBody& record) {
    Fields(json).required("error", record.error).required("code", record.code);
}

void decode(const Json& json, AnswerVerdict& record) {
    record.refused = json.is_object() && json.value("ok", Json()) == Json(false);
    if (record.refused && json.value("error", Json()).is_string()) {
        decode(json["error"], record.error);
    }
}

} // namespace

template <class Record> Record decodeRecord(const QByteArray& json) {
    Record record;
    decode(parse(json), record);
    return record;
}

template SitesResponse decodeRecord(const QByteArray&);
template LibsResponse decodeRecord(const QByteArray&);
template LogsResponse decodeRecord(const QByteArray&);
template StatsResponse decodeRecord(const QByteArray&);
template Identity decodeRecord(const QByteArray&);
template DeployResponse decodeRecord(const QByteArray&);
template RollbackResponse decodeRecord(const QByteArray&);
template DeleteSiteResponse decodeRecord(const QByteArray&);
template CollabToggleResponse decodeRecord(const QByteArray&);
template SiteAccessResponse decodeRecord(const QByteArray&);
template SiteLibsResponse decodeRecord(const QByteArray&);
template ApiErrorBody decodeRecord(const QByteArray&);
template AnswerVerdict decodeRecord(const QByteArray&);
template std::optional<Identity> decodeRecord(const QByteArray&);
template std::optional<LogsResponse> decodeRecord(const QByteArray&);

} // namespace driftwell
