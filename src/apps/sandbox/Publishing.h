#pragma once

#include "apps/sandbox/Collaboration.h"
#include "apps/sandbox/DataFolder.h"
#include "apps/sandbox/Exchange.h"
#include "apps/sandbox/SiteFiles.h"
#include "apps/sandbox/StopSignal.h"
#include "apps/sandbox/Store.h"
#include "apps/sandbox/Sweeper.h"
#include "apps/sandbox/UploadLimits.h"

namespace driftwell::sandbox {

/// Changes which version of a site is live. An upload is received into a file, unpacked into a folder of its own, and
/// then made live in one step. Whatever fails before that step leaves the site as it was and nothing behind. Where
/// people edit a site together, each change is a commit of its history as well.
class Publishing {
public:
    Publishing(const DataFolder& folder, Store& store, Sweeper& sweeper, Collaboration& collaboration,
               const UploadLimits& limits, const StopSignal& stop);

    /// `person` is the address of who deploys. Throws HttpError.
    Unpacked deploy(Exchange& exchange, const std::string& site, const std::string& person);

    [[nodiscard]] Store::Rollback rollBack(const std::string& name, const std::string& person);

    /// Whether there was such a site.
    [[nodiscard]] bool remove(const std::string& site, const std::string& person);

private:
    /// Removes the files of a version that nothing refers to any more.
    void discard(const std::string& version);

    const DataFolder& m_folder;
    Store& m_store;
    Sweeper& m_sweeper;
    Collaboration& m_collaboration;
    const UploadLimits& m_limits;
    const StopSignal& m_stop;
};

} // namespace driftwell::sandbox
