#include "deploy/TransferSpeed.h"

#include <algorithm>
#include <cmath>

namespace driftwell {

namespace {
using Seconds = std::chrono::duration<double>;
}

void TransferSpeed::add(std::int64_t sent, Clock::time_point at) {
    if (!m_samples.empty() && sent < m_samples.back().sent) {
        m_samples.clear();
    }
    m_samples.push_back({sent, at});
    // One from before the window stays, so that the window is told from its beginning on.
    while (m_samples.size() > 2 && m_samples[1].at <= at - window) {
        m_samples.pop_front();
    }
}

std::optional<double> TransferSpeed::bytesPerSecond(Clock::time_point at) const {
    if (m_samples.empty() || at - m_samples.front().at < shortest) {
        return std::nullopt;
    }
    const auto begun = std::find_if(m_samples.begin(), m_samples.end(),
                                    [at](const Sample& sample) { return sample.at >= at - window; });
    if (begun == m_samples.end()) {
        return 0;
    }
    // With the last one before the window, where there is one.
    const auto first = begun == m_samples.begin() ? begun : begun - 1;
    return static_cast<double>(m_samples.back().sent - first->sent) / Seconds(at - first->at).count();
}

std::optional<std::chrono::seconds> TransferSpeed::timeLeft(std::int64_t total, Clock::time_point at) const {
    const std::optional<double> speed = bytesPerSecond(at);
    if (!speed || *speed < 1) {
        return std::nullopt;
    }
    const auto left = static_cast<double>(std::max<std::int64_t>(0, total - m_samples.back().sent));
    return std::chrono::seconds(static_cast<std::int64_t>(std::ceil(left / *speed)));
}

} // namespace driftwell
