#include "tooling/InteractiveShell.h"

#include "support/Cancellation.h"
#include "support/ChildProcess.h"
#include "tooling/CommandLookup.h"
#include "tooling/MarkedOutput.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

namespace driftwell {

namespace {

using namespace std::chrono_literals;

constexpr std::string_view blanks = " \t\r\n\v\f";

std::string trimmed(std::string_view text) {
    const std::size_t first = std::min(text.find_first_not_of(blanks), text.size());
    text.remove_prefix(first);
    return std::string(text.substr(0, text.find_last_not_of(blanks) + 1));
}

ChildProcess::Command questionTo(const std::filesystem::path& shell) {
    ChildProcess::Command command{shell,
                                  {"-i", "-l", "-c", "printf __DW__; /usr/bin/printenv PATH; printf __DW__"},
                                  ProcessEnvironment::inherited()};
    // An interactive shell does not listen to a request to terminate.
    command.terminationGrace = 100ms;
    command.session = ChildProcess::Session::Own;
    return command;
}

/// When its time is over, or when a stop is requested. A child that has ended already is left as it is.
Task<> terminateAfter(std::shared_ptr<ChildProcess> child, std::chrono::milliseconds timeout, Sleeper sleep,
                      std::stop_token stop) {
    try {
        co_await sleep(timeout, std::move(stop));
    } catch (const Cancelled&) {
        // It is to end earlier.
    }
    child->terminate();
}

} // namespace

Task<std::vector<std::string>> interactiveShellPath(std::filesystem::path shell, std::chrono::milliseconds timeout,
                                                    Sleeper sleep, std::stop_token stop) {
    throwIfCancelled(stop);
    if (!isExecutableFile(shell)) {
        co_return {};
    }
    const auto output = std::make_shared<MarkedOutput>();
    const auto read = [output](ChildProcess::Output kind, std::string_view piece) {
        if (kind == ChildProcess::Output::Standard) {
            output->append(piece);
        }
    };
    std::shared_ptr<ChildProcess> child;
    try {
        child = std::make_shared<ChildProcess>(questionTo(shell), read);
    } catch (const std::system_error&) {
        co_return {};
    }
    StopScope watchdog(stop);
    detach(terminateAfter(child, timeout, std::move(sleep), watchdog.token()));
    co_await child->ended();
    watchdog.requestStop();
    throwIfCancelled(stop);
    co_return splitSearchPath(trimmed(output->value().value_or(std::string())));
}

} // namespace driftwell
