#pragma once

#include "apps/sandbox/DataFolder.h"
#include "apps/sandbox/Exchange.h"
#include "apps/sandbox/StopSignal.h"
#include "apps/sandbox/Store.h"
#include "apps/sandbox/Sweeper.h"
#include "apps/sandbox/Unpacker.h"

namespace driftwell::sandbox {

struct UploadLimits {
    std::uint64_t upload = std::uint64_t{4} << 30U;
    UnpackLimits unpacked;
};

/// Turns an upload into the live version of a site: received into a file, unpacked into a folder of its own, and then
/// made live in one step. Whatever fails before that step leaves the site as it was and nothing behind.
class Publishing {
public:
    Publishing(const DataFolder& folder, Store& store, Sweeper& sweeper, const UploadLimits& limits,
               const StopSignal& stop);

    /// `person` is the address of who deploys. Throws HttpError.
    Unpacked deploy(Exchange& exchange, const std::string& site, const std::string& person);

    /// Removes the files of a version that nothing refers to any more.
    void discard(const std::string& version);

private:
    void receive(Exchange& exchange, const std::filesystem::path& file) const;

    const DataFolder& m_folder;
    Store& m_store;
    Sweeper& m_sweeper;
    const UploadLimits& m_limits;
    const StopSignal& m_stop;
};

} // namespace driftwell::sandbox
