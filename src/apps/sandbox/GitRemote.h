#pragma once

#include "apps/sandbox/Collaboration.h"
#include "apps/sandbox/DataFolder.h"
#include "apps/sandbox/Exchange.h"
#include "apps/sandbox/GitProcess.h"
#include "apps/sandbox/SignIn.h"
#include "apps/sandbox/UploadLimits.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <semaphore>
#include <string>

namespace driftwell::sandbox {

/// The paths `/git/NAME`, where git fetches the history of a site and pushes to it (gitprotocol-http(5)), by way of
/// git's own http-backend(1). Only what a fetch and a push need is answered.
///
/// A request is received whole, within limits, before git begins with it: what is slow to send keeps no git and no site
/// busy. An answer to a push is sent when its version is live; an answer to a fetch is passed on while git makes it,
/// and git ends when nobody takes it any more.
class GitRemote {
public:
    static constexpr std::string_view prefix = "/git/";

    /// Before each of the first `races` pushes somebody else gets ahead.
    GitRemote(const DataFolder& folder, SignIn& signIn, Collaboration& collaboration, const UploadLimits& limits,
              const GitHost& host, std::uint64_t races);

    /// Throws HttpError.
    void handle(Exchange& exchange);

private:
    class Place;
    struct Backend;
    struct Question;

    [[nodiscard]] const Person& requireTeam(Exchange& exchange);
    void advertise(Exchange& exchange, const std::string& site, const Question& question);
    void fetch(Exchange& exchange, const Site& site, const Question& question);
    void push(Exchange& exchange, const std::string& site, const Person& person, const Question& question);
    void loseRace(const std::string& site);

    [[nodiscard]] std::unique_ptr<Place> takePlace();
    [[nodiscard]] GitCommand commandFor(const Exchange& exchange, const std::string& repository,
                                        const Question& question) const;

    const DataFolder& m_folder;
    SignIn& m_signIn;
    Collaboration& m_collaboration;
    const UploadLimits& m_limits;
    const GitHost& m_git;
    static constexpr std::ptrdiff_t mostBackends = 8;
    std::counting_semaphore<mostBackends> m_places{mostBackends};
    const std::uint64_t m_races;
    std::atomic<std::uint64_t> m_racesLost = 0;
};

} // namespace driftwell::sandbox
