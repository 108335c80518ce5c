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

    /// The frames of a movement that goes on by itself: what each had the process at work, waiting for the time of the
    /// next one left out. It has ended when `goesOn` says so, which is asked after each frame. Throws when none comes.
    [[nodiscard]] std::vector<FrameCost> framesDuring(const std::function<void()>& start,
                                                      const std::function<bool()>& goesOn);

    /// Until the window has drawn nothing for a moment.
    void settle();

private:
    QQuickWindow& m_window;
};

/// The median and what so many percent keep to, of the time that passed and of the time that the process ran.
[[nodiscard]] std::string describe(const std::vector<FrameCost>& frames, int percent = 95);

/// What so many percent of the frames keep to, in milliseconds.
[[nodiscard]] double nearlyAll(const std::vector<FrameCost>& frames, int percent = 95);

} // namespace driftwell::bench
