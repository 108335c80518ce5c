#include "apps/sandbox/Publishing.h"

#include "apps/sandbox/Cleanup.h"
#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/ReceivedBody.h"
#include "apps/sandbox/Secrets.h"
#include "apps/sandbox/Text.h"
#include "apps/sandbox/Unpacker.h"

namespace driftwell::sandbox {

namespace {

std::string uploadDetail(const Unpacked& unpacked) {
    std::string detail =
        "Deployed " + counted(unpacked.files, "file", "files") + " (" + byteCount(unpacked.bytes) + ")";
    if (unpacked.skipped > 0) {
        detail += ", left out " + counted(unpacked.skipped, "link or device", "links or devices");
    }
    return detail;
}

} // namespace

Publishing::Publishing(const DataFolder& folder, Store& store, Sweeper& sweeper, Collaboration& collaboration,
                       const UploadLimits& limits, const StopSignal& stop)
    : m_folder(folder),
      m_store(store),
      m_sweeper(sweeper),
      m_collaboration(collaboration),
      m_limits(limits),
      m_stop(stop) {}

Unpacked Publishing::deploy(Exchange& exchange, const std::string& site, const std::string& person) {
    const std::string id = freshId();
    const ReceivedBody upload(exchange, m_folder.upload(id), m_limits.upload, "upload");
    if (upload.size() == 0) {
        throw HttpError(400, "empty_archive", "The upload is empty");
    }

    const std::filesystem::path folder = m_folder.version(id);
    // Elsewhere and one after the other: removing a deep folder keeps each level open.
    Cleanup removeFolder([this, &folder] { m_sweeper.remove(folder); });
    std::filesystem::create_directory(folder);
    const Unpacked unpacked = unpack(upload.path(), folder, m_limits.unpacked, m_stop);

    const auto hold = m_collaboration.hold(site);
    Collaboration::Record record(m_collaboration, m_store.site(site), id, {person, "Deploy an upload"});
    const auto dropped = m_store.publish(site, id, person, uploadDetail(unpacked), record.head());
    record.keep();
    removeFolder.dismiss();
    if (dropped) {
        discard(*dropped);
    }
    return unpacked;
}

Store::Rollback Publishing::rollBack(const std::string& name, const std::string& person) {
    const auto hold = m_collaboration.hold(name);
    const auto site = m_store.site(name);
    if (!site || !site->previousVersion) {
        return site ? Store::Rollback::NoPrevious : Store::Rollback::NoSite;
    }
    Collaboration::Record record(m_collaboration, site, *site->previousVersion,
                                 {person, "Roll back to the version before"});
    const Store::Rollback result = m_store.rollBack(name, person, record.head());
    record.keep();
    return result;
}

bool Publishing::remove(const std::string& site, const std::string& person) {
    const auto hold = m_collaboration.hold(site);
    const auto removed = m_store.remove(site, person);
    if (!removed) {
        return false;
    }
    for (const std::string& version : removed->versions) {
        discard(version);
    }
    if (removed->repository) {
        m_sweeper.remove(m_folder.repository(*removed->repository));
    }
    return true;
}

void Publishing::discard(const std::string& version) {
    m_sweeper.remove(m_folder.version(version));
}

} // namespace driftwell::sandbox
