#include "support/Interruption.h"

#include "support/SystemError.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>

namespace driftwell {

namespace {

constexpr std::array<int, 3> signals{SIGINT, SIGTERM, SIGHUP};

std::atomic<int> signalWriter = -1;

void onSignal(int number) {
    const auto byte = static_cast<char>(number);
    [[maybe_unused]] const auto written = ::write(signalWriter, &byte, 1);
}

} // namespace

Interruption::Interruption() {
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), "pipe");
    m_reader = UniqueFd(ends[0]);
    m_writer = UniqueFd(ends[1]);
    signalWriter = m_writer.get();

    m_notifier = std::make_unique<QSocketNotifier>(m_reader.get(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
        m_notifier->setEnabled(false);
        char number = 0;
        if (::read(m_reader.get(), &number, 1) == 1) {
            m_signal = number;
        }
        m_source.request_stop();
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    // Once: the second signal finds the default again.
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    for (const int signal : signals) {
        struct sigaction before {};
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) {
            ::sigaction(signal, &action, nullptr);
        }
    }
}

Interruption::~Interruption() {
    for (const int signal : signals) {
        struct sigaction present {};
        ::sigaction(signal, nullptr, &present);
        if (present.sa_handler == onSignal) {
            ::signal(signal, SIG_DFL);
        }
    }
    signalWriter = -1;
}

} // namespace driftwell
