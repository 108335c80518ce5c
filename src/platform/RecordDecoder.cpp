#include "platform/RecordDecoder.h"

#include "platform/JsonReader.h"

#include <QByteArrayView>

#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace driftwell {

const char* DecodeError::what() const noexcept {
    return "the answer is not the expected record";
}

namespace {

/// What a QString's characters cost beside themselves: their header, and what the allocator rounds up.
constexpr std::size_t stringOverhead = 32;

/// A reader that keeps count of the memory of what is made of its text. A few bytes of text can become hundreds: an
/// empty string is three, a QString twenty-four.
class Source : public JsonReader {
public:
    using JsonReader::JsonReader;

    /// Throws DecodeError when the records have become too large.
    void charge(std::size_t bytes) {
        if (bytes > m_left) {
            throw DecodeError();
        }
        m_left -= bytes;
    }

private:
    std::size_t m_left = maximumRecordBytes;
};

// One overload per type that a field can have; each reads one value and throws DecodeError for one of another type.
void decode(Source& json, QString& value);
void decode(Source& json, bool& value);
void decode(Source& json, std::int64_t& value);
void decode(Source& json, SiteAccessMode& value);
void decode(Source& json, SiteInfo::LastAction& value);
void decode(Source& json, LogEntry::Kind& value);
void decode(Source& json, SiteInfo& record);
void decode(Source& json, SiteAccess& record);
void decode(Source& json, SiteCollabInfo& record);
void decode(Source& json, Identity& record);
void decode(Source& json, LibInfo& record);
void decode(Source& json, LibInfo::Manifest& record);
void decode(Source& json, StatsResponse& record);
void decode(Source& json, LogEntry& record);
void decode(Source& json, SitesResponse& record);
void decode(Source& json, LibsResponse& record);
void decode(Source& json, LogsResponse& record);
void decode(Source& json, DeployResponse& record);
void decode(Source& json, RollbackResponse& record);
void decode(Source& json, DeleteSiteResponse& record);
void decode(Source& json, CollabToggleResponse& record);
void decode(Source& json, SiteAccessResponse& record);
void decode(Source& json, SiteLibsResponse& record);
void decode(Source& json, ApiErrorBody& record);
void decode(Source& json, AnswerVerdict& record);

void expect(Source& json, char first) {
    if (json.peek() != first) {
        throw DecodeError();
    }
}

template <class T> void decode(Source& json, QList<T>& list) {
    expect(json, '[');
    list.clear();
    json.array([&json, &list] {
        const qsizetype before = list.capacity();
        T& element = list.emplace_back();
        // What the list leaves behind when it moves is counted too: both are there for a moment.
        if (list.capacity() != before) {
            json.charge(static_cast<std::size_t>(list.capacity()) * sizeof(T));
        }
        decode(json, element);
    });
}

template <class T> void decode(Source& json, std::optional<T>& value) {
    if (json.peek() == 'n') {
        json.word();
        value.reset();
    } else {
        decode(json, value.emplace());
    }
}

/// One field of a record: its key, where its value goes, and whether it has come.
template <class T> struct Field {
    const char* key;
    T& value;
    bool isRequired;
    bool hasCome = false;
};

template <class T> Field<T> required(const char* key, T& value) {
    return {key, value, true};
}

template <class T> Field<std::optional<T>> optional(const char* key, std::optional<T>& value) {
    return {key, value, false};
}

template <class T> bool takeInto(Field<T>& field, std::string_view name, Source& json) {
    if (name != field.key) {
        return false;
    }
    decode(json, field.value);
    field.hasCome = true;
    return true;
}

/// Reads the fields of one JSON object. Of equal keys the last one counts; other keys are passed over.
template <class... T> void decodeFields(Source& json, Field<T>... fields) {
    expect(json, '{');
    json.object([&](std::string_view quotedName) {
        const bool isPlain = quotedName.find('\\') == std::string_view::npos;
        const std::string unescaped = isPlain ? std::string() : unescapedJson(quotedName);
        const std::string_view name = isPlain ? quotedName.substr(1, quotedName.size() - 2) : unescaped;
        if (!(takeInto(fields, name, json) || ...)) {
            json.skip();
        }
    });
    if (!((fields.hasCome || !fields.isRequired) && ...)) {
        throw DecodeError();
    }
}

template <class Enumeration>
void decodeNamed(Source& json, Enumeration& value, std::initializer_list<std::pair<const char*, Enumeration>> names) {
    QString text;
    decode(json, text);
    for (const auto& [name, named] : names) {
        if (text == QLatin1String(name)) {
            value = named;
            return;
        }
    }
    throw DecodeError();
}

void decode(Source& json, QString& value) {
    expect(json, '"');
    const std::string_view quoted = json.string();
    json.charge(stringOverhead + quoted.size() * sizeof(QChar));
    if (quoted.find('\\') == std::string_view::npos) {
        value = QString::fromUtf8(quoted.data() + 1, static_cast<qsizetype>(quoted.size()) - 2);
    } else {
        value = QString::fromStdString(unescapedJson(quoted));
    }
}

void decode(Source& json, bool& value) {
    const char first = json.peek();
    if (first != 't' && first != 'f') {
        throw DecodeError();
    }
    value = json.word() == "true";
}

void decode(Source& json, std::int64_t& value) {
    const std::string_view text = json.number();
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end) {
        throw DecodeError();
    }
}

void decode(Source& json, SiteAccessMode& value) {
    decodeNamed(json, value,
                {{"team", SiteAccessMode::Team},
                 {"restricted", SiteAccessMode::Restricted},
                 {"public", SiteAccessMode::Public}});
}

void decode(Source& json, SiteInfo::LastAction& value) {
    decodeNamed(json, value, {{"deploy", SiteInfo::LastAction::Deploy}, {"rollback", SiteInfo::LastAction::Rollback}});
}

void decode(Source& json, LogEntry::Kind& value) {
    decodeNamed(json, value,
                {{"api", LogEntry::Kind::Api}, {"ws", LogEntry::Kind::Ws}, {"deploy", LogEntry::Kind::Deploy}});
}

void decode(Source& json, SiteInfo& record) {
    decodeFields(json, required("name", record.name), required("url", record.url),
                 optional("deployedAt", record.deployedAt), optional("deployedBy", record.deployedBy),
                 optional("lastAction", record.lastAction), required("hasPrevious", record.hasPrevious),
                 optional("libs", record.libs), optional("access", record.access), optional("collab", record.collab));
}

void decode(Source& json, SiteAccess& record) {
    decodeFields(json, required("mode", record.mode), required("emails", record.emails),
                 optional("owner", record.owner), optional("anyoneCanComment", record.anyoneCanComment));
}

void decode(Source& json, SiteCollabInfo& record) {
    decodeFields(json, required("enabled", record.enabled), optional("head", record.head));
}

void decode(Source& json, Identity& record) {
    decodeFields(json, required("id", record.id), required("name", record.name), required("email", record.email),
                 required("avatar", record.avatar), required("handle", record.handle));
}

void decode(Source& json, LibInfo::Manifest& record) {
    decodeFields(json, required("name", record.name), required("version", record.version),
                 required("description", record.description), required("author", record.author));
}

void decode(Source& json, LibInfo& record) {
    decodeFields(json, required("name", record.name), required("moduleUrl", record.moduleUrl),
                 required("skillUrl", record.skillUrl), required("manifest", record.manifest));
}

void decode(Source& json, StatsResponse& record) {
    decodeFields(json, required("sites", record.sites), required("libs", record.libs), required("docs", record.docs),
                 required("kvKeys", record.kvKeys), required("deploysLast7d", record.deploysLast7d),
                 required("wsConnections", record.wsConnections));
}

void decode(Source& json, LogEntry& record) {
    decodeFields(json, required("ts", record.ts), required("kind", record.kind), required("user", record.user),
                 required("detail", record.detail));
}

void decode(Source& json, SitesResponse& record) {
    decodeFields(json, required("sites", record.sites));
}

void decode(Source& json, LibsResponse& record) {
    decodeFields(json, required("libs", record.libs));
}

void decode(Source& json, LogsResponse& record) {
    decodeFields(json, required("site", record.site), required("entries", record.entries));
}

void decode(Source& json, DeployResponse& record) {
    decodeFields(json, required("ok", record.ok), required("site", record.site), required("url", record.url),
                 required("bytes", record.bytes), required("files", record.files), required("skipped", record.skipped));
}

void decode(Source& json, RollbackResponse& record) {
    decodeFields(json, required("ok", record.ok), required("site", record.site), required("url", record.url));
}

void decode(Source& json, DeleteSiteResponse& record) {
    decodeFields(json, required("ok", record.ok), required("site", record.site));
}

void decode(Source& json, CollabToggleResponse& record) {
    decodeFields(json, required("ok", record.ok), required("site", record.site), required("enabled", record.enabled));
}

void decode(Source& json, SiteAccessResponse& record) {
    decodeFields(json, required("site", record.site), required("mode", record.mode), required("emails", record.emails),
                 optional("owner", record.owner), optional("anyoneCanComment", record.anyoneCanComment));
}

void decode(Source& json, SiteLibsResponse& record) {
    decodeFields(json, required("site", record.site), required("libs", record.libs));
}

void decode(Source& json, ApiErrorBody& record) {
    decodeFields(json, required("error", record.error), required("code", record.code));
}

void decode(Source& json, AnswerVerdict& record) {
    if (json.peek() != '{') {
        json.skip();
        return;
    }
    json.object([&json, &record](std::string_view quotedName) {
        const std::string name = unescapedJson(quotedName);
        if (name == "error" && json.peek() == '"') {
            decode(json, record.error);
        } else {
            const std::string_view value = json.skip();
            record.refused = name == "ok" ? value == "false" : record.refused;
        }
    });
}

} // namespace

template <class Record> Record decodeRecord(const QByteArray& json) {
    if (!json.isValidUtf8()) {
        throw DecodeError();
    }
    Source source({json.constData(), static_cast<std::size_t>(json.size())});
    Record record;
    try {
        decode(source, record);
        source.end();
    } catch (const JsonError&) {
        throw DecodeError();
    }
    if (!source.isUnicode()) {
        throw DecodeError();
    }
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
