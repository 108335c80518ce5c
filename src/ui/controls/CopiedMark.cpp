#include "ui/controls/CopiedMark.h"

#include "support/Cancellation.h"
#include "support/WhileAlive.h"

#include <utility>

namespace driftwell {

CopiedMark::CopiedMark(std::chrono::milliseconds duration, Sleeper sleep)
    : m_duration(duration), m_sleep(std::move(sleep)) {}

CopiedMark::~CopiedMark() = default;

void CopiedMark::show() {
    m_round.request_stop();
    m_round = std::stop_source();
    setShown(true);
    detach(m_tasks.run(clearLater(m_round.get_token())));
}

Task<> CopiedMark::clearLater(std::stop_token round) {
    const StopScope either(round, m_tasks.token());
    try {
        co_await whileAlive(this, m_sleep(m_duration, either.token()));
    } catch (const OwnerGone&) {
        throw;
    } catch (const Cancelled&) {
        // Of the sleep; what was copied is seen long enough.
    }
    if (!round.stop_requested()) {
        setShown(false);
    }
}

void CopiedMark::setShown(bool shown) {
    if (std::exchange(m_shown, shown) != shown) {
        Q_EMIT changed();
    }
}

} // namespace driftwell
