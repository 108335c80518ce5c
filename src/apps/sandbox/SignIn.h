#pragma once

#include "apps/sandbox/Exchange.h"
#include "apps/sandbox/OneTime.h"
#include "apps/sandbox/Options.h"
#include "apps/sandbox/Store.h"
#include "apps/sandbox/Team.h"

#include <string>

namespace driftwell::sandbox {

/// Who is asking. A program has a bearer token, which it gets by sending a browser to `/auth/login`; a visitor of a
/// site has a cookie for that site alone.
class SignIn {
public:
    SignIn(Store& store, SignInRule rule, int port);

    /// The person behind a request to the API; nobody when a token is needed and none is known.
    [[nodiscard]] const Person* caller(const Exchange& exchange);

    /// The person who looks at a site; nobody when that person has not signed in there. A program that looks at one for
    /// its person brings the person's token.
    [[nodiscard]] const Person* visitor(const Exchange& exchange, const std::string& site);

    /// `/auth/login`: the page on which a person is chosen, and the choice. Throws HttpError.
    void login(Exchange& exchange);

    [[nodiscard]] bool isRequired() const { return m_rule == SignInRule::Everybody; }

    /// Where a visitor signs in to come back to this request.
    [[nodiscard]] std::string loginUrlFor(const Exchange& exchange) const;

    /// The path on every site's address where a visitor who has signed in comes back.
    static constexpr std::string_view visitPath = "/_driftwell/session";
    void beginVisit(Exchange& exchange, const std::string& site);

private:
    /// Whose token a program brings.
    [[nodiscard]] const Person* bearer(const Exchange& exchange);

    /// Where a sign-in leads: to a program that listens on this machine, or back to a site.
    struct Goal {
        std::uint64_t callbackPort = 0;
        std::string state;
        std::string site;
        std::string siteAddress;
        std::string pathOnSite;
    };
    struct Visit {
        std::string person;
        Goal goal;
    };

    [[nodiscard]] Goal goalOf(const Exchange& exchange) const;
    void showPage(Exchange& exchange);
    void choose(Exchange& exchange);
    [[nodiscard]] std::string newToken(const Person& person, const std::string& scope);

    Store& m_store;
    const SignInRule m_rule;
    const int m_port;
    OneTime<Goal> m_nonces;
    OneTime<Visit> m_visits;
};

} // namespace driftwell::sandbox
