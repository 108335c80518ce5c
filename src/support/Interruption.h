#pragma once

#include "support/UniqueFd.h"

#include <memory>
#include <optional>
#include <stop_token>

class QSocketNotifier;

namespace driftwell {

/// Turns SIGINT, SIGTERM and SIGHUP into a stop. A second signal ends the process the hard way. Those that whoever
/// started the process switched off, as nohup does, stay off. One at a time.
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Stopped by the first signal.
    [[nodiscard]] std::stop_token token() const { return m_source.get_token(); }

    /// The number of that signal, once it has stopped the token.
    [[nodiscard]] std::optional<int> signal() const { return m_signal; }

private:
    std::stop_source m_source;
    std::optional<int> m_signal;
    UniqueFd m_reader;
    UniqueFd m_writer;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace driftwell
