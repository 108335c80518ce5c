#pragma once

#include "apps/sandbox/DataFolder.h"
#include "apps/sandbox/SiteFiles.h"
#include "apps/sandbox/SiteLocks.h"
#include "apps/sandbox/SiteRepository.h"
#include "apps/sandbox/Store.h"
#include "apps/sandbox/Sweeper.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace driftwell::sandbox {

/// Where a push is taken.
struct PushPlace {
    /// The name of the repository's folder.
    std::string repository;
    /// The folder of the new version, empty, and the file that tells what is in it (PushCheck.h).
    std::filesystem::path version;
    std::filesystem::path summary;
};

/// The histories of the sites that people edit together. What "main" has is what is live: a push becomes a version, and
/// a version that came in another way becomes a commit.
class Collaboration {
public:
    Collaboration(const DataFolder& folder, Store& store, Sweeper& sweeper, const UnpackLimits& limits,
                  const GitHost& host);

    /// Keeps everybody else from changing the site. Throws HttpError.
    [[nodiscard]] SiteLocks::Hold hold(const std::string& site) { return m_locks.take(site); }

    /// Each gives the site as it is afterwards, or nothing when there is none. The history of a site outlives the time
    /// in which people edit it together, so that a second beginning goes on with it.
    [[nodiscard]] std::optional<Site> start(const std::string& name, const std::string& person);
    [[nodiscard]] std::optional<Site> stop(const std::string& site);

    /// The site. Throws HttpError where there is none or people do not edit it together.
    [[nodiscard]] Site sharedSite(const std::string& name);

    /// Has `receive` take a push by a person, and makes live what "main" is at then. What cannot be made live is taken
    /// back from "main" as well, and thrown.
    void takePush(const std::string& name, const std::string& person,
                  const std::function<void(const PushPlace&)>& receive);

    /// Publishes a small change of a colleague's, as if it had been pushed.
    void pushInBetween(const std::string& name, const std::string& text);

    /// Makes live what "main" is at, where a program that was killed did not get so far. To be called before the first
    /// request, and for one site whenever somebody asks for its history.
    void putAllRight();
    void putRight(const std::string& site);

    /// A version as a commit of the site's history, for as long as the site is held. Unless it is kept, "main" goes
    /// back to where it was.
    class Record {
    public:
        /// `site` may not exist yet, or may not be edited together; then there is no commit.
        Record(Collaboration& collaboration, const std::optional<Site>& site, const std::string& version,
               const SiteRepository::Commit& commit);
        ~Record();
        Record(const Record&) = delete;
        Record& operator=(const Record&) = delete;

        [[nodiscard]] const std::optional<std::string>& head() const { return m_head; }
        void keep() { m_isKept = true; }

    private:
        std::optional<SiteRepository> m_repository;
        std::optional<std::string> m_before;
        std::optional<std::string> m_head;
        bool m_isKept = false;
    };

private:
    [[nodiscard]] SiteRepository repositoryOf(const Site& site) const;
    /// For callers that hold the site.
    void settle(const Site& site);
    void publishHead(const Site& site, const std::string& head, const std::string& person, const std::string& version);
    [[nodiscard]] Unpacked unpackHead(const Site& site, const std::string& head, const std::string& version) const;
    [[nodiscard]] std::filesystem::path summaryOf(const std::string& version) const;

    const DataFolder& m_folder;
    Store& m_store;
    Sweeper& m_sweeper;
    const UnpackLimits& m_limits;
    const GitHost& m_git;
    SiteLocks m_locks;
};

} // namespace driftwell::sandbox
