#include "bench/FrameTimer.h"

#include "bench/Report.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <optional>
#include <stdexcept>

namespace driftwell::bench {

namespace {

constexpr int restMilliseconds = 40;
constexpr int timeoutMilliseconds = 5000;

double cpuMilliseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

std::vector<double> each(const std::vector<FrameCost>& frames, double FrameCost::*figure) {
    std::vector<double> figures;
    for (const FrameCost& frame : frames) {
        figures.push_back(frame.*figure);
    }
    return figures;
}

double nearlyAll(std::vector<double> figures) {
    std::sort(figures.begin(), figures.end());
    return figures.at(figures.size() * 95 / 100);
}

} // namespace

void FrameTimer::settle() {
    QEventLoop loop;
    QTimer rest;
    rest.setSingleShot(true);
    QObject::connect(&rest, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(&m_window, &QQuickWindow::frameSwapped, &rest, [&rest] { rest.start(); });
    rest.start(restMilliseconds);
    loop.exec();
}

FrameCost FrameTimer::frameAfter(const std::function<void()>& sendEvent) {
    settle();
    QEventLoop loop;
    std::optional<FrameCost> cost;
    QElapsedTimer timer;
    const double cpu = cpuMilliseconds();
    timer.start();
    QObject::connect(&m_window, &QQuickWindow::frameSwapped, &loop, [&] {
        if (!cost) {
            cost = FrameCost{static_cast<double>(timer.nsecsElapsed()) / 1e6, cpuMilliseconds() - cpu};
        }
        loop.quit();
    });
    sendEvent();
    QTimer::singleShot(timeoutMilliseconds, &loop, &QEventLoop::quit);
    if (!cost) {
        loop.exec();
    }
    if (!cost) {
        throw std::runtime_error("no frame came");
    }
    return *cost;
}

double nearlyAll(const std::vector<FrameCost>& frames) {
    return nearlyAll(each(frames, &FrameCost::wall));
}

std::string describe(const std::vector<FrameCost>& frames) {
    const auto both = [&frames](double FrameCost::*figure) {
        const std::vector<double> figures = each(frames, figure);
        return fixed(median(figures), 1, "ms, 95 % within ") + fixed(nearlyAll(figures), 1, "ms");
    };
    return both(&FrameCost::wall) + "; CPU " + both(&FrameCost::cpu);
}

} // namespace driftwell::bench
