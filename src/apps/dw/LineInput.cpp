#include "apps/dw/LineInput.h"

#include "support/Cancellation.h"
#include "support/Completion.h"

#include <QSocketNotifier>

#include <unistd.h>

#include <array>
#include <cerrno>

namespace driftwell::dw {

Task<> awaitInput(std::stop_token stop) {
    throwIfCancelled(stop);
    Completion<> readable;
    QSocketNotifier notifier(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&notifier, readable]() mutable {
        notifier.setEnabled(false);
        readable.succeed();
    });
    const std::stop_callback cancel(stop, [readable]() mutable { readable.fail(Cancelled()); });
    co_await readable;
}

Task<std::optional<std::string>> readLine(std::stop_token stop) {
    std::string line;
    std::array<char, 1> byte{};
    while (true) {
        co_await awaitInput(stop);
        // One by one: what stands behind the line is for whoever reads next.
        const ssize_t got = ::read(STDIN_FILENO, byte.data(), byte.size());
        if (got > 0 && byte.front() == '\n') {
            co_return line;
        }
        if (got > 0) {
            line += byte.front();
        } else if (got == 0 || (errno != EINTR && errno != EAGAIN)) {
            co_return std::nullopt;
        }
    }
}

} // namespace driftwell::dw
