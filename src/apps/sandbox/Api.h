#pragma once

#include "apps/sandbox/Collaboration.h"
#include "apps/sandbox/Exchange.h"
#include "apps/sandbox/Publishing.h"
#include "apps/sandbox/SignIn.h"
#include "apps/sandbox/Store.h"

#include <optional>
#include <string>
#include <vector>

namespace driftwell::sandbox {

/// The paths under `/api/`.
class Api {
public:
    Api(Store& store, Publishing& publishing, Collaboration& collaboration, SignIn& signIn, int port);

    /// Throws HttpError.
    void handle(Exchange& exchange);

private:
    struct Route;
    struct Call;
    static const std::vector<Route>& routes();

    void me(Call& call);
    void sites(Call& call);
    void stats(Call& call);
    void libs(Call& call) const;
    void logs(Call& call);
    void deploy(Call& call);
    void rollBack(Call& call);
    void deleteSite(Call& call);
    void setLib(Call& call);
    void setAccess(Call& call);
    void enableCollab(Call& call);
    void disableCollab(Call& call);
    static void answerCollab(Call& call, const std::optional<Site>& site);

    Store& m_store;
    Publishing& m_publishing;
    Collaboration& m_collaboration;
    SignIn& m_signIn;
    const int m_port;
};

} // namespace driftwell::sandbox
