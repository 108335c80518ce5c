#include "apps/sandbox/Collaboration.h"

#include "apps/sandbox/Cleanup.h"
#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/PushCheck.h"
#include "apps/sandbox/PushedFiles.h"
#include "apps/sandbox/Secrets.h"
#include "apps/sandbox/Team.h"
#include "apps/sandbox/Text.h"

#include <cstdio>
#include <exception>
#include <system_error>
#include <utility>

namespace driftwell::sandbox {

namespace {

void removeFile(const std::filesystem::path& file) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

void complain(const std::string& what, const std::exception& failure) {
    std::fprintf(stderr, "driftwell-sandbox: %s: %s\n", what.c_str(), failure.what());
}

} // namespace

Collaboration::Collaboration(const DataFolder& folder, Store& store, Sweeper& sweeper, const UnpackLimits& limits,
                             const GitHost& host)
    : m_folder(folder), m_store(store), m_sweeper(sweeper), m_limits(limits), m_git(host), m_locks(host.stop) {}

SiteRepository Collaboration::repositoryOf(const Site& site) const {
    return {m_folder.repository(site.repository.value()), m_git};
}

std::filesystem::path Collaboration::summaryOf(const std::string& version) const {
    return m_folder.upload(version + ".summary");
}

std::optional<Site> Collaboration::start(const std::string& name, const std::string& person) {
    const auto held = hold(name);
    const auto site = m_store.site(name);
    if (!site || (site->collab && site->repository)) {
        return site;
    }
    const std::string id = site->repository.value_or(freshId());
    const SiteRepository repository(m_folder.repository(id), m_git);
    Cleanup removeRepository([&] {
        if (!site->repository) {
            m_sweeper.remove(m_folder.repository(id));
        }
    });
    if (site->repository) {
        repository.removeLeftovers();
    } else {
        repository.create();
    }
    const std::string head =
        repository.record(m_folder.version(site->liveVersion), {person, "Begin to edit “" + name + "” together"});
    auto started = m_store.startCollab(name, id, head);
    removeRepository.dismiss();
    return started;
}

std::optional<Site> Collaboration::stop(const std::string& site) {
    const auto held = hold(site);
    return m_store.stopCollab(site);
}

Site Collaboration::sharedSite(const std::string& name) {
    auto site = m_store.site(name);
    if (!site) {
        throw HttpError(404, "site_not_found", "There is no site called “" + name + "”");
    }
    if (!site->collab || !site->repository) {
        throw HttpError(404, "no_collab", "Collaboration is not switched on for “" + name + "”");
    }
    return *std::move(site);
}

void Collaboration::takePush(const std::string& name, const std::string& person,
                             const std::function<void(const PushPlace&)>& receive) {
    const auto held = hold(name);
    settle(sharedSite(name));
    const Site site = sharedSite(name);
    const SiteRepository repository = repositoryOf(site);

    const std::string version = freshId();
    const std::filesystem::path folder = m_folder.version(version);
    Cleanup removeFolder([this, &folder] { m_sweeper.remove(folder); });
    const Cleanup removeSummary([this, &version] { removeFile(summaryOf(version)); });
    std::filesystem::create_directory(folder);
    m_store.expectPush(name, person);
    receive({*site.repository, folder, summaryOf(version)});
    const auto head = repository.head();
    if (!head || head == site.head) {
        m_store.expectPush(name, std::nullopt);
        return;
    }
    publishHead(site, *head, person, version);
    removeFolder.dismiss();
    try {
        repository.tidyUp();
    } catch (const std::exception& failure) {
        complain("tidying up the history of " + name, failure);
    }
}

void Collaboration::publishHead(const Site& site, const std::string& head, const std::string& person,
                                const std::string& version) {
    try {
        const auto checked = readSummary(summaryOf(version), head);
        const Unpacked unpacked = checked ? *checked : unpackHead(site, head, version);
        const auto dropped = m_store.publish(site.name, version, person,
                                             "Published " + counted(unpacked.files, "file", "files") + " (" +
                                                 byteCount(unpacked.bytes) + ") from a push",
                                             head);
        if (dropped) {
            m_sweeper.remove(m_folder.version(*dropped));
        }
    } catch (const std::exception&) {
        repositoryOf(site).moveHead(head, site.head);
        throw;
    }
}

Unpacked Collaboration::unpackHead(const Site& site, const std::string& head, const std::string& version) const {
    const std::filesystem::path list = m_folder.upload(version + ".objects");
    const Cleanup removeList([&list] { removeFile(list); });
    return unpackCommit({m_folder.repository(*site.repository), head}, m_folder.version(version), list, m_limits,
                        m_git);
}

void Collaboration::pushInBetween(const std::string& name, const std::string& text) {
    const auto held = hold(name);
    const Site site = sharedSite(name);
    const Person& colleague = people()[1];
    repositoryOf(site).removeLeftovers();
    m_store.expectPush(name, std::string(colleague.email));
    static_cast<void>(
        repositoryOf(site).recordFile("race.txt", text, {std::string(colleague.email), "Change race.txt"}));
    settle(site);
}

void Collaboration::settle(const Site& site) {
    const SiteRepository repository = repositoryOf(site);
    repository.removeLeftovers();
    const auto head = repository.head();
    if (!head || head == site.head) {
        m_store.expectPush(site.name, std::nullopt);
        return;
    }
    const std::string version = freshId();
    const std::filesystem::path folder = m_folder.version(version);
    Cleanup removeFolder([this, &folder] { m_sweeper.remove(folder); });
    std::filesystem::create_directory(folder);
    publishHead(site, *head, site.pushedBy.value_or(site.owner), version);
    removeFolder.dismiss();
}

void Collaboration::putRight(const std::string& site) {
    const auto held = hold(site);
    settle(sharedSite(site));
}

void Collaboration::putAllRight() {
    for (const Site& site : m_store.sites()) {
        try {
            if (site.collab && !site.repository) {
                static_cast<void>(start(site.name, site.owner));
            } else if (site.collab) {
                putRight(site.name);
            }
        } catch (const std::exception& failure) {
            complain("the history of " + site.name, failure);
        }
    }
}

Collaboration::Record::Record(Collaboration& collaboration, const std::optional<Site>& site, const std::string& version,
                              const SiteRepository::Commit& commit) {
    if (!site || !site->collab || !site->repository) {
        return;
    }
    m_repository.emplace(collaboration.repositoryOf(*site));
    m_repository->removeLeftovers();
    m_before = m_repository->head();
    m_head = m_repository->record(collaboration.m_folder.version(version), commit);
}

Collaboration::Record::~Record() {
    if (!m_head || m_isKept || m_head == m_before) {
        return;
    }
    try {
        m_repository->moveHead(*m_head, m_before);
    } catch (const std::exception& failure) {
        complain("taking back a commit", failure);
    }
}

} // namespace driftwell::sandbox
