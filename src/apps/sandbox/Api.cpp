#include "apps/sandbox/Api.h"

#include "apps/sandbox/HostName.h"
#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/Libraries.h"
#include "apps/sandbox/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <functional>

namespace driftwell::sandbox {

using nlohmann::json;

enum class Caller { Anyone, TeamOnly };

struct Api::Call {
    Exchange& exchange;
    const Person& person;
    /// The decoded part of the path that the route leaves open.
    std::string name;

    [[nodiscard]] std::string email() const { return std::string(person.email); }
};

/// `path` has "*" for the one part that is a name.
struct Api::Route {
    std::string_view method;
    std::string_view path;
    Caller caller;
    std::function<void(Api&, Call&)> answer;
};

const std::vector<Api::Route>& Api::routes() {
    static const std::vector<Route> table = {
        {"GET", "/api/me", Caller::Anyone, &Api::me},
        {"GET", "/api/sites", Caller::TeamOnly, &Api::sites},
        {"GET", "/api/stats", Caller::TeamOnly, &Api::stats},
        {"GET", "/api/libs", Caller::TeamOnly, &Api::libs},
        {"GET", "/api/logs/*", Caller::TeamOnly, &Api::logs},
        {"POST", "/api/deploy", Caller::TeamOnly, &Api::deploy},
        {"POST", "/api/rollback", Caller::TeamOnly, &Api::rollBack},
        {"DELETE", "/api/sites/*", Caller::TeamOnly, &Api::deleteSite},
        {"POST", "/api/sites/*/libs", Caller::TeamOnly, &Api::setLib},
        {"PUT", "/api/sites/*/access", Caller::TeamOnly, &Api::setAccess},
        {"POST", "/api/collab/*/enable", Caller::TeamOnly, &Api::enableCollab},
        {"DELETE", "/api/collab/*/enable", Caller::TeamOnly, &Api::disableCollab},
    };
    return table;
}

namespace {

constexpr std::uint64_t standardLogLimit = 100;
constexpr std::uint64_t highestLogLimit = 1000;
constexpr size_t mostEmails = 500;
constexpr size_t longestEmail = 254;

/// The open part of the path, empty when the route has none; no value when the path is another one.
std::optional<std::string> match(std::string_view pattern, std::string_view path) {
    const auto expected = split(pattern, '/');
    const auto given = split(path, '/');
    if (expected.size() != given.size()) {
        return std::nullopt;
    }
    std::string name;
    for (size_t index = 0; index < expected.size(); ++index) {
        const auto part = percentDecoded(given[index]);
        if (!part || (expected[index] != "*" && expected[index] != *part)) {
            return std::nullopt;
        }
        if (expected[index] == "*") {
            name = *part;
        }
    }
    return name;
}

HttpError noSuchSite(const std::string& name) {
    return {404, "site_not_found", "There is no site called “" + name + "”"};
}

HttpError badRequest(const std::string& message) {
    return {400, "bad_request", message};
}

json objectBody(Exchange& exchange) {
    json body = json::parse(exchange.smallBody("application/json"), nullptr, false);
    if (!body.is_object()) {
        throw badRequest("The body must be a JSON object");
    }
    return body;
}

std::string requiredText(const json& body, const char* key) {
    const auto found = body.find(key);
    if (found == body.end() || !found->is_string()) {
        throw badRequest(std::string("“") + key + "” must be a text");
    }
    return found->get<std::string>();
}

bool toBool(const json& value, const char* key) {
    if (!value.is_boolean()) {
        throw badRequest(std::string("“") + key + "” must be true or false");
    }
    return value.get<bool>();
}

std::vector<std::string> toEmails(const json& value) {
    if (!value.is_array()) {
        throw badRequest("“emails” must be a list");
    }
    std::vector<std::string> emails;
    for (const json& entry : value) {
        if (!entry.is_string()) {
            throw badRequest("“emails” must hold texts only");
        }
        std::string email = lowerCased(trimmed(entry.get_ref<const std::string&>()));
        const size_t at = email.find('@');
        const bool plain = std::none_of(email.begin(), email.end(),
                                        [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == 127; });
        if (at == 0 || at == std::string::npos || at + 1 == email.size() || email.size() > longestEmail || !plain) {
            throw HttpError(400, "bad_email", "“" + email + "” is not an e-mail address");
        }
        if (std::find(emails.begin(), emails.end(), email) == emails.end()) {
            emails.push_back(std::move(email));
        }
    }
    if (emails.size() > mostEmails) {
        throw badRequest("At most " + std::to_string(mostEmails) + " people can be invited to one site");
    }
    return emails;
}

json accessRecord(const Site& site) {
    return {{"mode", accessModeName(site.access.mode)},
            {"emails", site.access.emails},
            {"owner", site.owner},
            {"anyoneCanComment", site.access.anyoneCanComment}};
}

json collabRecord(const Site& site) {
    json record = {{"enabled", site.collab}};
    if (site.collab && site.head) {
        record["head"] = *site.head;
    }
    return record;
}

json siteRecord(const Site& site, int port) {
    return {{"name", site.name},
            {"url", siteUrl(site.name, port)},
            {"deployedAt", site.deployedAt},
            {"deployedBy", site.deployedBy},
            {"lastAction", site.lastAction},
            {"hasPrevious", site.previousVersion.has_value()},
            {"libs", site.libs},
            {"access", accessRecord(site)},
            {"collab", collabRecord(site)}};
}

std::string describe(const Store::AccessChange& change) {
    std::vector<std::string> parts;
    if (change.mode) {
        parts.push_back("open to " + std::string(*change.mode == AccessMode::Team         ? "the team"
                                                 : *change.mode == AccessMode::Restricted ? "invited people"
                                                                                          : "anyone"));
    }
    if (change.emails) {
        parts.push_back(counted(change.emails->size(), "person", "people") + " invited");
    }
    if (change.anyoneCanComment) {
        parts.emplace_back(*change.anyoneCanComment ? "anyone can comment" : "comments for the team only");
    }
    std::string text = "Changed who may open the site: ";
    for (size_t index = 0; index < parts.size(); ++index) {
        text += (index > 0 ? ", " : "") + parts[index];
    }
    return text;
}

} // namespace

Api::Api(Store& store, Publishing& publishing, Collaboration& collaboration, SignIn& signIn, int port)
    : m_store(store), m_publishing(publishing), m_collaboration(collaboration), m_signIn(signIn), m_port(port) {}

void Api::handle(Exchange& exchange) {
    const std::string_view method = exchange.method() == "HEAD" ? std::string_view("GET") : exchange.method();
    std::string allowed;
    for (const Route& route : routes()) {
        const auto name = match(route.path, exchange.path());
        if (!name) {
            continue;
        }
        if (route.method != method) {
            allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
            continue;
        }
        const Person* person = m_signIn.caller(exchange);
        if (person == nullptr) {
            exchange.response().set_header("WWW-Authenticate", "Bearer");
            throw HttpError(401, "unauthenticated", "Sign in to use this platform");
        }
        if (route.caller == Caller::TeamOnly && person->membership != Membership::Team) {
            throw notOnTheTeam();
        }
        Call call{exchange, *person, *name};
        route.answer(*this, call);
        return;
    }
    if (allowed.empty()) {
        throw HttpError(404, "not_found", "There is nothing at this address");
    }
    exchange.response().set_header("Allow", allowed);
    throw HttpError(405, "method_not_allowed", "This address takes " + allowed + " only");
}

void Api::me(Call& call) {
    const Person& person = call.person;
    call.exchange.answer(
        200,
        {{"id", person.id}, {"name", person.name}, {"email", person.email}, {"avatar", ""}, {"handle", person.handle}});
}

void Api::sites(Call& call) {
    json list = json::array();
    for (const Site& site : m_store.sites()) {
        list.push_back(siteRecord(site, m_port));
    }
    call.exchange.answer(200, {{"sites", std::move(list)}});
}

void Api::stats(Call& call) {
    const auto weekAgo = std::chrono::system_clock::now() - std::chrono::days(7);
    // The sandbox has no documents, no key-value store of its own and no WebSockets.
    call.exchange.answer(200, {{"sites", m_store.sites().size()},
                               {"libs", libraries().size()},
                               {"docs", 0},
                               {"kvKeys", 0},
                               {"deploysLast7d", m_store.deploysSince(timestamp(weekAgo))},
                               {"wsConnections", 0}});
}

void Api::libs(Call& call) const {
    json list = json::array();
    for (const Library& library : libraries()) {
        list.push_back({{"name", library.name},
                        {"moduleUrl", platformUrl(m_port) + modulePath(library)},
                        {"skillUrl", platformUrl(m_port) + skillPath(library)},
                        {"manifest",
                         {{"name", library.name},
                          {"version", library.version},
                          {"description", library.description},
                          {"author", library.author}}}});
    }
    call.exchange.answer(200, {{"libs", std::move(list)}});
}

void Api::logs(Call& call) {
    const std::string limitText = call.exchange.field("limit");
    const auto limit = limitText.empty() ? standardLogLimit : decimal(limitText);
    if (!limit || *limit == 0 || *limit > highestLogLimit) {
        throw badRequest("“limit” must be a number from 1 to " + std::to_string(highestLogLimit));
    }
    json entries = json::array();
    for (const LogLine& line : m_store.log(call.name, static_cast<std::int64_t>(*limit))) {
        entries.push_back({{"ts", line.time}, {"kind", line.kind}, {"user", line.user}, {"detail", line.detail}});
    }
    // The log of a site outlives the site.
    if (entries.empty()) {
        throw noSuchSite(call.name);
    }
    call.exchange.answer(200, {{"site", call.name}, {"entries", std::move(entries)}});
}

void Api::deploy(Call& call) {
    const std::string site = call.exchange.field("site");
    if (!isSiteName(site)) {
        throw HttpError(400, "bad_site_name",
                        "“" + site +
                            "” cannot be the name of a site: 1 to 63 small letters, digits and dashes, not "
                            "beginning with a dash, and none that the platform keeps for itself");
    }
    call.exchange.requireMediaType("application/gzip");
    const Unpacked unpacked = m_publishing.deploy(call.exchange, site, call.email());
    call.exchange.answer(200, {{"ok", true},
                               {"site", site},
                               {"url", siteUrl(site, m_port)},
                               {"bytes", unpacked.bytes},
                               {"files", unpacked.files},
                               {"skipped", unpacked.skipped}});
}

void Api::rollBack(Call& call) {
    const std::string site = requiredText(objectBody(call.exchange), "site");
    switch (m_publishing.rollBack(site, call.email())) {
    case Store::Rollback::NoSite:
        throw noSuchSite(site);
    case Store::Rollback::NoPrevious:
        throw HttpError(409, "no_previous", "“" + site + "” has no version before this one");
    case Store::Rollback::Done:
        call.exchange.answer(200, {{"ok", true}, {"site", site}, {"url", siteUrl(site, m_port)}});
    }
}

void Api::deleteSite(Call& call) {
    if (!m_publishing.remove(call.name, call.email())) {
        throw noSuchSite(call.name);
    }
    call.exchange.answer(200, {{"ok", true}, {"site", call.name}});
}

void Api::setLib(Call& call) {
    const json body = objectBody(call.exchange);
    const std::string lib = requiredText(body, "lib");
    const bool enabled = toBool(body.value("enabled", json()), "enabled");
    if (libraryNamed(lib) == nullptr) {
        throw HttpError(404, "lib_not_found", "There is no library called “" + lib + "”");
    }
    const auto site = m_store.setLib(call.name, lib, enabled ? Store::Switch::On : Store::Switch::Off);
    if (!site) {
        throw noSuchSite(call.name);
    }
    call.exchange.answer(200, {{"site", site->name}, {"libs", site->libs}});
}

void Api::setAccess(Call& call) {
    const json body = objectBody(call.exchange);
    Store::AccessChange change;
    if (body.contains("mode")) {
        change.mode = accessModeFromName(requiredText(body, "mode"));
        if (!change.mode) {
            throw badRequest("“mode” must be team, restricted or public");
        }
    }
    if (body.contains("emails")) {
        change.emails = toEmails(body["emails"]);
    }
    if (body.contains("anyoneCanComment")) {
        change.anyoneCanComment = toBool(body["anyoneCanComment"], "anyoneCanComment");
    }
    if (!change.mode && !change.emails && !change.anyoneCanComment) {
        throw badRequest("Nothing to change was given: “mode”, “emails” or “anyoneCanComment”");
    }
    const auto site = m_store.setAccess(call.name, change, call.email(), describe(change));
    if (!site) {
        throw noSuchSite(call.name);
    }
    json answer = accessRecord(*site);
    answer["site"] = site->name;
    call.exchange.answer(200, answer);
}

void Api::enableCollab(Call& call) {
    objectBody(call.exchange);
    answerCollab(call, m_collaboration.start(call.name, call.email()));
}

void Api::disableCollab(Call& call) {
    answerCollab(call, m_collaboration.stop(call.name));
}

void Api::answerCollab(Call& call, const std::optional<Site>& site) {
    if (!site) {
        throw noSuchSite(call.name);
    }
    call.exchange.answer(200, {{"ok", true}, {"site", site->name}, {"enabled", site->collab}});
}

} // namespace driftwell::sandbox
