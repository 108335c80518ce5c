#include "apps/sandbox/Router.h"

#include "apps/sandbox/HostName.h"
#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/Libraries.h"
#include "apps/sandbox/Pages.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace driftwell::sandbox {

namespace {

constexpr std::string_view apiPrefix = "/api/";
constexpr std::string_view libsPrefix = "/libs/";
constexpr std::string_view loginPath = "/auth/login";

HttpError fromSystem(const std::error_code& code, const std::string& text) {
    if (code.value() == ENOSPC || code.value() == EDQUOT) {
        return {507, "disk_full", "The sandbox has no room left on its disk"};
    }
    return {500, "internal", "The sandbox failed: " + text};
}

} // namespace

Router::Router(const Parts& parts, int port) : m_parts(parts), m_port(port) {}

Router::ErrorForm Router::errorForm(std::string_view path) {
    // Git shows a line of plain text to whoever runs it, and nothing else.
    return path.starts_with(GitRemote::prefix) ? ErrorForm::Line
           : path == "/" || path == loginPath  ? ErrorForm::Page
                                               : ErrorForm::Json;
}

void Router::answerError(Exchange& exchange, ErrorForm form, const HttpError& error) {
    switch (form) {
    case ErrorForm::Json:
        exchange.answerError(error.status(), error.code(), error.what());
        break;
    case ErrorForm::Page:
        exchange.answerPage(error.status(),
                            pages::message(error.status() == 404 ? "Not found" : "This did not work", error.what()));
        break;
    case ErrorForm::Line:
        exchange.answerText(error.status(), error.what());
        break;
    }
}

void Router::answerOrFail(Exchange& exchange, ErrorForm form, const std::function<void()>& answer) {
    try {
        answer();
    } catch (const HttpError& error) {
        answerError(exchange, form, error);
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "driftwell-sandbox: %s\n", error.what());
        answerError(exchange, form, fromSystem(error.code(), error.what()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "driftwell-sandbox: %s\n", error.what());
        answerError(exchange, form, HttpError(500, "internal", std::string("The sandbox failed: ") + error.what()));
    }
}

void Router::handle(Exchange& exchange) {
    const HostName host = hostName(exchange.header("Host"), m_port);
    switch (host.kind) {
    case HostName::Kind::Platform:
        platform(exchange);
        break;
    case HostName::Kind::Site:
        answerOrFail(exchange, ErrorForm::Page, [&] { m_parts.hostedSites.serve(exchange, host.site); });
        break;
    case HostName::Kind::Foreign:
        exchange.answerError(421, "wrong_host", "The sandbox answers to " + platformUrl(m_port) + " only");
        break;
    }
}

void Router::platform(Exchange& exchange) {
    const Switches* switches = m_parts.misbehaviour.next(exchange.path());
    if (switches != nullptr && switches->cutAnswer) {
        exchange.cutAnswerAfter(*switches->cutAnswer);
    }
    if (switches != nullptr && switches->cutUpload) {
        exchange.cutUploadAfter(*switches->cutUpload);
    }
    answerOrFail(exchange, errorForm(exchange.path()), [&] {
        if (switches != nullptr && switches->failStatus) {
            // As a platform would that fails at its own work: the upload has arrived by then.
            static_cast<void>(exchange.readBody([](const char*, size_t) { return true; }));
            throw HttpError(*switches->failStatus, "test_failure", "This failure was asked for with --fail");
        }
        refuseOtherOrigins(exchange);
        if (exchange.path().starts_with(apiPrefix)) {
            m_parts.api.handle(exchange);
        } else if (exchange.path() == loginPath) {
            m_parts.signIn.login(exchange);
        } else if (exchange.path().starts_with(libsPrefix)) {
            serveLibrary(exchange);
        } else if (exchange.path().starts_with(GitRemote::prefix)) {
            m_parts.gitRemote.handle(exchange);
        } else if (exchange.path() == "/") {
            welcome(exchange);
        } else {
            throw HttpError(404, "not_found", "There is nothing at this address");
        }
    });
    if (switches != nullptr) {
        m_parts.stop.wait(switches->delay);
    }
}

void Router::refuseOtherOrigins(Exchange& exchange) const {
    // Without accounts nothing but this keeps a page in the user's browser from acting here. Programs send no Origin.
    const std::string origin = exchange.header("Origin");
    const bool reads = exchange.method() == "GET" || exchange.method() == "HEAD" || exchange.method() == "OPTIONS";
    // No page has a use for a site's history.
    const bool mayBeAsked = reads && !exchange.path().starts_with(GitRemote::prefix);
    if (!mayBeAsked && !origin.empty() && originHost(origin, m_port).kind != HostName::Kind::Platform) {
        throw HttpError(403, "cross_origin", "Pages from elsewhere cannot use this platform");
    }
}

void Router::welcome(Exchange& exchange) {
    if (exchange.method() != "GET" && exchange.method() != "HEAD") {
        exchange.response().set_header("Allow", "GET, HEAD");
        throw HttpError(405, "method_not_allowed", "This page can be read only");
    }
    // Which sites there are is for the team to know.
    const Person* caller = m_parts.signIn.caller(exchange);
    if (caller != nullptr && caller->membership != Membership::Team) {
        throw notOnTheTeam();
    }
    exchange.answerPage(200, pages::welcome(caller != nullptr ? m_parts.store.sites() : std::vector<Site>(), m_port));
}

} // namespace driftwell::sandbox
