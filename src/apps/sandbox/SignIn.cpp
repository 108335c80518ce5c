#include "apps/sandbox/SignIn.h"

#include "apps/sandbox/HostName.h"
#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/Pages.h"
#include "apps/sandbox/Secrets.h"
#include "apps/sandbox/Text.h"

#include <algorithm>

namespace driftwell::sandbox {

namespace {

constexpr std::string_view apiScope = "api";
constexpr std::string_view cookieName = "driftwell_session";
constexpr std::string_view scheme = "http://";
constexpr size_t longestState = 512;
constexpr std::uint64_t highestPort = 65535;
constexpr std::chrono::minutes timeToChoose{30};
constexpr std::chrono::minutes timeToComeBack{1};

std::string siteScope(const std::string& site) {
    return "site:" + site;
}

std::string cookie(const std::string& header) {
    for (const std::string_view part : split(header, ';')) {
        const std::string_view pair = trimmed(part);
        if (pair.starts_with(cookieName) && pair.substr(cookieName.size()).starts_with('=')) {
            return std::string(pair.substr(cookieName.size() + 1));
        }
    }
    return {};
}

bool isPlainTarget(std::string_view target) {
    return target.starts_with('/') &&
           std::all_of(target.begin(), target.end(), [](char c) { return c > ' ' && c < 127; });
}

HttpError badLogin(const std::string& message) {
    return {400, "bad_login", message};
}

} // namespace

SignIn::SignIn(Store& store, SignInRule rule, int port)
    : m_store(store), m_rule(rule), m_port(port), m_nonces(timeToChoose), m_visits(timeToComeBack) {}

const Person* SignIn::bearer(const Exchange& exchange) {
    constexpr std::string_view bearer = "bearer ";
    const std::string header = exchange.header("Authorization");
    if (lowerCased(header.substr(0, bearer.size())) == bearer) {
        const auto use = m_store.token(digest(trimmed(std::string_view(header).substr(bearer.size()))));
        if (use && use->scope == apiScope) {
            return personWithId(use->person);
        }
    }
    return nullptr;
}

const Person* SignIn::caller(const Exchange& exchange) {
    if (const Person* const person = bearer(exchange)) {
        return person;
    }
    return m_rule == SignInRule::Nobody ? &localPerson() : nullptr;
}

const Person* SignIn::visitor(const Exchange& exchange, const std::string& site) {
    if (m_rule == SignInRule::Nobody) {
        return &localPerson();
    }
    if (const Person* const person = bearer(exchange)) {
        return person;
    }
    const std::string secret = cookie(exchange.header("Cookie"));
    if (secret.empty()) {
        return nullptr;
    }
    const auto use = m_store.token(digest(secret));
    return use && use->scope == siteScope(site) ? personWithId(use->person) : nullptr;
}

std::string SignIn::newToken(const Person& person, const std::string& scope) {
    std::string token = freshSecret();
    m_store.addToken(digest(token), {std::string(person.id), scope});
    return token;
}

void SignIn::login(Exchange& exchange) {
    if (exchange.method() == "POST") {
        choose(exchange);
    } else if (exchange.method() == "GET" || exchange.method() == "HEAD") {
        showPage(exchange);
    } else {
        exchange.response().set_header("Allow", "GET, HEAD, POST");
        throw HttpError(405, "method_not_allowed", "This page can be read and filled in only");
    }
}

SignIn::Goal SignIn::goalOf(const Exchange& exchange) const {
    Goal goal;
    const std::string address = exchange.field("return");
    if (!address.empty()) {
        const size_t slash = address.find('/', scheme.size());
        const std::string origin = address.substr(0, slash);
        const HostName host = originHost(origin, m_port);
        const std::string path = slash == std::string::npos ? "/" : address.substr(slash);
        if (host.kind != HostName::Kind::Site || !isPlainTarget(path)) {
            throw badLogin("A sign-in leads back to a site of this platform only");
        }
        goal.site = host.site;
        goal.siteAddress = origin;
        goal.pathOnSite = path;
        return goal;
    }
    const auto port = decimal(exchange.field("cli_port"));
    if (!port || *port == 0 || *port > highestPort) {
        throw badLogin("The program that asks for a sign-in must name the port on which it listens. Start the sign-in "
                       "from the program again.");
    }
    goal.callbackPort = *port;
    goal.state = exchange.field("cli_state");
    if (goal.state.empty() || goal.state.size() > longestState) {
        throw badLogin("The program that asks for a sign-in must say which one it is. Start the sign-in from the "
                       "program again.");
    }
    return goal;
}

void SignIn::showPage(Exchange& exchange) {
    Goal goal = goalOf(exchange);
    const std::string purpose = goal.site.empty() ? "the program that sent you here" : "the site “" + goal.site + "”";
    exchange.answerPage(200, pages::signIn(purpose, m_nonces.put(std::move(goal))));
}

void SignIn::choose(Exchange& exchange) {
    const auto form = formFields(exchange.smallBody("application/x-www-form-urlencoded"));
    const auto valueOf = [&form](const char* name) {
        const auto found = form.find(name);
        return found == form.end() ? std::string() : found->second;
    };
    const Person* person = personWithId(valueOf("person"));
    if (person == nullptr) {
        throw badLogin("There is no such person");
    }
    const auto goal = m_nonces.take(valueOf("nonce"));
    if (!goal) {
        throw HttpError(403, "expired", "This page has been used already or is too old. Start the sign-in again.");
    }
    // 303 turns the form's POST into a GET.
    if (goal->site.empty()) {
        exchange.redirect(303, "http://127.0.0.1:" + std::to_string(goal->callbackPort) + "/callback?token=" +
                                   newToken(*person, std::string(apiScope)) + "&state=" + percentEncoded(goal->state));
    } else {
        const std::string ticket = m_visits.put({std::string(person->id), *goal});
        exchange.redirect(303, goal->siteAddress + std::string(visitPath) + "?ticket=" + ticket);
    }
}

std::string SignIn::loginUrlFor(const Exchange& exchange) const {
    const std::string here = std::string(scheme) + exchange.header("Host") + exchange.request().target;
    return platformUrl(m_port) + "/auth/login?return=" + percentEncoded(here);
}

void SignIn::beginVisit(Exchange& exchange, const std::string& site) {
    const auto visit = m_visits.take(exchange.field("ticket"));
    const Person* person = visit && visit->goal.site == site ? personWithId(visit->person) : nullptr;
    if (person == nullptr) {
        throw HttpError(403, "expired", "This sign-in has been used already or is too old. Open the site again.");
    }
    exchange.response().set_header("Set-Cookie", std::string(cookieName) + '=' + newToken(*person, siteScope(site)) +
                                                     "; Path=/; HttpOnly; SameSite=Lax");
    exchange.redirect(303, visit->goal.siteAddress + visit->goal.pathOnSite);
}

} // namespace driftwell::sandbox
