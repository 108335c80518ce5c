#include "platform/RecordDecoder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

namespace driftwell {
namespace {

using Json = nlohmann::json;

QByteArray bytes(const std::string& text) {
    return QByteArray::fromStdString(text);
}

template <class Record> Record decoded(const std::string& text) {
    return decodeRecord<Record>(bytes(text));
}

template <class Record> bool decodes(const std::string& text) {
    try {
        [[maybe_unused]] const Record record = decoded<Record>(text);
        return true;
    } catch (const DecodeError&) {
        return false;
    }
}

// Every field of every record

enum class Type { Text, Boolean, Integer, Texts, Record, Records, Mode, LastAction, LogKind };
enum class Need { Required, Optional };

struct Field {
    /// Where the field stands in the whole text (RFC 6901).
    const char* pointer;
    Type type;
    Need need = Need::Required;
};

struct RecordRow {
    const char* name;
    std::function<bool(const std::string&)> decodes;
    const char* whole;
    std::vector<Field> fields;
};

void PrintTo(const RecordRow& row, std::ostream* out) {
    *out << row.name;
}

/// One value of every JSON type, and of the types' edges.
const std::vector<const char*>& values() {
    static const std::vector<const char*> all = {"null",        "true",
                                                 "false",       "0",
                                                 "-1",          "7",
                                                 "0.5",         "1.0",
                                                 "1e3",         R"("")",
                                                 R"("t")",      R"("true")",
                                                 R"("7")",      R"("team")",
                                                 R"("deploy")", R"("api")",
                                                 "[]",          "[null]",
                                                 "[7]",         R"(["t"])",
                                                 R"(["t", 7])", R"(["t", null])",
                                                 R"([["t"]])",  "[{}]",
                                                 "{}",          R"({"0": "t"})"};
    return all;
}

bool isOneOf(const Json& value, std::initializer_list<const char*> texts) {
    return std::any_of(texts.begin(), texts.end(), [&value](const char* text) { return value == Json(text); });
}

/// What a field of a type takes, null apart.
bool takes(Type type, const Json& value) {
    switch (type) {
    case Type::Text:
        return value.is_string();
    case Type::Boolean:
        return value.is_boolean();
    case Type::Integer:
        return value.is_number_integer();
    case Type::Texts:
        return value.is_array() &&
               std::all_of(value.begin(), value.end(), [](const Json& element) { return element.is_string(); });
    case Type::Record:
        return false; // None of values() has a record's required fields.
    case Type::Records:
        return value.is_array() && value.empty();
    case Type::Mode:
        return isOneOf(value, {"team", "restricted", "public"});
    case Type::LastAction:
        return isOneOf(value, {"deploy", "rollback"});
    case Type::LogKind:
        return isOneOf(value, {"api", "ws", "deploy"});
    }
    return false;
}

Json without(Json json, const Json::json_pointer& pointer) {
    json[pointer.parent_pointer()].erase(pointer.back());
    return json;
}

Json with(Json json, const Json::json_pointer& pointer, Json value) {
    json[pointer] = std::move(value);
    return json;
}

constexpr const char* wholeSite = R"({
    "name": "blog", "url": "https://blog.example", "deployedAt": "2026-03-01T09:30:00Z", "deployedBy": "Kim",
    "lastAction": "rollback", "hasPrevious": true, "libs": ["maps", "charts"],
    "access": {"mode": "restricted", "emails": ["a@b.example"], "owner": "Kim", "anyoneCanComment": true},
    "collab": {"enabled": true, "head": "0123abc"}})";

const std::vector<RecordRow>& records() {
    static const std::vector<RecordRow> rows = {
        {"Identity",
         decodes<Identity>,
         R"({"id": "1", "name": "Kim", "email": "k@a.example", "avatar": "x", "handle": "kim"})",
         {{"/id", Type::Text},
          {"/name", Type::Text},
          {"/email", Type::Text},
          {"/avatar", Type::Text},
          {"/handle", Type::Text}}},
        {"StatsResponse",
         decodes<StatsResponse>,
         R"({"sites": 1, "libs": 2, "docs": 3, "kvKeys": 4, "deploysLast7d": 5, "wsConnections": 6})",
         {{"/sites", Type::Integer},
          {"/libs", Type::Integer},
          {"/docs", Type::Integer},
          {"/kvKeys", Type::Integer},
          {"/deploysLast7d", Type::Integer},
          {"/wsConnections", Type::Integer}}},
        {"LibsResponse",
         decodes<LibsResponse>,
         R"({"libs": [{"name": "maps", "moduleUrl": "m", "skillUrl": "s",
             "manifest": {"name": "Maps", "version": "1", "description": "d", "author": "a"}}]})",
         {{"/libs", Type::Records},
          {"/libs/0", Type::Record},
          {"/libs/0/name", Type::Text},
          {"/libs/0/moduleUrl", Type::Text},
          {"/libs/0/skillUrl", Type::Text},
          {"/libs/0/manifest", Type::Record},
          {"/libs/0/manifest/name", Type::Text},
          {"/libs/0/manifest/version", Type::Text},
          {"/libs/0/manifest/description", Type::Text},
          {"/libs/0/manifest/author", Type::Text}}},
        {"LogsResponse",
         decodes<LogsResponse>,
         R"({"site": "blog", "entries": [{"ts": "t", "kind": "ws", "user": "u", "detail": "d"}]})",
         {{"/site", Type::Text},
          {"/entries", Type::Records},
          {"/entries/0", Type::Record},
          {"/entries/0/ts", Type::Text},
          {"/entries/0/kind", Type::LogKind},
          {"/entries/0/user", Type::Text},
          {"/entries/0/detail", Type::Text}}},
        {"DeployResponse",
         decodes<DeployResponse>,
         R"({"ok": true, "site": "blog", "url": "u", "bytes": 1, "files": 2, "skipped": 3})",
         {{"/ok", Type::Boolean},
          {"/site", Type::Text},
          {"/url", Type::Text},
          {"/bytes", Type::Integer},
          {"/files", Type::Integer},
          {"/skipped", Type::Integer}}},
        {"RollbackResponse",
         decodes<RollbackResponse>,
         R"({"ok": true, "site": "blog", "url": "u"})",
         {{"/ok", Type::Boolean}, {"/site", Type::Text}, {"/url", Type::Text}}},
        {"DeleteSiteResponse",
         decodes<DeleteSiteResponse>,
         R"({"ok": true, "site": "blog"})",
         {{"/ok", Type::Boolean}, {"/site", Type::Text}}},
        {"CollabToggleResponse",
         decodes<CollabToggleResponse>,
         R"({"ok": true, "site": "blog", "enabled": false})",
         {{"/ok", Type::Boolean}, {"/site", Type::Text}, {"/enabled", Type::Boolean}}},
        {"SiteAccessResponse",
         decodes<SiteAccessResponse>,
         R"({"site": "blog", "mode": "team", "emails": ["a"], "owner": "o", "anyoneCanComment": true})",
         {{"/site", Type::Text},
          {"/mode", Type::Mode},
          {"/emails", Type::Texts},
          {"/owner", Type::Text, Need::Optional},
          {"/anyoneCanComment", Type::Boolean, Need::Optional}}},
        {"SiteLibsResponse",
         decodes<SiteLibsResponse>,
         R"({"site": "blog", "libs": ["maps"]})",
         {{"/site", Type::Text}, {"/libs", Type::Texts}}},
        {"ApiErrorBody",
         decodes<ApiErrorBody>,
         R"({"error": "no", "code": "not_team"})",
         {{"/error", Type::Text}, {"/code", Type::Text}}},
        {"SitesResponse",
         decodes<SitesResponse>,
         nullptr, // one site, see whole()
         {{"/sites", Type::Records},
          {"/sites/0", Type::Record},
          {"/sites/0/name", Type::Text},
          {"/sites/0/url", Type::Text},
          {"/sites/0/deployedAt", Type::Text, Need::Optional},
          {"/sites/0/deployedBy", Type::Text, Need::Optional},
          {"/sites/0/lastAction", Type::LastAction, Need::Optional},
          {"/sites/0/hasPrevious", Type::Boolean},
          {"/sites/0/libs", Type::Texts, Need::Optional},
          {"/sites/0/access", Type::Record, Need::Optional},
          {"/sites/0/access/mode", Type::Mode},
          {"/sites/0/access/emails", Type::Texts},
          {"/sites/0/access/owner", Type::Text, Need::Optional},
          {"/sites/0/access/anyoneCanComment", Type::Boolean, Need::Optional},
          {"/sites/0/collab", Type::Record, Need::Optional},
          {"/sites/0/collab/enabled", Type::Boolean},
          {"/sites/0/collab/head", Type::Text, Need::Optional}}},
    };
    return rows;
}

Json whole(const RecordRow& row) {
    return row.whole != nullptr ? Json::parse(row.whole) : Json({{"sites", {Json::parse(wholeSite)}}});
}

bool isListElement(const Json::json_pointer& pointer) {
    return pointer.back() == "0";
}

class RecordTable : public testing::TestWithParam<RecordRow> {};

INSTANTIATE_TEST_SUITE_P(All, RecordTable, testing::ValuesIn(records()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(RecordTable, DecodesWithAllItsFields) {
    EXPECT_TRUE(GetParam().decodes(whole(GetParam()).dump()));
}

TEST_P(RecordTable, LacksOnlyOptionalFields) {
    for (const Field& field : GetParam().fields) {
        const Json::json_pointer pointer(field.pointer);
        if (!isListElement(pointer)) {
            EXPECT_EQ(GetParam().decodes(without(whole(GetParam()), pointer).dump()), field.need == Need::Optional)
                << field.pointer;
        }
    }
}

TEST_P(RecordTable, TakesNullForOptionalFieldsOnly) {
    for (const Field& field : GetParam().fields) {
        const Json changed = with(whole(GetParam()), Json::json_pointer(field.pointer), nullptr);
        EXPECT_EQ(GetParam().decodes(changed.dump()), field.need == Need::Optional) << field.pointer;
    }
}

TEST_P(RecordTable, TakesValuesOfAFieldsOwnTypeOnly) {
    for (const Field& field : GetParam().fields) {
        for (const char* value : values()) {
            const Json json = Json::parse(value);
            if (!json.is_null()) {
                const Json changed = with(whole(GetParam()), Json::json_pointer(field.pointer), json);
                EXPECT_EQ(GetParam().decodes(changed.dump()), takes(field.type, json)) << field.pointer << " " << value;
            }
        }
    }
}

TEST_P(RecordTable, IgnoresUnknownKeysWhateverTheyHold) {
    for (const Field& field : GetParam().fields) {
        const Json::json_pointer pointer(field.pointer);
        if (isListElement(pointer)) {
            continue;
        }
        for (const char* value : values()) {
            const Json changed = with(whole(GetParam()), pointer.parent_pointer() / "unknown", Json::parse(value));
            EXPECT_TRUE(GetParam().decodes(changed.dump())) << field.pointer << " " << value;
        }
    }
}

TEST_P(RecordTable, TellsKeysApartByTheirCase) {
    for (const Field& field : GetParam().fields) {
        const Json::json_pointer pointer(field.pointer);
        if (isListElement(pointer)) {
            continue;
        }
        std::string name = pointer.back();
        name.front() = static_cast<char>(std::toupper(name.front()));
        const Json value = whole(GetParam())[pointer];
        const Json changed = with(without(whole(GetParam()), pointer), pointer.parent_pointer() / name, value);
        EXPECT_EQ(GetParam().decodes(changed.dump()), field.need == Need::Optional) << field.pointer;
    }
}

TEST_P(RecordTable, TakesTheTextsOfAnEnumerationOnly) {
    for (const Field& field : GetParam().fields) {
        if (field.type != Type::Mode && field.type != Type::LastAction && field.type != Type::LogKind) {
            continue;
        }
        for (const char* text : {"team", "restricted", "public", "deploy", "rollback", "api", "ws", "", " team",
                                 "team ", "Team", "TEAM", "teams", "delete", "0"}) {
            const Json changed = with(whole(GetParam()), Json::json_pointer(field.pointer), text);
            EXPECT_EQ(GetParam().decodes(changed.dump()), takes(field.type, text)) << field.pointer << " " << text;
        }
        const Json changed = with(whole(GetParam()), Json::json_pointer(field.pointer), std::string("team\0", 5));
        EXPECT_FALSE(GetParam().decodes(changed.dump())) << field.pointer;
    }
}

TEST_P(RecordTable, TakesIntegersOf64BitsOnly) {
    for (const Field& field : GetParam().fields) {
        if (field.type != Type::Integer) {
            continue;
        }
        Json marked = whole(GetParam());
        marked[Json::json_pointer(field.pointer)] = "HERE";
        const std::string text = marked.dump();
        const auto takesNumber = [&](const char* number) {
            std::string changed = text;
            return GetParam().decodes(changed.replace(changed.find("\"HERE\""), 6, number));
        };
        for (const char* number : {"0", "-0", "9223372036854775807", "-9223372036854775808"}) {
            EXPECT_TRUE(takesNumber(number)) << field.pointer << " " << number;
        }
        for (const char* number :
             {"9223372036854775808", "18446744073709551615", "18446744073709551616", "-9223372036854775809", "1.0",
              "1e0", "1E2", "-0.0", "0.5", "1e400", "01", "+1", "0x1", "1_000", "--1", "Infinity", "NaN"}) {
            EXPECT_FALSE(takesNumber(number)) << field.pointer << " " << number;
        }
    }
}

TEST_P(RecordTable, IsAnObject) {
    for (const char* value : values()) {
        EXPECT_FALSE(GetParam().decodes(value)) << value;
    }
}

TEST_P(RecordTable, DoesNotDecodeFromAnyBeginningOfItsText) {
    const std::string text = whole(GetParam()).dump();
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_FALSE(GetParam().decodes(text.substr(0, length))) << length;
    }
}

TEST_P(RecordTable, TakesNothingButSpaceAroundItsText) {
    const std::string text = whole(GetParam()).dump();
    EXPECT_TRUE(GetParam().decodes(" \t\r\n" + text + " \t\r\n"));
    for (const char* rest : {"x", "{}", ",", "]", "}", "null", "// end", "\f", "\xC2\xA0", "\xEF\xBB\xBF"}) {
        EXPECT_FALSE(GetParam().decodes(text + rest)) << rest;
    }
    EXPECT_FALSE(GetParam().decodes(text + std::string(1, '\0')));
    EXPECT_FALSE(GetParam().decodes(text + std::string("\0{", 2)));
    EXPECT_FALSE(GetParam().decodes(std::string(1, '\0') + text));
}

TEST_P(RecordTable, TakesAByteOrderMarkBeforeItsText) {
    EXPECT_TRUE(GetParam().decodes("\xEF\xBB\xBF" + whole(GetParam()).dump()));
}

std::string nested(int depth, char open, char close) {
    const auto size = static_cast<std::size_t>(depth);
    return std::string(size, open) + std::string(size, close);
}

TEST_P(RecordTable, TakesANestingOf512AndNoMore) {
    std::string text = whole(GetParam()).dump();
    const auto nestedWithin = [&text](const std::string& value) {
        return text.substr(0, text.size() - 1) + ", \"unknown\": " + value + "}";
    };
    EXPECT_TRUE(GetParam().decodes(nestedWithin(nested(511, '[', ']'))));
    EXPECT_FALSE(GetParam().decodes(nestedWithin(nested(512, '[', ']'))));
    EXPECT_FALSE(GetParam().decodes(nestedWithin(nested(1'000'000, '[', ']'))));
    EXPECT_TRUE(GetParam().decodes(nestedWithin("[" + nested(510, '[', ']') + "," + nested(510, '[', ']') + "]")));
    EXPECT_TRUE(
        GetParam().decodes(nestedWithin("\"" + nested(5000, '[', ']') + "\\\"" + nested(5000, '{', '}') + "\"")));
}

TEST_P(RecordTable, RefusesBytesThatAreNotUtf8) {
    const std::string text = whole(GetParam()).dump();
    for (const char* invalid :
         {"\xE9", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF0\x9F\x98", "\x80", "\xFF"}) {
        const std::string changed = text.substr(0, text.size() - 1) + ", \"unknown\": \"" + invalid + "\"}";
        EXPECT_FALSE(GetParam().decodes(changed)) << changed;
    }
}

// What the fields become

SiteInfo site(const std::string& text) {
    return decoded<SitesResponse>(R"({"sites": [)" + text + "]}").sites.at(0);
}

TEST(RecordDecoderTest, DecodesAWholeSite) {
    const SiteInfo expected{
        QStringLiteral("blog"),
        QStringLiteral("https://blog.example"),
        QStringLiteral("2026-03-01T09:30:00Z"),
        QStringLiteral("Kim"),
        SiteInfo::LastAction::Rollback,
        true,
        QList<QString>{QStringLiteral("maps"), QStringLiteral("charts")},
        SiteAccess{SiteAccessMode::Restricted, {QStringLiteral("a@b.example")}, QStringLiteral("Kim"), true},
        SiteCollabInfo{true, QStringLiteral("0123abc")}};
    EXPECT_EQ(site(wholeSite), expected);
}

TEST(RecordDecoderTest, DecodesASiteOfRequiredFieldsWithAllElseAbsent) {
    SiteInfo expected;
    expected.name = QStringLiteral("blog");
    expected.url = QStringLiteral("u");
    EXPECT_EQ(site(R"({"name": "blog", "url": "u", "hasPrevious": false})"), expected);
    EXPECT_EQ(site(R"({"name": "blog", "url": "u", "hasPrevious": false, "deployedAt": null, "deployedBy": null,
                       "lastAction": null, "libs": null, "access": null, "collab": null})"),
              expected);
}

TEST(RecordDecoderTest, TellsAnEmptyValueFromAnAbsentOne) {
    const SiteInfo info = site(R"({"name": "", "url": "", "hasPrevious": true, "deployedAt": "", "libs": [],
        "access": {"mode": "team", "emails": [], "owner": "", "anyoneCanComment": false}, "collab": {"enabled": false}})");
    EXPECT_EQ(info.deployedAt, QStringLiteral(""));
    EXPECT_EQ(info.libs, QList<QString>());
    ASSERT_TRUE(info.access);
    EXPECT_EQ(info.access->owner, QStringLiteral(""));
    EXPECT_EQ(info.access->anyoneCanComment, false);
    ASSERT_TRUE(info.collab);
    EXPECT_EQ(info.collab->head, std::nullopt);
}

TEST(RecordDecoderTest, FailsAWholeListForOneSiteThatDoesNotDecode) {
    const std::string good = R"({"name": "a", "url": "u", "hasPrevious": false})";
    EXPECT_TRUE(decodes<SitesResponse>(R"({"sites": [)" + good + "," + good + "]}"));
    for (const char* bad : {R"({"name": "b", "url": "u"})", R"({"name": "b", "url": "u", "hasPrevious": 0})",
                            R"({"name": "b", "url": "u", "hasPrevious": true, "lastAction": "delete"})",
                            R"({"name": "b", "url": "u", "hasPrevious": true,
                                "access": {"mode": "everyone", "emails": []}})",
                            R"({"name": "b", "url": "u", "hasPrevious": true, "access": {"mode": "team"}})",
                            R"({"name": "b", "url": "u", "hasPrevious": true, "collab": {}})", "null", "[]"}) {
        EXPECT_FALSE(decodes<SitesResponse>(R"({"sites": [)" + good + "," + bad + "," + good + "]}")) << bad;
    }
}

TEST(RecordDecoderTest, KeepsTheOrderOfAList) {
    const SitesResponse response = decoded<SitesResponse>(R"({"sites": [
        {"name": "b", "url": "u", "hasPrevious": false}, {"name": "a", "url": "u", "hasPrevious": false},
        {"name": "b", "url": "u", "hasPrevious": true}]})");
    ASSERT_EQ(response.sites.size(), 3);
    EXPECT_EQ(response.sites[0].name, QStringLiteral("b"));
    EXPECT_EQ(response.sites[1].name, QStringLiteral("a"));
    EXPECT_TRUE(response.sites[2].hasPrevious);
    EXPECT_TRUE(decoded<SitesResponse>(R"({"sites": []})").sites.isEmpty());
}

TEST(RecordDecoderTest, DecodesTheTextsOfEveryEnumeration) {
    const auto mode = [](const std::string& text) {
        return decoded<SiteAccessResponse>(R"({"site": "s", "emails": [], "mode": ")" + text + "\"}").mode;
    };
    EXPECT_EQ(mode("team"), SiteAccessMode::Team);
    EXPECT_EQ(mode("restricted"), SiteAccessMode::Restricted);
    EXPECT_EQ(mode("public"), SiteAccessMode::Public);
    EXPECT_EQ(mode("p\\u0075blic"), SiteAccessMode::Public);

    const auto action = [](const std::string& text) {
        return site(R"({"name": "n", "url": "u", "hasPrevious": true, "lastAction": ")" + text + "\"}").lastAction;
    };
    EXPECT_EQ(action("deploy"), SiteInfo::LastAction::Deploy);
    EXPECT_EQ(action("rollback"), SiteInfo::LastAction::Rollback);

    const auto kind = [](const std::string& text) {
        const std::string entry = R"({"ts": "t", "user": "u", "detail": "d", "kind": ")" + text + "\"}";
        return decoded<LogsResponse>(R"({"site": "s", "entries": [)" + entry + "]}").entries.at(0).kind;
    };
    EXPECT_EQ(kind("api"), LogEntry::Kind::Api);
    EXPECT_EQ(kind("ws"), LogEntry::Kind::Ws);
    EXPECT_EQ(kind("deploy"), LogEntry::Kind::Deploy);
}

TEST(RecordDecoderTest, NamesEveryModeByTheTextItDecodesFrom) {
    EXPECT_EQ(rawValue(SiteAccessMode::Team), QStringLiteral("team"));
    EXPECT_EQ(rawValue(SiteAccessMode::Restricted), QStringLiteral("restricted"));
    EXPECT_EQ(rawValue(SiteAccessMode::Public), QStringLiteral("public"));
}

TEST(RecordDecoderTest, NamesEveryKindOfLineByTheTextItDecodesFrom) {
    EXPECT_EQ(rawValue(LogEntry::Kind::Api), QStringLiteral("api"));
    EXPECT_EQ(rawValue(LogEntry::Kind::Ws), QStringLiteral("ws"));
    EXPECT_EQ(rawValue(LogEntry::Kind::Deploy), QStringLiteral("deploy"));
}

TEST(RecordDecoderTest, HasATeamsAccessForASiteWithoutARecord) {
    EXPECT_EQ(SiteAccess::teamDefault(), (SiteAccess{SiteAccessMode::Team, {}, std::nullopt, std::nullopt}));
}

TEST(RecordDecoderTest, DecodesAnIdentityWithAnEmptyAvatarAndNoneWithout) {
    EXPECT_EQ(decoded<Identity>(R"({"id": "1", "name": "Kim", "email": "k@a.example", "avatar": "", "handle": "kim"})"),
              (Identity{QStringLiteral("1"), QStringLiteral("Kim"), QStringLiteral("k@a.example"), QString(),
                        QStringLiteral("kim")}));
    EXPECT_FALSE(decodes<Identity>(R"({"id": "1", "name": "Kim", "email": "k@a.example", "handle": "kim"})"));
}

TEST(RecordDecoderTest, DecodesALibrary) {
    const LibsResponse response = decoded<LibsResponse>(records()[2].whole);
    const LibInfo expected{QStringLiteral("maps"),
                           QStringLiteral("m"),
                           QStringLiteral("s"),
                           {QStringLiteral("Maps"), QStringLiteral("1"), QStringLiteral("d"), QStringLiteral("a")}};
    EXPECT_EQ(response.libs, QList<LibInfo>{expected});
}

TEST(RecordDecoderTest, DecodesCountersToTheLastDigit) {
    EXPECT_EQ(decoded<StatsResponse>(
                  R"({"sites": 9223372036854775807, "libs": -9223372036854775808, "docs": 9007199254740993,
                      "kvKeys": 0, "deploysLast7d": -1, "wsConnections": 6})"),
              (StatsResponse{std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min(),
                             9'007'199'254'740'993, 0, -1, 6}));
}

TEST(RecordDecoderTest, DecodesTheAnswersToChanges) {
    EXPECT_EQ(decoded<DeployResponse>(records()[4].whole),
              (DeployResponse{true, QStringLiteral("blog"), QStringLiteral("u"), 1, 2, 3}));

    const auto rollback = decoded<RollbackResponse>(R"({"ok": true, "site": "blog", "url": "u"})");
    EXPECT_TRUE(rollback.ok);
    EXPECT_EQ(rollback.site, QStringLiteral("blog"));
    EXPECT_EQ(rollback.url, QStringLiteral("u"));

    const auto deleted = decoded<DeleteSiteResponse>(R"({"ok": true, "site": "blog"})");
    EXPECT_TRUE(deleted.ok);
    EXPECT_EQ(deleted.site, QStringLiteral("blog"));

    const auto toggled = decoded<CollabToggleResponse>(R"({"ok": false, "site": "blog", "enabled": true})");
    EXPECT_FALSE(toggled.ok);
    EXPECT_EQ(toggled.site, QStringLiteral("blog"));
    EXPECT_TRUE(toggled.enabled);

    const auto access = decoded<SiteAccessResponse>(
        R"({"site": "blog", "mode": "public", "emails": ["a", "b"], "owner": "o", "anyoneCanComment": true})");
    EXPECT_EQ(access.site, QStringLiteral("blog"));
    EXPECT_EQ(access.mode, SiteAccessMode::Public);
    EXPECT_EQ(access.emails, (QList<QString>{QStringLiteral("a"), QStringLiteral("b")}));
    EXPECT_EQ(access.owner, QStringLiteral("o"));
    EXPECT_EQ(access.anyoneCanComment, true);

    const auto libs = decoded<SiteLibsResponse>(R"({"site": "blog", "libs": ["maps", "maps"]})");
    EXPECT_EQ(libs.site, QStringLiteral("blog"));
    EXPECT_EQ(libs.libs, (QList<QString>{QStringLiteral("maps"), QStringLiteral("maps")}));
}

TEST(RecordDecoderTest, DecodesARefusalOnlyWithItsCode) {
    const auto body = decoded<ApiErrorBody>(R"({"error": "Ask your team", "code": "not_team"})");
    EXPECT_EQ(body.error, QStringLiteral("Ask your team"));
    EXPECT_EQ(body.code, QStringLiteral("not_team"));
    EXPECT_FALSE(decodes<ApiErrorBody>(R"({"error": "Ask your team"})"));
    EXPECT_FALSE(decodes<ApiErrorBody>(R"({"error": "Ask your team", "code": null})"));
}

TEST(RecordDecoderTest, GivesLogLinesThatDifferOnlyInKindTheSameId) {
    const LogsResponse response = decoded<LogsResponse>(R"({"site": "blog", "entries": [
        {"ts": "t", "kind": "api", "user": "u", "detail": "d"}, {"ts": "t", "kind": "ws", "user": "u", "detail": "d"},
        {"ts": "t", "kind": "ws", "user": "u", "detail": "e"}]})");
    ASSERT_EQ(response.entries.size(), 3);
    EXPECT_EQ(response.entries[0].id(), QStringLiteral("t-u-d"));
    EXPECT_EQ(response.entries[0].id(), response.entries[1].id());
    EXPECT_NE(response.entries[0], response.entries[1]);
    EXPECT_NE(response.entries[1].id(), response.entries[2].id());
}

TEST(RecordDecoderTest, DecodesTextsOfAnyCharacters) {
    const auto error = [](const std::string& text) {
        return decoded<ApiErrorBody>(R"({"code": "", "error": ")" + text + "\"}").error;
    };
    EXPECT_EQ(error("caf\\u00e9 café"), QStringLiteral("café café"));
    EXPECT_EQ(error("\\ud83d\\ude00😀"), QStringLiteral("😀😀"));
    EXPECT_EQ(error("a\\u0000b"), QStringLiteral("a") + QChar(0) + QStringLiteral("b"));
    EXPECT_EQ(error("\\/\\b\\f\\n\\r\\t\\\"\\\\"), QStringLiteral("/\b\f\n\r\t\"\\"));
    EXPECT_EQ(error("\\u2028\\uffff"), QString(QChar(0x2028)) + QChar(0xFFFF));
    EXPECT_FALSE(decodes<ApiErrorBody>(R"({"code": "", "error": "\ud83d"})"));
    EXPECT_FALSE(decodes<ApiErrorBody>(R"({"code": "", "error": "\ude00\ud83d"})"));
    EXPECT_FALSE(decodes<ApiErrorBody>(R"({"code": "", "error": "\ud83dx"})"));
    EXPECT_FALSE(decodes<ApiErrorBody>("{\"code\": \"\", \"error\": \"line\nfeed\"}"));
}

TEST(RecordDecoderTest, TakesTheLastOfTwoEqualKeys) {
    EXPECT_EQ(decoded<ApiErrorBody>(R"({"code": "1", "error": "", "code": "2"})").code, QStringLiteral("2"));
    EXPECT_FALSE(decodes<ApiErrorBody>(R"({"code": "1", "error": "", "code": 2})"));
}

TEST(RecordDecoderTest, TakesTheTextNullForNoRecordWhereThereMayBeNone) {
    EXPECT_EQ(decoded<std::optional<Identity>>("null"), std::nullopt);
    EXPECT_EQ(decoded<std::optional<Identity>>(" null\n"), std::nullopt);
    EXPECT_FALSE(decoded<std::optional<LogsResponse>>("null").has_value());

    const auto identity = decoded<std::optional<Identity>>(records()[0].whole);
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->handle, QStringLiteral("kim"));
    const auto logs = decoded<std::optional<LogsResponse>>(records()[3].whole);
    ASSERT_TRUE(logs);
    EXPECT_EQ(logs->entries.size(), 1);

    for (const char* other : {"", "nul", "nullnull", "NULL", "false", "{}", "[]", R"("null")", R"({"id": "1"})"}) {
        EXPECT_FALSE(decodes<std::optional<Identity>>(other)) << other;
        EXPECT_FALSE(decodes<std::optional<LogsResponse>>(other)) << other;
    }
}

TEST(RecordDecoderTest, TakesNoDialectOfJson) {
    ASSERT_TRUE(decodes<DeleteSiteResponse>(R"({"ok": true, "site": "s"})"));
    for (const char* text :
         {R"({"ok": true, "site": "s",})", R"({"ok": True, "site": "s"})", R"({'ok': true, 'site': 's'})",
          R"({ok: true, site: "s"})", R"({"ok" true, "site": "s"})", R"({"ok": true "site": "s"})",
          R"({"ok": true, "site": "s" /* why */})", R"({"ok": true,, "site": "s"})", R"("ok": true, "site": "s")",
          R"([{"ok": true, "site": "s"}])", R"({"ok": true, "site": "s\x"})", R"({"ok": true, "site": "\u12"})",
          "\xFF\xFE{\"ok\": true, \"site\": \"s\"}"}) {
        EXPECT_FALSE(decodes<DeleteSiteResponse>(text)) << text;
    }
}

TEST(RecordDecoderTest, SaysThatTheAnswerIsNotTheRecord) {
    try {
        [[maybe_unused]] const auto record = decoded<Identity>("{}");
        FAIL() << "did not throw";
    } catch (const DecodeError& failure) {
        EXPECT_STREQ(failure.what(), "the answer is not the expected record");
    }
}

} // namespace
} // namespace driftwell
