#pragma once

#include "apps/sandbox/DataFolder.h"
#include "apps/sandbox/Exchange.h"
#include "apps/sandbox/SignIn.h"
#include "apps/sandbox/Store.h"

namespace driftwell::sandbox {

/// Serves the files of the live version of each site at the site's own address.
class HostedSites {
public:
    HostedSites(const DataFolder& folder, Store& store, SignIn& signIn);

    /// Throws HttpError.
    void serve(Exchange& exchange, const std::string& site);

private:
    /// True when the visitor may go on; otherwise the exchange has its answer. Absent for a site that does not exist.
    [[nodiscard]] bool admit(Exchange& exchange, const std::string& name, const std::optional<Site>& site);
    enum class Outcome { Answered, Missing };
    [[nodiscard]] Outcome serveFrom(Exchange& exchange, const std::string& version) const;

    const DataFolder& m_folder;
    Store& m_store;
    SignIn& m_signIn;
};

} // namespace driftwell::sandbox
