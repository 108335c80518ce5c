#pragma once

#include <QQuickWindow>

#include <functional>
#include <string>
#include <vector>

namespace driftwell::bench {

/// What one frame cost: from the event that asked for it until it was handed to the screen, and the time that this
/// process ran meanwhile. Both in milliseconds.
struct FrameCost {
    double wall = 0;
    double cpu = 0;
};

/// Measures the frames of a window that is on screen. The window outlives it.
class FrameTimer {
public:
    explicit FrameTimer(QQuickWindow& window) : m_window(window) {}

    /// Sends the event to a window at rest and waits for the next frame. Throws when none comes.
    [[nodiscard]] FrameCost frameAfter(const std::function<void()>& sendEvent);

    /// Until the window has drawn nothing for a moment.
    void settle();

private:
    QQuickWindow& m_window;
};

/// The median and what 95 % keep to, of the time that passed and of the time that the process ran.
[[nodiscard]] std::string describe(const std::vector<FrameCost>& frames);

/// What 95 % of the frames keep to, in milliseconds.
[[nodiscard]] double nearlyAll(const std::vector<FrameCost>& frames);

} // namespace driftwell::bench
