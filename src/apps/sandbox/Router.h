#pragma once

#include "apps/sandbox/Api.h"
#include "apps/sandbox/Exchange.h"
#include "apps/sandbox/GitRemote.h"
#include "apps/sandbox/HostedSites.h"
#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/Misbehaviour.h"
#include "apps/sandbox/SignIn.h"
#include "apps/sandbox/StopSignal.h"
#include "apps/sandbox/Store.h"

namespace driftwell::sandbox {

/// Gives each request to the part of the platform that it is for, and turns every failure into an answer.
class Router : public RequestHandler {
public:
    struct Parts {
        Store& store;
        Api& api;
        SignIn& signIn;
        HostedSites& hostedSites;
        GitRemote& gitRemote;
        Misbehaviour& misbehaviour;
        const StopSignal& stop;
    };
    Router(const Parts& parts, int port);

    void handle(Exchange& exchange) override;

private:
    enum class ErrorForm { Json, Page, Line };
    void answerOrFail(Exchange& exchange, ErrorForm form, const std::function<void()>& answer);
    void platform(Exchange& exchange);
    [[nodiscard]] static ErrorForm errorForm(std::string_view path);
    static void answerError(Exchange& exchange, ErrorForm form, const HttpError& error);
    void refuseOtherOrigins(Exchange& exchange) const;
    void welcome(Exchange& exchange);

    Parts m_parts;
    const int m_port;
};

} // namespace driftwell::sandbox
