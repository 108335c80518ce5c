#include "support/ExitDeadline.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <string_view>

namespace driftwell {

namespace {

constexpr int failed = 1;
std::atomic<bool> isSet = false;

/// Calls only what a signal handler may call (signal-safety(7)); no thread and no memory is needed.
void end(int) {
    constexpr std::string_view text = "Something that was under way did not end, and was ended with the program.\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    ::_exit(failed);
}

} // namespace

void endProcessWithin(std::chrono::seconds time) {
    if (isSet.exchange(true)) {
        return;
    }
    struct sigaction action {};
    action.sa_handler = end;
    ::sigaction(SIGALRM, &action, nullptr);
    // Whoever started the process may have blocked it.
    sigset_t alarm{};
    ::sigemptyset(&alarm);
    ::sigaddset(&alarm, SIGALRM);
    ::pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    ::alarm(static_cast<unsigned>(time.count()));
}

} // namespace driftwell
