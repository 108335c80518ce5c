#pragma once

#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QObject>

#include <chrono>
#include <stop_token>

namespace driftwell {

/// Says for a moment that something has been copied. A further copy begins the moment anew.
class CopiedMark final : public QObject {
    Q_OBJECT

public:
    CopiedMark(std::chrono::milliseconds duration, Sleeper sleep);
    ~CopiedMark() override;

    [[nodiscard]] bool isShown() const { return m_shown; }
    void show();

Q_SIGNALS:
    void changed();

private:
    Task<> clearLater(std::stop_token round);
    void setShown(bool shown);

    std::chrono::milliseconds m_duration;
    Sleeper m_sleep;
    bool m_shown = false;
    std::stop_source m_round;
    TaskGroup m_tasks;
};

} // namespace driftwell
