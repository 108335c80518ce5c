#include "apps/sandbox/Api.h"
#include "apps/sandbox/Collaboration.h"
#include "apps/sandbox/DataFolder.h"
#include "apps/sandbox/GitProcess.h"
#include "apps/sandbox/GitRemote.h"
#include "apps/sandbox/HostedSites.h"
#include "apps/sandbox/HostName.h"
#include "apps/sandbox/HttpServer.h"
#include "apps/sandbox/Misbehaviour.h"
#include "apps/sandbox/Options.h"
#include "apps/sandbox/Publishing.h"
#include "apps/sandbox/PushCheck.h"
#include "apps/sandbox/Router.h"
#include "apps/sandbox/SignIn.h"
#include "apps/sandbox/StopSignal.h"
#include "apps/sandbox/Store.h"
#include "apps/sandbox/Sweeper.h"

#include <pthread.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>

namespace {

using namespace driftwell::sandbox;

/// Blocked before the first thread starts, so that only waitForEnd() sees them.
sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

void waitForEnd() {
    const sigset_t signals = endSignals();
    int received = 0;
    sigwait(&signals, &received);
}

void run(const Options& options) {
    StopSignal stop;
    const DataFolder folder(options.data);
    Store store(folder.database());
    folder.removeLeftovers(store.keptVersions(), store.keptRepositories());
    installPushCheck(folder.hooks());

    HttpServer server(options.port, stop);
    Sweeper sweeper;
    SignIn signIn(store, options.signIn, server.port());
    const GitHost git{stop, folder.gitLock()};
    Collaboration collaboration(folder, store, sweeper, options.limits.unpacked, git);
    collaboration.putAllRight();
    Publishing publishing(folder, store, sweeper, collaboration, options.limits, stop);
    Api api(store, publishing, collaboration, signIn, server.port());
    GitRemote gitRemote(folder, signIn, collaboration, options.limits, git, options.races);
    HostedSites hostedSites(folder, store, signIn);
    Misbehaviour misbehaviour(options.switches);
    Router router({store, api, signIn, hostedSites, gitRemote, misbehaviour, stop}, server.port());

    server.start(router);
    std::printf("Driftwell sandbox: %s\n", platformUrl(server.port()).c_str());
    std::fflush(stdout);
    waitForEnd();
    stop.request();
    server.stop();
}

} // namespace

int main(int argc, char** argv) {
    // Names in archives are bytes or UTF-8, whatever the user's own locale has.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::signal(SIGPIPE, SIG_IGN);
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    if (argc > 0 && std::filesystem::path(argv[0]).filename() == pushCheckName) {
        return runPushCheck();
    }
    try {
        const auto parsed = parseOptions(argc, argv);
        if (const int* status = std::get_if<int>(&parsed)) {
            return *status;
        }
        run(std::get<Options>(parsed));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "driftwell-sandbox: %s\n", error.what());
        return 1;
    }
}
